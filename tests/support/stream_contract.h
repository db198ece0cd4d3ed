#pragma once

#include "support/rows.h"
#include "support/stream_operations.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

// What every stream promises, as one suite. A test program includes this once and instantiates it
// over the stream classes that it links; what a class does differently is a field of its row.

namespace support {

class StreamContract : public testing::TestWithParam<stream_class> {
protected:
    core::input_stream_ptr make(std::size_t count) {
        content = counted_bytes(count);
        return GetParam().make(content);
    }

    bytes content;
};

TEST_P(StreamContract, TypedReadsInBothByteOrders) {
    if (GetParam().block != 0 && GetParam().block < 64) return; // all values straddle
    const auto stream = make(64);
    EXPECT_EQ(stream->read_uint8(), 0x00);
    EXPECT_EQ(stream->read_uint16(core::encoding_big_endian), 0x0102);
    EXPECT_EQ(stream->read_uint16(core::encoding_little_endian), 0x0403);
    EXPECT_EQ(stream->read_uint32(core::encoding_big_endian), 0x05060708u);
    EXPECT_EQ(stream->read_int32(core::encoding_little_endian), 0x0C0B0A09);
    EXPECT_EQ(stream->read_uint64(core::encoding_little_endian), 0x14131211100F0E0Du);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(stream->read_float(core::encoding_big_endian)),
              0x15161718u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(stream->read_double(core::encoding_little_endian)),
              0x201F1E1D1C1B1A19u);
    EXPECT_EQ(stream->pos(), 33u);
}

TEST_P(StreamContract, TypedReadWithoutEnoughBytes) {
    const auto stream = make(3);
    try {
        stream->read_uint32(core::encoding_little_endian);
        FAIL() << "no exception";
    } catch (const core::exception& failure) {
        EXPECT_STREQ(failure.what(), GetParam().in_memory ? "Out of range." : "Not enougth bytes.");
    }
    EXPECT_EQ(stream->pos(), GetParam().in_memory ? 0u : 3u);
    EXPECT_EQ(stream->read_uint32(7u, core::encoding_big_endian), 7u);
    EXPECT_THROW(stream->read_uint16(core::encoding_8bit), core::exception);
    EXPECT_EQ(stream->pos(), GetParam().in_memory ? 0u : 3u);
}

/// Thousands of seeded operations beside a plain array, on views of ever other places. A fuzz
/// target goes on from there.
TEST_P(StreamContract, RandomOperationsAgreeWithAPlainArray) {
    std::mt19937 random(20261112);
    for (unsigned round = 0; round != 24; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const auto whole = make(std::array{0U, 1U, 16384U, 70000U}[round % 4U]);
        ASSERT_NO_THROW({
            stream_comparison compared(GetParam(), *whole, content, round < 4,
                                       [&](std::uint64_t last) { return random() % (last + 1); });
            for (int step = 0; step != 500; ++step)
                compared.step();
        });
    }
}

} // namespace support
