#include "harness.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <map>
#include <stdexcept>
#include <zlib.h>

namespace bench {

namespace {

/// Collects the times of single repetitions.
class collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
        }
    }

    std::map<std::string, std::vector<double>> times; // nanoseconds a run
};

void set_interleaving() {
    std::string name = "morvantic_bench";
    std::string flag = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {name.data(), flag.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);
}

/// Runs the works once, which warms them up too, and compares what they found.
void check(const row& checked, const std::vector<work>& works) {
    std::optional<proof> expected;
    for (std::size_t i = 0; i != works.size(); ++i) {
        if (!works[i].run) continue;
        proof found;
        works[i].run(&found);
        if (!expected) expected = found;
        if (!checked.same_work || found == *expected) continue;
        throw std::runtime_error(checked.name + ": " + checked.subjects[i].name +
                                 " does not do the same work");
    }
}

/// The times by name of subject.
collector timed(const row& measured, const std::vector<work>& works, const settings& how) {
    for (std::size_t i = 0; i != works.size(); ++i) {
        if (!works[i].run) continue;
        const auto repeat = [&one = works[i]](benchmark::State& state) {
            for (auto _ : state)
                one.run(nullptr);
        };
        benchmark::RegisterBenchmark(measured.subjects[i].name.c_str(), repeat)
            ->Repetitions(how.repetitions)
            ->MinTime(how.seconds)
            ->Unit(benchmark::kNanosecond);
    }
    collector reporter;
    if (works.front().run) benchmark::RunSpecifiedBenchmarks(&reporter, "all");
    benchmark::ClearRegisteredBenchmarks();
    return reporter;
}

} // namespace

void require(bool done, const char* what) {
    if (!done) throw std::runtime_error(what);
}

void proof::add(std::string_view name, std::span<const std::uint8_t> content) {
    const uLong name_check = crc32_z(0, reinterpret_cast<const Bytef*>(name.data()), name.size());
    const uLong content_check = crc32_z(0, content.data(), content.size());
    add(std::uint64_t{name_check} << 32 | content_check);
}

std::vector<result> measure(const row& measured, const settings& how) {
    set_interleaving();
    std::vector<work> works;
    for (const subject& one : measured.subjects)
        works.push_back(one.prepare());
    check(measured, works);
    collector reporter = timed(measured, works, how);

    std::vector<result> results(works.size());
    for (std::size_t i = 0; i != works.size(); ++i) {
        result& found = results[i];
        found.is_memory = works[i].heap != nullptr;
        found.samples = reporter.times[measured.subjects[i].name];
        for (int again = how.repetitions; found.is_memory && again != 0; --again)
            found.samples.push_back(works[i].heap());
        require(!found.samples.empty(), "a measurement did not take place");
        std::sort(found.samples.begin(), found.samples.end());
        for (double& sample : found.samples)
            sample /= works[i].units;
        // Growth is a matter of time.
        if (!how.counting || !measured.same_work || !works[i].run) continue;
        count(measured, i, how, found);
        if (found.calls) *found.calls /= works[i].units;
        if (found.instructions) *found.instructions /= works[i].units;
    }
    return results;
}

} // namespace bench
