#include "core/platform.h"

#include <gtest/gtest.h>

TEST(Platform, StampIsOfTheSecondAskedFor) {
    core::utc_stamp stamp;
    EXPECT_EQ(stamp.of(0), "1970-01-01 00:00:00Z");
    EXPECT_EQ(stamp.of(1'794'471'330), "2026-11-12 08:15:30Z");
    EXPECT_EQ(stamp.of(253'402'300'800), "10000-01-01T00:00:00Z") << "too long for the blank";
}
