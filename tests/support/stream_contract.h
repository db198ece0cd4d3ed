#pragma once

#include "support/rows.h"
#include "support/test_streams.h"

#include "core/inputstream.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>

// What every stream promises, as one suite. A test program includes this once and instantiates it
// over the stream classes that it links; what a class does differently is a field of its row.

namespace support {

struct stream_class {
    std::string name;
    std::function<core::input_stream_ptr(const bytes&)> make;
    bool seeks_to_end = true;       // a seek to exactly the end reports success
    bool read_stops_at_view = true; // read_impl heeds a shortened view
    bool failed_read_stays = false; // a typed read that fails leaves the position
    std::uint64_t block = 0;        // a value across the end of such a block comes out big-endian
    std::string short_words = "Not enougth bytes.";
};

inline void PrintTo(const stream_class& row, std::ostream* out) { *out << row.name; }

class StreamContract : public testing::TestWithParam<stream_class> {
protected:
    core::input_stream_ptr make(std::size_t count) {
        content = counted_bytes(count);
        return GetParam().make(content);
    }

    /// The content from `from` on, at most `count` bytes of it.
    bytes expected(std::uint64_t from, std::uint64_t count) const {
        const std::uint64_t start = std::min<std::uint64_t>(from, content.size());
        const std::uint64_t stop = std::min<std::uint64_t>(start + count, content.size());
        return {content.begin() + static_cast<std::ptrdiff_t>(start),
                content.begin() + static_cast<std::ptrdiff_t>(stop)};
    }

    /// Reads on until nothing comes, since a read may be short anywhere.
    static bytes drain(core::input_stream& stream, std::uint64_t step) {
        bytes all;
        for (bytes part = stream.read_bytes(step); !part.empty(); part = stream.read_bytes(step)) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    bytes content;
};

TEST_P(StreamContract, DeliversTheContentInOrder) {
    for (const std::size_t count : {0u, 1u, 16384u, 40000u, 100000u}) {
        for (const std::uint64_t step : {7u, 16384u, 70000u}) {
            const auto stream = make(count);
            ASSERT_EQ(stream->size(), count);
            EXPECT_EQ(drain(*stream, step), content) << count << " by " << step;
            EXPECT_EQ(stream->remaining(), 0u);
        }
    }
}

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
        EXPECT_EQ(failure.what(), GetParam().short_words);
    }
    EXPECT_EQ(stream->pos(), GetParam().failed_read_stays ? 0u : 3u);
    EXPECT_EQ(stream->read_uint32(7u, core::encoding_big_endian), 7u);
    EXPECT_THROW(stream->read_uint16(core::encoding_8bit), core::exception);
}

TEST_P(StreamContract, SeeksInsideAndOutsideTheView) {
    const auto stream = make(70000);
    for (const std::uint64_t target : {69999u, 0u, 16383u, 16384u, 16385u, 32768u, 5u}) {
        EXPECT_TRUE(stream->set_pos(target));
        EXPECT_EQ(stream->pos(), target);
        EXPECT_EQ(stream->read_bytes(3), expected(target, 3));
    }
    EXPECT_EQ(stream->set_pos(70000), GetParam().seeks_to_end);
    EXPECT_EQ(stream->pos(), 70000u);
    EXPECT_TRUE(stream->read_bytes(1).empty());
    EXPECT_FALSE(stream->set_pos(70001));
    EXPECT_EQ(stream->pos(), 70000u);
    EXPECT_TRUE(stream->set_pos(12));
    EXPECT_EQ(stream->read_uint8(), 12);
}

TEST_P(StreamContract, SkipAndPrevTellHowFarTheyWent) {
    const auto stream = make(40000);
    EXPECT_EQ(stream->skip(20000), 20000u);
    EXPECT_EQ(stream->prev(100), 100u);
    EXPECT_EQ(stream->pos(), 19900u);
    EXPECT_EQ(stream->skip(30000), 20100u);
    EXPECT_EQ(stream->pos(), 40000u);
    EXPECT_EQ(stream->skip(1), 0u);
    EXPECT_EQ(stream->prev(50000), 40000u);
    EXPECT_EQ(stream->pos(), 0u);
}

TEST_P(StreamContract, ViewMovesAndShrinksButNeverGrows) {
    const auto stream = make(40000);
    stream->skip(10);
    EXPECT_TRUE(stream->mark_begin());
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_EQ(stream->size(), 39990u);
    stream->skip(100);
    EXPECT_TRUE(stream->reset());
    EXPECT_EQ(stream->read_uint8(), 10);

    stream->skip(50);
    EXPECT_FALSE(stream->set_length(39991));
    EXPECT_TRUE(stream->set_length(39990));
    EXPECT_EQ(stream->pos(), 51u) << "an unchanged view leaves the position alone";
    EXPECT_TRUE(stream->set_length(20));
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_EQ(stream->size(), 20u);
    EXPECT_FALSE(stream->set_length(21));
    EXPECT_FALSE(stream->set_pos(21));
    EXPECT_EQ(stream->pos(), 20u);
    stream->reset();
    if (GetParam().read_stops_at_view) {
        EXPECT_EQ(stream->read_bytes(100), expected(10, 20));
    }
}

TEST_P(StreamContract, CloneReadsOnIndependently) {
    auto source = make(50000);
    source->skip(8);
    source->mark_begin();
    source->set_pos(16380);
    source->read_bytes(3);
    const auto copy = source->clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->pos(), source->pos());
    EXPECT_EQ(copy->size(), source->size());
    EXPECT_TRUE(copy->set_pos(40000));
    EXPECT_EQ(copy->read_uint8(), content[40008]);
    EXPECT_EQ(source->pos(), 16383u);
    EXPECT_EQ(source->read_uint8(), content[16391]);
    source.reset();
    EXPECT_TRUE(copy->set_pos(20));
    EXPECT_EQ(copy->read_bytes(5), expected(28, 5));
}

/// Thousands of seeded operations beside a plain array.
TEST_P(StreamContract, RandomOperationsAgreeWithAPlainArray) {
    auto stream = make(70000);
    std::mt19937 random(20261112);
    const auto up_to = [&](std::uint64_t last) { return random() % (last + 1); };
    for (int step = 0; step != 4000; ++step) {
        const std::uint64_t at = stream->pos();
        switch (up_to(5)) {
        case 0:
            stream->set_pos(up_to(70000));
            break;
        case 1: {
            const std::uint64_t count = up_to(up_to(8) == 0 ? 40000 : 300);
            ASSERT_EQ(stream->read_bytes(count), expected(at, count)) << "step " << step;
            break;
        }
        case 2: {
            const std::uint64_t count = up_to(20000);
            ASSERT_EQ(stream->skip(count), std::min(count, 70000 - at)) << "step " << step;
            break;
        }
        case 3: {
            const std::uint64_t count = up_to(20000);
            ASSERT_EQ(stream->prev(count), std::min(count, at)) << "step " << step;
            break;
        }
        case 4: {
            if (70000 - at < 4) break;
            const std::uint32_t value = stream->read_uint32(core::encoding_little_endian);
            const std::uint32_t other =
                core::decode<std::uint32_t>(expected(at, 4), core::encoding_big_endian);
            if (GetParam().block != 0 && value == other) break;
            ASSERT_EQ(value,
                      core::decode<std::uint32_t>(expected(at, 4), core::encoding_little_endian));
            break;
        }
        default:
            if (up_to(20) == 0) stream = stream->clone();
        }
    }
}

} // namespace support
