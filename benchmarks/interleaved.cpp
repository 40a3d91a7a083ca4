// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/interleaved.h"

#include "benchmarks/rows.h"

#include <benchmark/benchmark.h>

namespace {

/// Keeps the time of each run under the number of its work.
class Collector : public benchmark::BenchmarkReporter
{
public:
    explicit Collector(std::size_t works)
        : seconds(works)
    {
    }

    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                seconds.at(std::stoul(run.run_name.function_name))
                    .push_back(run.real_accumulated_time);
            }
        }
    }

    std::vector<std::vector<double>> seconds;
};

} // namespace

std::vector<double> mediansOf(int runs, const std::vector<std::function<double()>> &works)
{
    char name[] = "benchmark";
    char mixed[] = "--benchmark_enable_random_interleaving=true";
    char *arguments[] = {name, mixed, nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);
    benchmark::ClearRegisteredBenchmarks();
    for (std::size_t number = 0; number < works.size(); ++number) {
        benchmark::RegisterBenchmark(std::to_string(number).c_str(),
                                     [&work = works[number]](benchmark::State &state) {
                                         for (auto iteration : state) {
                                             state.SetIterationTime(work());
                                         }
                                     })
            ->Iterations(1)
            ->Repetitions(runs)
            ->UseManualTime();
    }
    Collector collector(works.size());
    benchmark::RunSpecifiedBenchmarks(&collector);
    std::vector<double> medians;
    for (const std::vector<double> &seconds : collector.seconds) {
        medians.push_back(median(seconds));
    }
    return medians;
}
