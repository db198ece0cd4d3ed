#pragma once

#include "support/rows.h"
#include "support/test_streams.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <random>

// What every stream promises, as one suite. A test program includes this once and instantiates it
// over the stream classes that it links; what a class does differently is a field of its row.

namespace support {

struct stream_class {
    std::string name;
    std::function<core::input_stream_ptr(const bytes&)> make;
    bool in_memory = false;         // never seeks to its very end; a failed value stays to be read
    bool read_stops_at_view = true; // read_impl heeds a shortened view
    std::uint64_t block = 0;        // a value across the end of such a block comes out big-endian
};

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

/// Tens of thousands of seeded operations beside a plain array, on views of ever other places.
TEST_P(StreamContract, RandomOperationsAgreeWithAPlainArray) {
    std::mt19937 random(20261112);
    const auto up_to = [&](std::uint64_t last) { return random() % (last + 1); };
    for (unsigned round = 0; round != 80; ++round) {
        const std::size_t total = std::array{0U, 1U, 16384U, 70000U}[round % 4U];
        const bool is_whole = round < 4;
        const auto whole = make(total);
        auto stream = whole->clone();
        const std::uint64_t from = is_whole ? 0 : up_to(total / 2);
        EXPECT_EQ(stream->skip(from), from);
        EXPECT_TRUE(stream->mark_begin());
        std::uint64_t at = stream->skip(up_to(total - from));
        EXPECT_FALSE(stream->set_length(total - from + 1)) << "a view never grows";
        EXPECT_TRUE(stream->set_length(total - from));
        ASSERT_EQ(stream->pos(), at) << "an unchanged view leaves the position alone";
        const std::uint64_t size = is_whole ? total : up_to(total - from);
        EXPECT_TRUE(stream->set_length(size));
        if (size != total - from) at = 0;
        const bool has_end = !GetParam().in_memory || from + size != total;
        for (int step = 0; step != 500; ++step) {
            SCOPED_TRACE("round " + std::to_string(round) + ", step " + std::to_string(step));
            ASSERT_EQ(stream->pos(), at);
            ASSERT_EQ(stream->size(), size);
            const std::uint64_t count = up_to(up_to(3) == 0 ? 40000 : 300);
            const std::uint64_t ahead = std::min(count, size - at);
            const bytes coming = expected(from + at, ahead);
            const auto encoding = static_cast<core::stream_encoding>(
                up_to(1) == 0 ? core::encoding_little_endian : core::encoding_big_endian);
            const auto is_next = [&]<class Value>(Value value) {
                const auto decoded = [&](core::stream_encoding order) {
                    return core::decode<Value>({coming.data(), sizeof(Value)}, order);
                };
                at += sizeof(Value);
                return value == decoded(encoding) ||
                       (GetParam().block != 0 && value == decoded(core::encoding_big_endian));
            };
            switch (up_to(8)) {
            case 0:
                ASSERT_EQ(stream->read_bytes(GetParam().read_stops_at_view ? count : ahead),
                          coming);
                at += ahead;
                break;
            case 1:
                ASSERT_EQ(stream->skip(count), ahead);
                at += ahead;
                break;
            case 2:
                ASSERT_EQ(stream->prev(count), std::min(count, at));
                at -= std::min(count, at);
                break;
            case 3: // to any place, or to the end and a little beyond
                at = up_to(1) == 0 ? up_to(size) : size + up_to(1);
                ASSERT_EQ(stream->set_pos(at), at < size || (at == size && has_end));
                at = std::min(at, size);
                break;
            case 4:
                ASSERT_EQ(stream->reset(), size != 0 || has_end);
                at = 0;
                break;
            case 5: { // what one of the two does is nothing to the other
                auto other = stream->clone();
                if (count % 2 == 0) stream.swap(other);
                other->set_pos(up_to(size));
                other->read_bytes(100);
                break;
            }
            case 6:
                ASSERT_TRUE(ahead < 2 || is_next(stream->read_uint16(encoding)));
                break;
            case 7:
                ASSERT_TRUE(ahead < 4 || is_next(stream->read_uint32(encoding)));
                break;
            default:
                ASSERT_TRUE(ahead < 8 || is_next(stream->read_uint64(encoding)));
            }
        }
    }
}

} // namespace support
