#include "rows.h"

#include "support/temp_folder.h"

#include "core/debug.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <pthread.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

// One line of the log: written, below the threshold, and with no log open.

namespace bench {

namespace {

constexpr int lines_in_a_run = 1000;
constexpr const char* text = "Package loaded, scripts: ";

/// The process has one log; it is open as long as this lives.
struct engine_log {
    engine_log() { core::open_log(folder.wide_path().c_str(), L"engine.log"); }

    engine_log(const engine_log&) = delete;
    engine_log& operator=(const engine_log&) = delete;

    ~engine_log() { core::close_log(); }

    support::temp_folder folder;
};

void log_lines() {
    for (int i = 0; i != lines_in_a_run; ++i)
        core::info_logger{} << text << i;
}

/// How many lines there are, and how many of those that a run writes.
void prove(const std::string& path, proof* found) {
    if (found == nullptr) return;
    const std::string content = support::read_file(path);
    found->add(static_cast<std::uint64_t>(std::count(content.begin(), content.end(), '\n')));
    for (int i = 0; i != lines_in_a_run; ++i)
        found->add(content.find(text + std::to_string(i) + "\n") != std::string::npos);
}

work written_by_engine() {
    return {lines_in_a_run, [log = std::make_shared<engine_log>()](proof* found) {
                log_lines();
                prove(log->folder.file("engine.log"), found);
            }};
}

work written_by_spdlog() {
    const auto folder = std::make_shared<support::temp_folder>();
    const std::string path = folder->file("spdlog.log");
    const auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
    const auto logger = std::make_shared<spdlog::logger>("bench", sink);
    logger->set_pattern("%Y-%m-%d %H:%M:%SZ  (%t) %l     bench/log_rows: %v");
    logger->flush_on(spdlog::level::info);
    return {lines_in_a_run, [folder, path, logger](proof* found) {
                for (int i = 0; i != lines_in_a_run; ++i)
                    logger->info("{}{}", text, i);
                prove(path, found);
            }};
}

work filtered_by_engine() {
    const auto log = std::make_shared<engine_log>();
    core::set_log_level(core::level_error, false);
    return {lines_in_a_run, [log](proof* found) {
                log_lines();
                const std::string path = log->folder.file("engine.log");
                if (found != nullptr) found->add(std::filesystem::file_size(path));
            }};
}

work closed_by_engine() {
    return {lines_in_a_run, [](proof* found) {
                log_lines();
                if (found != nullptr) found->add(std::uint64_t{0});
            }};
}

/// Runs a test as often as a run has lines; none of them passes.
template <class Test>
work testing(Test test) {
    return {lines_in_a_run, [test](proof* found) {
                std::uint64_t passed = 0;
                for (int i = 0; i != lines_in_a_run; ++i)
                    benchmark::DoNotOptimize(passed += test());
                if (found != nullptr) found->add(passed);
            }};
}

/// A mutex of the log's kind, and a level.
bool passes_bare_log() {
    static pthread_mutex_t mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
    static std::atomic<std::int16_t> level = core::level_error;
    pthread_mutex_lock(&mutex);
    const bool passes = core::level_info <= level.load(std::memory_order_relaxed);
    pthread_mutex_unlock(&mutex);
    return passes;
}

bool has_bare_log() {
    static std::atomic<void*> log = nullptr;
    return log.load(std::memory_order_acquire) != nullptr;
}

} // namespace

std::vector<row> log_rows() {
    const auto lock_and_test = [] { return testing(passes_bare_log); };
    const auto test_pointer = [] { return testing([] { return has_bare_log(); }); };
    return {{"log_line",
             "line",
             {{"engine", written_by_engine}, {"spdlog", written_by_spdlog, 1.7}},
             2},
            {"log_filtered",
             "line",
             {{"engine", filtered_by_engine}, {"lock and test", lock_and_test, 1.2}}},
            {"log_closed",
             "line",
             {{"engine", closed_by_engine}, {"test a pointer", test_pointer, 1.2}}}};
}

} // namespace bench
