#include "bench/Ratios.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <random>
#include <utility>

namespace ratios {

namespace {

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Three digits that count.
std::string shown(double ratio) {
  char text[32];
  std::snprintf(text, sizeof text,
                ratio >= 100   ? "%.0f"
                : ratio >= 10  ? "%.1f"
                : ratio >= 0.1 ? "%.2f"
                               : "%.2g",
                ratio);
  return text;
}

}  // namespace

Table::Table(std::string title, Clock clock, double batchSeconds, int rounds)
    : title_(std::move(title)), clock_(clock), batchSeconds_(batchSeconds), rounds_(rounds) {}

double Table::now() const {
  if (clock_ == Clock::Children) {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
  }
  timespec time{};
  clock_gettime(clock_ == Clock::Wall ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void Table::time(std::string name, std::function<void(std::size_t)> repeat, double units) {
  const auto timed = [this, repeat = std::move(repeat)](std::size_t count) {
    const double start = now();
    repeat(count);
    return now() - start;
  };
  // The first call warms up, then finds out how many make a batch.
  auto take = [this, timed, units, count = std::size_t{0}]() mutable {
    if (count == 0) {
      timed(1);
      for (count = 1; timed(count) < batchSeconds_ / 2; count *= 2) {
      }
    }
    return timed(count) / static_cast<double>(count) / units;
  };
  measurements_.push_back({std::move(name), std::move(take), {}});
}

void Table::amount(std::string name, std::function<double()> measure) {
  measurements_.push_back({std::move(name), std::move(measure), {}});
}

void Table::compare(std::string measured, std::string reference, double atMost) {
  rows_.push_back({std::move(measured), std::move(reference), atMost});
}

const Table::Measurement* Table::find(const std::string& name) const {
  const auto found = std::ranges::find(measurements_, name, &Measurement::name);
  return found == measurements_.end() ? nullptr : &*found;
}

void Table::print(const Row& row) const {
  const Measurement* measured = find(row.measured);
  const Measurement* reference = find(row.reference);
  if (!measured || !reference) {
    std::fprintf(stderr, "%s: not measured, for it is not installed\n",
                 (measured ? row.reference : row.measured).c_str());
    return;
  }
  std::vector<double> ratio;
  for (std::size_t i = 0; i < measured->taken.size(); ++i)
    ratio.push_back(measured->taken[i] / reference->taken[i]);
  std::ranges::sort(ratio);
  const auto at = [&](double part) {
    return ratio[static_cast<std::size_t>(part * static_cast<double>(ratio.size() - 1) + 0.5)];
  };
  const bool reached = at(0.5) <= row.atMost;
  std::printf("| %s | %s | %s | %s to %s | %s | %s |\n", row.measured.c_str(), row.reference.c_str(),
              shown(at(0.5)).c_str(), shown(at(0.25)).c_str(), shown(at(0.75)).c_str(),
              row.atMost > 0 ? shown(row.atMost).c_str() : "",
              row.atMost <= 0 ? ""
              : reached       ? "yes"
                              : "**no**");
  std::fflush(stdout);
}

void Table::run() {
  std::minstd_rand random(1);
  for (Measurement& one : measurements_) one.take();
  std::vector<std::size_t> order(measurements_.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  for (int round = 0; round < rounds_; ++round) {
    std::ranges::shuffle(order, random);
    for (const std::size_t i : order) measurements_[i].taken.push_back(measurements_[i].take());
  }
  std::printf("\n### %s\n\n| measured | beside | ratio | middle half | aim | reached |\n", title_.c_str());
  std::printf("|---|---|---|---|---|---|\n");
  for (const Row& row : rows_) print(row);
}

}  // namespace ratios
