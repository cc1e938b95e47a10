#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace zqlogging::bench {

/// One line of the result: how long `subject` takes in times of `control`, both measured in this run.
struct Ratio {
  std::string what;
  std::string subject;
  std::string control;
  double budget;
};

/// Prints as usual and keeps each benchmark's times per item, one of each repetition.
class Keeper final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type == Run::RT_Aggregate) continue;
      const auto items = run.counters.find("items");
      times_[run.run_name.function_name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations) /
                                                   (items == run.counters.end() ? 1.0 : items->second.value));
    }
  }

  void printRatios(const std::vector<Ratio>& ratios) const {
    std::printf("\n%-58s %10s %8s %8s\n", "what (times of its control)", "time", "ratio", "budget");
    for (const Ratio& ratio : ratios) {
      const auto subject = times_.find(ratio.subject);
      const auto control = times_.find(ratio.control);
      if (subject == times_.end() || control == times_.end()) continue;
      const double time = median(subject->second);
      std::printf("%-58s %7.3f us %8.3f %8.3f\n", ratio.what.c_str(), time * 1e6, time / median(control->second),
                  ratio.budget);
    }
  }

 private:
  static double median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

  std::map<std::string, std::vector<double>> times_;
};

/// Reads the command line; false when there is something unknown in it. Unless it says otherwise benchmarks take turns,
/// so that the machine's own unrest meets all alike.
inline bool initialize(int argc, char** argv) {
  std::vector<std::string> options{argv[0], "--benchmark_repetitions=10", "--benchmark_min_time=0.2",
                                   "--benchmark_enable_random_interleaving=true"};
  options.insert(options.end(), argv + 1, argv + argc);
  std::vector<char*> arguments;
  for (std::string& option : options) arguments.push_back(option.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  return !benchmark::ReportUnrecognizedArguments(count, arguments.data());
}

/// Runs the benchmarks of the program and prints the ratios.
inline int run(int argc, char** argv, const std::vector<Ratio>& ratios) {
  if (!initialize(argc, argv)) return 1;
  Keeper keeper;
  benchmark::RunSpecifiedBenchmarks(&keeper);
  keeper.printRatios(ratios);
  return 0;
}

}  // namespace zqlogging::bench
