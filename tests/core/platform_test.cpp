#include "core/platform.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(Platform, ThreadIdIsRightAfterAFork) {
    EXPECT_EQ(core::current_thread_id(), static_cast<std::uint32_t>(gettid()));
    const pid_t child = fork();
    if (child == 0)
        _exit(core::current_thread_id() == static_cast<std::uint32_t>(getpid()) ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
