#pragma once

#include "support/rows.h"
#include "support/stream_operations.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

// What every stream promises, as one suite. A test program includes this once and instantiates it
// over the stream classes that it links; what a class does differently is a field of its row.

namespace support {

class StreamContract : public testing::TestWithParam<stream_class> {};

TEST_P(StreamContract, TypedReads) {
    const auto& [name, make, in_memory, stops, block] = GetParam();
    const auto stream = make(counted_bytes(15));
    if (block == 0 || block >= 64) { // otherwise all values straddle
        EXPECT_EQ(stream->read_float(core::encoding_big_endian), std::bit_cast<float>(0x00010203));
        EXPECT_EQ(stream->read_double(core::encoding_little_endian),
                  std::bit_cast<double>(0x0B0A090807060504));
        EXPECT_EQ(stream->pos(), 12u);
    }
    stream->set_pos(12);
    try {
        stream->read_uint32(core::encoding_little_endian);
        FAIL() << "no exception";
    } catch (const core::exception& failure) {
        EXPECT_STREQ(failure.what(), in_memory ? "Out of range." : "Not enougth bytes.");
    }
    EXPECT_EQ(stream->pos(), in_memory ? 12u : 15u);
    EXPECT_EQ(stream->read_uint32(7u, core::encoding_big_endian), 7u);
    EXPECT_THROW(stream->read_uint16(core::encoding_8bit), core::exception);
    EXPECT_EQ(stream->pos(), in_memory ? 12u : 15u);
}

/// Thousands of seeded operations beside a plain array, on views of ever other places. A fuzz
/// target goes on from there.
TEST_P(StreamContract, RandomOperationsAgreeWithAPlainArray) {
    std::mt19937 random(20261112);
    for (unsigned round = 0; round != 24; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const bytes content = counted_bytes(std::array{0U, 1U, 16384U, 70000U}[round % 4U]);
        const auto whole = GetParam().make(content);
        ASSERT_NO_THROW({
            stream_comparison compared(GetParam(), *whole, content, round < 4,
                                       [&](std::uint64_t last) { return random() % (last + 1); });
            for (int step = 0; step != 500; ++step)
                compared.step();
        });
    }
}

} // namespace support
