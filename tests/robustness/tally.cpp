// SPDX-License-Identifier: MIT
#include "tests/robustness/tally.h"

#include <cstdio>
#include <iomanip>
#include <numeric>
#include <sstream>

namespace test_support {
namespace {

Verdict VerdictAt(size_t index) { return static_cast<Verdict>(index); }

// With a comma before every third digit from the end.
std::string Grouped(int64_t number) {
  std::string text = std::to_string(number);
  for (auto at = static_cast<int>(text.size()) - 3; at > 0; at -= 3) {
    text.insert(static_cast<size_t>(at), 1, ',');
  }
  return text;
}

// The cells of a row but for the last two.
std::string CountCells(const TitledTally& row, const std::vector<Verdict>& columns) {
  std::ostringstream text;
  text << "| " << row.title << " | " << Grouped(row.tally.Tried()) << " |";
  for (const Verdict verdict : columns) text << " " << Grouped(row.tally.Count(verdict)) << " |";
  return text.str();
}

}  // namespace

void Tally::Add(const SandboxResult& result) {
  Tally one;
  one.counts[static_cast<size_t>(result.verdict)] = 1;
  one.peakMegabytes = result.peakMegabytes;
  one.largest = result.name;
  one.longestCpuSeconds = result.cpuSeconds;
  one.longest = result.name;
  Add(one);
}

void Tally::Add(const Tally& other) {
  for (size_t i = 0; i < kVerdicts; ++i) counts[i] += other.counts[i];
  if (other.peakMegabytes > peakMegabytes) {
    peakMegabytes = other.peakMegabytes;
    largest = other.largest;
  }
  if (other.longestCpuSeconds > longestCpuSeconds) {
    longestCpuSeconds = other.longestCpuSeconds;
    longest = other.longest;
  }
}

int64_t Tally::Tried() const { return std::accumulate(counts.begin(), counts.end(), int64_t{0}); }

int64_t Tally::Bad() const {
  int64_t bad = 0;
  for (size_t i = 0; i < kVerdicts; ++i) {
    if (!IsGood(VerdictAt(i))) bad += counts[i];
  }
  return bad;
}

std::string Tally::Heading() {
  std::array<char, 64> cell{};
  std::snprintf(cell.data(), cell.size(), "%-24s %6s", "input", "tried");
  std::string heading = cell.data();
  for (size_t i = 0; i < kVerdicts; ++i) heading.append(1, ' ').append(VerdictName(VerdictAt(i)));
  return heading + " peak MB longest s";
}

std::string Tally::Row(const std::string& title) const {
  std::array<char, 64> cell{};
  std::snprintf(cell.data(), cell.size(), "%-24s %6lld", title.c_str(),
                static_cast<long long>(Tried()));
  std::string row = cell.data();
  for (size_t i = 0; i < kVerdicts; ++i) {
    const auto width = static_cast<int>(std::string(VerdictName(VerdictAt(i))).size());
    std::snprintf(cell.data(), cell.size(), " %*lld", width, static_cast<long long>(counts[i]));
    row += cell.data();
  }
  std::snprintf(cell.data(), cell.size(), " %7ld %9.2f", peakMegabytes, longestCpuSeconds);
  return row + cell.data();
}

std::string MarkdownTable(const std::vector<TitledTally>& rows) {
  TitledTally all{"all of these", {}};
  for (const TitledTally& row : rows) all.tally.Add(row.tally);
  std::vector<Verdict> columns;
  for (size_t i = 0; i < kVerdicts; ++i) {
    const Verdict verdict = VerdictAt(i);
    if (IsGood(verdict) || all.tally.Count(verdict) > 0) columns.push_back(verdict);
  }
  std::ostringstream table;
  table << "| Input | tried |";
  for (const Verdict verdict : columns) table << " " << VerdictName(verdict) << " |";
  table << " peak MB | longest s |\n|---|---|";
  for (size_t i = 0; i < columns.size(); ++i) table << "---|";
  table << "---|---|\n" << std::fixed << std::setprecision(2);
  for (const TitledTally& row : rows) {
    table << CountCells(row, columns) << " " << row.tally.peakMegabytes << " | "
          << row.tally.longestCpuSeconds << " |\n";
  }
  table << CountCells(all, columns) << " | |\n";
  return table.str();
}

}  // namespace test_support
