// SPDX-License-Identifier: MIT
// The long run of damaged inputs.
// Usage: soak [--mutations N] [--seed S] [--jobs J] [--only ROW] [--markdown] [--rows]
//             [--findings FOLDER]
// Prints a table, with `--only` one row of it, with `--markdown` for a page of the documentation;
// status 1 when any input ended badly. `--rows` prints the titles of the rows instead.
// The files of each input that ended badly are kept in a folder of their own in FOLDER.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#include "tests/robustness/corpus.h"
#include "tests/robustness/sandbox.h"
#include "tests/robustness/soak_rows.h"
#include "tests/robustness/tally.h"

namespace {

using namespace test_support;
namespace fs = std::filesystem;

constexpr char kHostile[] = "hostile";

struct Options {
  int64_t mutations = 10000;
  uint64_t seed = std::random_device()();
  int jobs = static_cast<int>(std::thread::hardware_concurrency());
  std::string only;      // the title of a row; empty for all
  std::string findings;  // a folder; empty to keep nothing
  bool isMarkdown = false;
  bool showsRows = false;
};

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--markdown") options.isMarkdown = true;
    if (flag == "--rows") options.showsRows = true;
    if (i + 1 == argc) break;
    const char* const value = argv[i + 1];
    if (flag == "--mutations") options.mutations = std::atoll(value);
    if (flag == "--seed") options.seed = std::strtoull(value, nullptr, 10);
    if (flag == "--jobs") options.jobs = std::atoi(value);
    if (flag == "--only") options.only = value;
    if (flag == "--findings") options.findings = value;
  }
  return options;
}

void KeepFiles(const SandboxResult& result, const fs::path& findings) {
  const fs::path folder = findings / result.name;
  fs::create_directories(folder);
  for (const fs::path& path : ScratchFiles(result.scratch)) {
    fs::copy(path, folder / path.filename(),
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  }
}

Tally RunRow(const std::vector<SandboxCase>& cases, const Options& options) {
  Tally tally;
  RunSandboxed(cases, options.jobs, [&](const SandboxResult& result) {
    tally.Add(result);
    if (IsGood(result.verdict)) return;
    std::cerr << "== " << result.name << ": " << VerdictName(result.verdict) << ", wait status "
              << result.waitStatus << ", " << result.peakMegabytes << " MB, " << result.cpuSeconds
              << " s\n"
              << result.log.substr(result.log.size() - std::min<size_t>(result.log.size(), 6000));
    if (!options.findings.empty()) KeepFiles(result, fs::path(options.findings));
  });
  return tally;
}

// The share of one row in all mutations. A mutation's number, and with it its seed, does not depend
// on which rows are run.
std::vector<SandboxCase> MutationsOf(const SoakRow& row, int64_t index, int64_t rows,
                                     const Options& options) {
  std::vector<SandboxCase> cases;
  const int64_t share = (options.mutations + rows - 1 - index) / rows;
  for (int64_t i = 0; i < share; ++i) {
    const auto number = static_cast<uint64_t>(index * options.mutations + i);
    cases.push_back(Mutation(row, i, options.seed * 1000003 + number));
  }
  return cases;
}

// Runs what is wanted, and shows each row as soon as it is done.
std::vector<TitledTally> RunRows(const std::vector<SoakRow>& rows, const Options& options) {
  std::vector<TitledTally> done;
  // A table in Markdown has no columns before its last row is done.
  std::ostream& meanwhile = options.isMarkdown ? std::cerr : std::cout;
  meanwhile << Tally::Heading() << std::endl;
  const auto run = [&](const std::string& title, const auto& cases) {
    if (!options.only.empty() && options.only != title) return;
    done.push_back({title, RunRow(cases(), options)});
    meanwhile << done.back().tally.Row(title) << std::endl;
  };
  run(kHostile, &HostileCases);
  const auto count = static_cast<int64_t>(rows.size());
  for (int64_t i = 0; i < count; ++i) {
    const SoakRow& row = rows[static_cast<size_t>(i)];
    run(row.title, [&] { return MutationsOf(row, i, count, options); });
  }
  return done;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  const std::vector<SoakRow> rows = SoakRows();
  if (options.showsRows) {
    std::cout << kHostile << "\n";
    for (const SoakRow& row : rows) std::cout << row.title << "\n";
    return 0;
  }
  std::cout << "soak: " << options.mutations << " mutations, seed " << options.seed << ", limits "
            << RunLimits().cpuSeconds << " s and " << DefaultPeakMegabytes() << " MB a run"
            << std::endl;
  const std::vector<TitledTally> done = RunRows(rows, options);
  if (done.empty()) {
    std::cerr << "soak: no row is called " << options.only << "; --rows lists them\n";
    return 1;
  }
  Tally all;
  for (const TitledTally& row : done) all.Add(row.tally);
  std::cout << (options.isMarkdown ? MarkdownTable(done) : all.Row("all") + "\n")
            << "largest: " << all.largest << "\nlongest: " << all.longest << std::endl;
  return all.Bad() == 0 ? 0 : 1;
}
