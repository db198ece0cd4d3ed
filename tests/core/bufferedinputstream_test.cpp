#include "core/bufferedinputstream.h"

#include "support/log_capture.h"
#include "support/test_streams.h"

#include <gtest/gtest.h>

using namespace core;
using support::trickle_stream;

namespace {

/// A buffered stream of 16 bytes, with a view of its inner stream's counters.
struct counted_buffer {
    explicit counted_buffer(std::size_t content) {
        auto owned = std::make_unique<trickle_stream>(support::counted_bytes(content), 100000);
        inner = owned.get();
        stream = std::make_unique<buffered_input_stream>(std::move(owned), 16);
    }

    trickle_stream* inner;
    std::unique_ptr<buffered_input_stream> stream;
};

} // namespace

TEST(BufferedInputStream, StraddlingValueIsBigEndian) {
    counted_buffer buffered(64);
    buffered_input_stream& stream = *buffered.stream;
    const auto at_edge = [&](auto read) {
        stream.reset();
        stream.read_bytes(15);
        return std::bit_cast<internals::unsigned_of_width<sizeof(read())>>(read());
    };
    const auto little = encoding_little_endian;
    EXPECT_EQ(at_edge([&] { return stream.read_uint16(little); }), 0x0F10);
    EXPECT_EQ(stream.read_uint16(little), 0x1211) << "the next one does not straddle";
    EXPECT_EQ(at_edge([&] { return stream.read_uint32(little); }), 0x0F101112u);
    EXPECT_EQ(at_edge([&] { return stream.read_float(little); }), 0x0F101112u);
    EXPECT_EQ(at_edge([&] { return stream.read_uint64(little); }), 0x0F10111213141516u);
    EXPECT_EQ(at_edge([&] { return stream.read_double(little); }), 0x0F10111213141516u);
}

TEST(BufferedInputStream, AsksTheInnerStreamForNoMoreThanItMust) {
    counted_buffer buffered(100);
    buffered.stream->read_bytes(10);
    EXPECT_TRUE(buffered.stream->set_pos(2));
    EXPECT_TRUE(buffered.stream->set_pos(16));
    EXPECT_EQ(buffered.inner->reads, 1);
    EXPECT_TRUE(buffered.stream->set_pos(20)) << "within the next block: filled, not sought";
    EXPECT_EQ(buffered.stream->read_uint8(), 20);
    EXPECT_EQ(buffered.inner->reads, 2);
    EXPECT_EQ(buffered.stream->read_bytes(200).size(), 79u);
    EXPECT_EQ(buffered.inner->reads, 3) << "the rest comes by one read";
    EXPECT_EQ(buffered.inner->seeks, 0);
    EXPECT_TRUE(buffered.stream->set_pos(1));
    EXPECT_EQ(buffered.inner->seeks, 1);
}

TEST(BufferedInputStream, WithoutInnerStreamIsEmpty) {
    support::log_capture log;
    buffered_input_stream stream(nullptr);
    EXPECT_TRUE(stream.is_seekable());
    EXPECT_TRUE(stream.read_bytes(5).empty());
    EXPECT_FALSE(stream.set_pos(1));
    EXPECT_THROW(stream.read_uint8(), core::exception);
    EXPECT_EQ(log.count("[ASSERT] rc"), 3);
    EXPECT_NE(stream.clone(), nullptr);
}

TEST(BufferedInputStream, FailedCloneIsEmptyAndAMoveLeavesNothing) {
    support::log_capture log;
    counted_buffer buffered(20);
    buffered.inner->clone_fails = true;
    EXPECT_EQ(buffered.stream->clone(), nullptr);
    EXPECT_EQ(log.summary(), (std::vector<std::string>{
                                 "ERROR bufferedinputstream: [EXC] Failed to clone inner stream.",
                                 "ERROR bufferedinputstream: Failed to clone inner stream."}));
    buffered.stream->read_uint8();
    buffered_input_stream moved(std::move(*buffered.stream));
    EXPECT_EQ(moved.read_uint8(), 1);
    EXPECT_EQ(buffered.stream->size(), 0u);
    EXPECT_TRUE(buffered.stream->read_bytes(1).empty());
}
