#include "core/debug.h"

#include "support/log_capture.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <thread>

using namespace core;

TEST(LogThreads, LinesAreWholeAndNoneIsLost) {
    constexpr int threads = 4;
    constexpr int lines_each = 500;
    support::log_capture log(4);
    std::latch start(threads);
    std::vector<std::thread> writers;
    for (int i = 0; i != threads; ++i) {
        writers.emplace_back([&, i] {
            start.arrive_and_wait();
            for (int line = 0; line != lines_each; ++line) {
                info_logger{} << "writer " << i << " line " << line;
                if (line % 100 == 0) set_log_level(static_cast<std::int16_t>(4 + i % 2), false);
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();

    std::map<std::string, int> next;
    for (const support::log_line& line : log.lines()) {
        const std::string writer = line.text.substr(0, 8);
        EXPECT_EQ(line.text, writer + " line " + std::to_string(next[writer]++));
    }
    EXPECT_EQ(next.size(), 4u);
    for (const auto& [writer, count] : next)
        EXPECT_EQ(count, lines_each) << writer;
}

TEST(LogThreads, FailedTurnoverFreesWhoWaits) {
    support::log_capture log(4);
    std::filesystem::create_directories(log.path() + ".bak/not empty");
    std::filesystem::resize_file(log.path(), 10'485'760);
    std::latch start(4);
    std::vector<std::thread> writers;
    std::atomic<int> failures{0};
    for (int i = 0; i != 4; ++i) {
        writers.emplace_back([&] {
            start.arrive_and_wait();
            for (int line = 0; line != 50; ++line) {
                try {
                    info_logger{} << "x";
                } catch (const std::exception&) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(failures, 1);
}
