#include "core/bufferedinputstream.h"

#include "support/log_capture.h"
#include "support/test_streams.h"

#include <gtest/gtest.h>

using namespace core;
using support::trickle_stream;

namespace {

/// A buffered stream, with a view of its inner stream's counters.
struct counted_buffer {
    explicit counted_buffer(std::size_t content, std::size_t buffer_size = 16) {
        auto owned = std::make_unique<trickle_stream>(support::counted_bytes(content), 100000);
        inner = owned.get();
        stream = std::make_unique<buffered_input_stream>(std::move(owned), buffer_size);
    }

    trickle_stream* inner;
    std::unique_ptr<buffered_input_stream> stream;
};

} // namespace

TEST(BufferedInputStream, StraddlingValueIsBigEndian) {
    counted_buffer buffered(20);
    for (int i = 0; i != 15; ++i)
        buffered.stream->read_uint8();
    EXPECT_EQ(buffered.stream->read_uint16(encoding_little_endian), 0x0F10);
    EXPECT_EQ(buffered.stream->read_uint16(encoding_little_endian), 0x1211);
}

TEST(BufferedInputStream, LongReadTakesTheRestByOneInnerRead) {
    counted_buffer buffered(20);
    buffered.stream->read_bytes(6);
    EXPECT_EQ(buffered.inner->reads, 1);
    EXPECT_EQ(buffered.stream->read_bytes(40).size(), 14u);
    EXPECT_EQ(buffered.inner->reads, 2);
}

TEST(BufferedInputStream, SeekBackAfterADirectReadIsNotServedFromTheBuffer) {
    counted_buffer buffered(100);
    buffered.stream->read_bytes(50);
    ASSERT_TRUE(buffered.stream->set_pos(45));
    EXPECT_EQ(buffered.stream->read_uint8(), 45);
    buffered.stream->set_pos(62);
    buffered.stream->read_uint32(encoding_big_endian); // straddles
    ASSERT_TRUE(buffered.stream->set_pos(63));
    EXPECT_EQ(buffered.stream->read_uint8(), 63);
}

TEST(BufferedInputStream, ShortSeekMovesNothingInside) {
    counted_buffer buffered(100);
    buffered.stream->read_bytes(10);
    EXPECT_TRUE(buffered.stream->set_pos(2));
    EXPECT_TRUE(buffered.stream->set_pos(16));
    EXPECT_EQ(buffered.inner->seeks, 0);
    EXPECT_TRUE(buffered.stream->set_pos(20)) << "within the next block: filled, not sought";
    EXPECT_EQ(buffered.stream->read_uint8(), 20);
    EXPECT_EQ(buffered.inner->seeks, 0);
    EXPECT_TRUE(buffered.stream->set_pos(1));
    EXPECT_EQ(buffered.inner->seeks, 1);
}

TEST(BufferedInputStream, NextBlockIsMeasuredFromTheSourceNotFromTheView) {
    counted_buffer buffered(100);
    buffered.stream->read_bytes(10);
    buffered.stream->mark_begin();
    buffered.stream->read_bytes(6);
    EXPECT_TRUE(buffered.stream->set_pos(30));
    EXPECT_EQ(buffered.stream->read_uint8(), 40);
}

TEST(BufferedInputStream, WithoutInnerStreamIsEmpty) {
    support::log_capture log;
    buffered_input_stream stream(nullptr);
    EXPECT_TRUE(stream.is_seekable());
    EXPECT_EQ(stream.size(), 0u);
    EXPECT_TRUE(stream.read_bytes(5).empty());
    EXPECT_FALSE(stream.set_pos(1));
    EXPECT_THROW(stream.read_uint8(), core::exception);
    EXPECT_EQ(log.count("[ASSERT] rc"), 3);
    EXPECT_NE(stream.clone(), nullptr);
}

TEST(BufferedInputStream, CloneOfAnInnerStreamThatCannotBeClonedIsEmpty) {
    support::log_capture log;
    counted_buffer buffered(20);
    buffered.inner->clone_fails = true;
    EXPECT_EQ(buffered.stream->clone(), nullptr);
    EXPECT_EQ(log.summary(), (std::vector<std::string>{
                                 "ERROR bufferedinputstream: [EXC] Failed to clone inner stream.",
                                 "ERROR bufferedinputstream: Failed to clone inner stream."}));
}

TEST(BufferedInputStream, MoveLeavesAnEmptyStream) {
    counted_buffer buffered(20);
    buffered.stream->read_uint8();
    buffered_input_stream moved(std::move(*buffered.stream));
    EXPECT_EQ(moved.read_uint8(), 1);
    EXPECT_EQ(buffered.stream->size(), 0u);
    EXPECT_TRUE(buffered.stream->read_bytes(1).empty());
}
