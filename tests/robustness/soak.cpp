// SPDX-License-Identifier: MIT
// The long run of damaged inputs. Usage: soak [--mutations N] [--seed S] [--jobs J] [--only ROW]
// Prints a table, with `--only` one row of it; status 1 when any input ended badly.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#include "tests/robustness/corpus.h"
#include "tests/robustness/damage.h"
#include "tests/robustness/packet_damage.h"
#include "tests/robustness/sandbox.h"

namespace {

using namespace test_support;

struct Options {
  int64_t mutations = 10000;
  uint64_t seed = std::random_device()();
  int jobs = static_cast<int>(std::thread::hardware_concurrency());
  std::string only;  // the title of a row; empty for all
};

std::string FileName(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string flag = argv[i];
    const char* const value = argv[i + 1];
    if (flag == "--mutations") options.mutations = std::atoll(value);
    if (flag == "--seed") options.seed = std::strtoull(value, nullptr, 10);
    if (flag == "--jobs") options.jobs = std::atoi(value);
    if (flag == "--only") options.only = value;
  }
  return options;
}

// The first 64 of a clip are its cuts, the rest its seeds, of which every fourth damages packets.
SandboxCase Mutation(const std::string& path, int64_t number, uint64_t seed) {
  SandboxCase one;
  const bool cut = number < 64;
  const bool ofPackets = number % 4 == 3;
  one.name = FileName(path) + (cut ? " cut " + std::to_string(number)
                                   : " seed " + std::to_string(seed) + " " +
                                         (ofPackets ? PacketDamageName(seed) : DamageName(seed)));
  one.input = [path, cut, ofPackets, number, seed](const std::string& scratch) {
    const std::string damaged = scratch + "-" + FileName(path);
    if (!cut && ofPackets) {
      DamagePackets(path, damaged, seed);
    } else {
      const std::string bytes = ReadBytes(path);
      WriteBytes(damaged, cut ? CutOff(bytes, static_cast<int>(number)) : Damage(bytes, seed));
    }
    return damaged;
  };
  return one;
}

void RunRow(const std::string& title, const std::vector<SandboxCase>& cases, int jobs,
            Tally* total) {
  Tally tally;
  RunSandboxed(cases, jobs, [&](const SandboxResult& result) {
    tally.Add(result);
    total->Add(result);
    if (IsGood(result.verdict)) return;
    std::cerr << "== " << result.name << ": " << VerdictName(result.verdict) << ", wait status "
              << result.waitStatus << ", " << result.peakMegabytes << " MB, " << result.cpuSeconds
              << " s\n"
              << result.log.substr(result.log.size() - std::min<size_t>(result.log.size(), 6000));
  });
  std::cout << tally.Row(title) << std::endl;
}

// The share of one clip in all mutations. A mutation's number, and with it its seed, does not
// depend on which rows are run.
std::vector<SandboxCase> MutationsOf(const std::string& path, int64_t clip, int64_t clips,
                                     const Options& options) {
  std::vector<SandboxCase> cases;
  const int64_t share = (options.mutations + clips - 1 - clip) / clips;
  for (int64_t i = 0; i < share; ++i) {
    const auto number = static_cast<uint64_t>(clip * options.mutations + i);
    cases.push_back(Mutation(path, i, options.seed * 1000003 + number));
  }
  return cases;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  std::cout << "soak: " << options.mutations << " mutations, seed " << options.seed << ", limits "
            << RunLimits().cpuSeconds << " s and " << DefaultPeakMegabytes() << " MB a run\n"
            << Tally::Heading() << std::endl;
  const auto isWanted = [&options](const std::string& title) {
    return options.only.empty() || options.only == title;
  };
  Tally total;
  if (isWanted("hostile")) RunRow("hostile", HostileCases(), options.jobs, &total);
  const std::vector<std::string> clips = BaseClips();
  for (size_t clip = 0; clip < clips.size(); ++clip) {
    const std::string title = FileName(clips[clip]);
    if (!isWanted(title)) continue;
    RunRow(title,
           MutationsOf(clips[clip], static_cast<int64_t>(clip), static_cast<int64_t>(clips.size()),
                       options),
           options.jobs, &total);
  }
  std::cout << total.Row("all") << "\nlargest: " << total.largest << "\nlongest: " << total.longest
            << std::endl;
  return total.Bad() == 0 ? 0 : 1;
}
