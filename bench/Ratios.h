// Measurements beside their floors: both are taken in one run, in turns, and the ratio is what counts.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ratios {

/// A measurement, the floor that it is compared with, and the ratio aimed at.
struct Pair {
  std::string_view measured;
  std::string_view floor;
  double aim;
};

// Prints the usual table, and collects the time of each repetition by name.
class Collector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration)
        times_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
  }
  const std::vector<double>& times(std::string_view name) { return times_[std::string(name)]; }

 private:
  std::map<std::string, std::vector<double>> times_;
};

/// Runs everything registered, with repetitions interleaved at random, and prints each pair's median ratio
/// with its quartiles. Returns what main should.
inline int run(int argc, char** argv, const std::vector<Pair>& pairs) {
  std::vector<char*> arguments(argv, argv + argc);
  char repetitions[] = "--benchmark_repetitions=9";
  char interleaved[] = "--benchmark_enable_random_interleaving=true";
  char briefly[] = "--benchmark_min_time=0.05";
  arguments.insert(arguments.begin() + 1, {repetitions, interleaved, briefly});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);

  std::printf("\n%-34s %-26s %7s  %-15s %5s\n", "measured", "floor", "ratio", "(quartiles)", "aim");
  for (const Pair& pair : pairs) {
    const std::vector<double>& above = collector.times(pair.measured);
    const std::vector<double>& below = collector.times(pair.floor);
    std::vector<double> ratio;
    for (std::size_t i = 0; i < std::min(above.size(), below.size()); ++i)
      ratio.push_back(above[i] / below[i]);
    if (ratio.empty()) continue;
    std::ranges::sort(ratio);
    const auto at = [&](double part) {
      return ratio[static_cast<std::size_t>(part * static_cast<double>(ratio.size() - 1))];
    };
    std::printf("%-34.*s %-26.*s %7.2f  (%.2f to %.2f)   %5.2f\n", static_cast<int>(pair.measured.size()),
                pair.measured.data(), static_cast<int>(pair.floor.size()), pair.floor.data(), at(0.5),
                at(0.25), at(0.75), pair.aim);
  }
  return 0;
}

}  // namespace ratios
