// SPDX-License-Identifier: MIT
// Damaged, absurd and hostile inputs: each is reversed or refused, within bounds of time and
// memory.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <thread>

#include "tests/robustness/corpus.h"
#include "tests/robustness/damage.h"
#include "tests/robustness/output_check.h"
#include "tests/robustness/packet_damage.h"
#include "tests/robustness/sandbox.h"
#include "tests/robustness/tally.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

constexpr uint64_t kFirstSeed = 1;
constexpr int kSeedsOfEach = 16;
constexpr int kPacketSeedsOfEach = 7;
constexpr int kCutStep = 8;

std::string FileName(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

// Runs the cases and reports each that ends badly.
void ExpectSound(const std::vector<SandboxCase>& cases, const std::string& title) {
  Tally tally;
  RunSandboxed(cases, static_cast<int>(std::thread::hardware_concurrency()),
               [&tally](const SandboxResult& result) {
                 tally.Add(result);
                 if (IsGood(result.verdict)) return;
                 ADD_FAILURE() << result.name << ": " << VerdictName(result.verdict) << ", status "
                               << result.waitStatus << ", " << result.peakMegabytes << " MB, "
                               << result.cpuSeconds << " s\n"
                               << result.log;
               });
  std::cout << Tally::Heading() << "\n" << tally.Row(title) << "\n";
  EXPECT_EQ(tally.Tried(), static_cast<int64_t>(cases.size()));
}

SandboxCase Damaged(const std::string& path, const std::string& name,
                    std::function<std::string(const std::string& bytes)> damage) {
  SandboxCase one;
  one.name = FileName(path) + " " + name;
  one.input = [path, damage = std::move(damage)](const std::string& scratch) {
    const std::string damaged = scratch + "-" + FileName(path);
    WriteBytes(damaged, damage(ReadBytes(path)));
    return damaged;
  };
  return one;
}

TEST(Robustness, SoundClipsAreReversed) {
  std::vector<SandboxCase> cases;
  for (const std::string& path : BaseClips()) {
    cases.push_back(Damaged(path, "whole", [](const std::string& bytes) { return bytes; }));
  }
  RunSandboxed(cases, 2, [](const SandboxResult& result) {
    EXPECT_EQ(result.verdict, Verdict::kReversed) << result.name << "\n" << result.log;
    for (const char* const loss :
         {" could not be decoded", " shared a time", " could not be reached"}) {
      EXPECT_EQ(result.log.find(loss), std::string::npos) << result.name << "\n" << result.log;
    }
  });
}

TEST(Robustness, CutFiles) {
  std::vector<SandboxCase> cases;
  for (const std::string& path : BaseClips()) {
    for (int part = 0; part < 64; part += kCutStep) {
      cases.push_back(Damaged(path, "cut " + std::to_string(part) + "/64",
                              [part](const std::string& bytes) { return CutOff(bytes, part); }));
    }
  }
  ExpectSound(cases, "cut");
}

TEST(Robustness, DamagedFiles) {
  std::cout << "seeds from " << kFirstSeed << "\n";
  std::vector<SandboxCase> cases;
  uint64_t seed = kFirstSeed;
  for (const std::string& path : BaseClips()) {
    for (int i = 0; i < kSeedsOfEach; ++i, ++seed) {
      cases.push_back(Damaged(path, "seed " + std::to_string(seed) + " " + DamageName(seed),
                              [seed](const std::string& bytes) { return Damage(bytes, seed); }));
    }
  }
  ExpectSound(cases, "damaged");
}

TEST(Robustness, DamagedPackets) {
  std::cout << "seeds from " << kFirstSeed << "\n";
  std::vector<SandboxCase> cases;
  uint64_t seed = kFirstSeed;
  for (const std::string& path : BaseClips()) {
    for (int i = 0; i < kPacketSeedsOfEach; ++i, ++seed) {
      SandboxCase one;
      one.name = FileName(path) + " seed " + std::to_string(seed) + " " + PacketDamageName(seed);
      one.input = [path, seed](const std::string& scratch) {
        const std::string damaged = scratch + "-" + FileName(path);
        DamagePackets(path, damaged, seed);
        return damaged;
      };
      cases.push_back(std::move(one));
    }
  }
  ExpectSound(cases, "damaged packets");
}

TEST(Robustness, HostileFiles) { ExpectSound(HostileCases(), "hostile"); }

TEST(Robustness, WhatCannotBePlayedIsNotTakenForAReversal) {
  const std::string clip = BaseClips().front();
  EXPECT_TRUE(IsPlayable(clip));
  const std::string path = ScratchPath("judged.mp4");
  const std::string bytes = ReadBytes(clip);
  EXPECT_FALSE(IsPlayable(path)) << "no file";
  WriteBytes(path, bytes.substr(0, bytes.size() - 100));
  EXPECT_FALSE(IsPlayable(path)) << "its end is missing";
  const size_t data = bytes.find("mdat") + 4;
  WriteBytes(path, bytes.substr(0, data) + std::string(bytes.size() - data, '\0'));
  EXPECT_FALSE(IsPlayable(path)) << "no picture";
  EXPECT_FALSE(IsPlayable(
      CustomClip("robust_sound_only.wav", {"-f", "lavfi", "-i", "sine=frequency=440", "-t", "2"})));
}

TEST(Robustness, TheLimitsAreKept) {
  RunLimits limits;
  limits.cpuSeconds = 1;
  limits.wallTime = std::chrono::seconds(20);
  const SandboxResult endless = RunInChild("endless", limits, [] {
    while (std::clock() >= 0) {
    }
    return 0;
  });
  EXPECT_EQ(endless.verdict, Verdict::kHung);
  const SandboxResult crash = RunInChild("crash", limits, [] {
    std::abort();
    return 0;
  });
  EXPECT_EQ(crash.verdict, Verdict::kCrashed);
  limits.peakMegabytes = 4;
  const SandboxResult large = RunInChild("large", limits, [] { return 0; });
  EXPECT_EQ(large.verdict, Verdict::kTooLarge);
  const SandboxResult silent = RunInChild("silent", limits, [] { return 255; });
  EXPECT_EQ(silent.verdict, Verdict::kSilent);
}

}  // namespace
}  // namespace test_support
