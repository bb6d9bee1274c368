// SPDX-License-Identifier: MIT
#include "tests/robustness/soak_rows.h"

#include <array>
#include <filesystem>
#include <functional>
#include <random>

#include "tests/robustness/corpus.h"
#include "tests/robustness/damage.h"
#include "tests/robustness/packet_damage.h"
#include "tests/robustness/soak_clips.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using Random = std::mt19937_64;
using Texts = std::vector<std::string>;

constexpr int kParts = 64;

const std::string& OneOf(const Texts& texts, Random* random) {
  return texts[(*random)() % texts.size()];
}

// Within the clip or a little outside, or something that nobody means.
std::string AnyTime(Random* random) {
  static const Texts kOdd = {"0",   "-1",   "-0.001", "1e-9",   "1.2",   "1e9",
                             "inf", "-inf", "1e308",  "-1e308", "00:01", "0:0:0.5"};
  if ((*random)() % 3 == 0) return OneOf(kOdd, random);
  return std::to_string(static_cast<int>((*random)() % 2200) - 300) + "e-3";
}

void AddRange(uint64_t seed, SandboxCase* one) {
  Random random(seed);
  const uint64_t which = random() % 3;  // start, end, both
  if (which != 1) one->options.insert(one->options.end(), {"-s", AnyTime(&random)});
  if (which != 0) one->options.insert(one->options.end(), {"-e", AnyTime(&random)});
}

void AddRangeOnly(uint64_t seed, SandboxCase* one) {
  one->extension = ".mp4";
  AddRange(seed, one);
}

// In the container of the source or in one that takes most of them; some with a range.
void AddCopy(uint64_t seed, SandboxCase* one) {
  Random random(seed);
  static const Texts kOthers = {".mov", ".mkv"};
  if (random() % 2 == 0) one->extension = OneOf(kOthers, &random);
  one->options.emplace_back("--copy");
  if (random() % 4 == 0) AddRange(seed, one);
  if (random() % 8 == 0) one->options.emplace_back("--strict");
}

void AddLikeSource(uint64_t seed, SandboxCase* one) {
  one->options.emplace_back("--like-source");
  if (seed % 4 == 0) AddRange(seed, one);
}

void AddStrict(uint64_t /*seed*/, SandboxCase* one) {
  one->extension = ".mp4";
  one->options.emplace_back("--strict");
}

// The least is too little for any run, the most enough for all.
void AddMemory(uint64_t seed, SandboxCase* one) {
  static const Texts kSizes = {"1M", "24M", "40M", "48M", "64M", "96M", "1G"};
  Random random(seed);
  one->extension = ".mp4";
  one->options.insert(one->options.end(), {"--memory", OneOf(kSizes, &random)});
}

// What the mutation does to its clip, and the name of that.
struct Change {
  std::string name;
  std::function<void(const std::string& from, const std::string& to)> make;
};

Change Bytes(const std::string& name, std::function<std::string(const std::string&)> damage) {
  return {name, [damage = std::move(damage)](const std::string& from, const std::string& to) {
            WriteBytes(to, damage(ReadBytes(from)));
          }};
}

Change Cut(int part) {
  return Bytes("cut " + std::to_string(part),
               [part](const std::string& bytes) { return CutOff(bytes, part); });
}

Change OfBytes(uint64_t seed) {
  return Bytes("seed " + std::to_string(seed) + " " + DamageName(seed),
               [seed](const std::string& bytes) { return Damage(bytes, seed); });
}

Change OfPackets(uint64_t seed) {
  return {
      "seed " + std::to_string(seed) + " " + PacketDamageName(seed),
      [seed](const std::string& from, const std::string& to) { DamagePackets(from, to, seed); }};
}

Change ChangeOf(const SoakRow& row, int64_t number, uint64_t seed) {
  if (row.addOptions == nullptr && number < kParts) return Cut(static_cast<int>(number));
  const auto round = static_cast<uint64_t>(number) / row.clips.size();
  if (row.addOptions != nullptr && round % 4 == 0) {
    return Bytes("seed " + std::to_string(seed), [](const std::string& bytes) { return bytes; });
  }
  if (row.addOptions != nullptr && seed % 16 == 0) return Cut(static_cast<int>(seed / 16 % kParts));
  return round % 4 == 3 ? OfPackets(seed) : OfBytes(seed);
}

}  // namespace

std::vector<SoakRow> SoakRows() {
  std::vector<std::string> all = BaseClips();
  const std::vector<std::string> mirror = MirrorClips();
  all.insert(all.end(), mirror.begin(), mirror.end());
  std::vector<SoakRow> rows;
  for (const std::string& path : all) {
    rows.push_back({fs::path(path).filename().string(), {path}, nullptr});
  }
  rows.push_back({"ranges", all, &AddRangeOnly});
  rows.push_back({"copy", CopyClips(), &AddCopy});
  rows.push_back({"like-source", all, &AddLikeSource});
  rows.push_back({"strict", all, &AddStrict});
  rows.push_back({"memory", all, &AddMemory});
  return rows;
}

SandboxCase Mutation(const SoakRow& row, int64_t number, uint64_t seed) {
  const std::string& path = row.clips[static_cast<size_t>(number) % row.clips.size()];
  const std::string file = fs::path(path).filename().string();
  const Change change = ChangeOf(row, number, seed);
  SandboxCase one;
  one.input = [path, file, make = change.make](const std::string& scratch) {
    const std::string damaged = scratch + "-" + file;
    make(path, damaged);
    return damaged;
  };
  if (row.addOptions != nullptr) {
    one.extension = fs::path(path).extension().string();
    row.addOptions(seed, &one);
  }
  one.name = file + " " + change.name;
  for (const std::string& option : one.options) one.name += " " + option;
  return one;
}

}  // namespace test_support
