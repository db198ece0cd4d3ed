#include "core/debug.h"

#include "support/log_capture.h"
#include "support/threads.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>

using namespace core;

namespace {

constexpr int writers = 4;

} // namespace

TEST(LogThreads, FailedTurnoverEndsTheLogAndFreesWhoWaits) {
    support::log_capture log(4);
    std::filesystem::create_directories(log.path() + ".bak/not empty");
    std::filesystem::resize_file(log.path(), 10'485'760);
    std::atomic<int> failures{0};
    support::run_side_by_side(writers, [&](int) {
        for (int line = 0; line != 50; ++line) {
            try {
                info_logger{} << "x";
            } catch (const std::filesystem::filesystem_error& failure) {
                EXPECT_STREQ(failure.what(), "remove(p): invalid argument");
                ++failures;
            }
        }
        set_log_level(1, true);
    });
    EXPECT_EQ(failures, 1);
    const support::log_capture anew(4);
    info_logger{} << "anew";
    EXPECT_EQ(anew.count("anew"), 1);
}
