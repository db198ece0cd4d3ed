#include "core/platform.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(Platform, StampIsOfTheSecondAskedFor) {
    core::utc_stamp stamp;
    EXPECT_EQ(stamp.of(0), "1970-01-01 00:00:00Z");
    EXPECT_EQ(stamp.of(1'794'471'330), "2026-11-12 08:15:30Z");
    EXPECT_EQ(stamp.of(253'402'300'800), "10000-01-01T00:00:00Z") << "too long for the blank";
}

TEST(Platform, ThreadIdIsRightAfterAFork) {
    EXPECT_EQ(core::current_thread_id(), static_cast<std::uint32_t>(gettid()));
    const pid_t child = fork();
    if (child == 0)
        _exit(core::current_thread_id() == static_cast<std::uint32_t>(getpid()) ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
