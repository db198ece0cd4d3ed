#include "support/log_capture.h"
#include "support/test_streams.h"

#include <gtest/gtest.h>

using namespace core;

TEST(ByteArrayInputStream, InvalidEncodingLeavesThePosition) {
    support::log_capture log;
    const auto stream = support::deep_stream({1, 2, 3, 4});
    EXPECT_THROW(stream->read_uint16(encoding_16bit), core::exception);
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_THROW(stream->read_uint64(encoding_big_endian), core::exception);
    EXPECT_EQ(log.summary(),
              (std::vector<std::string>{"ERROR inputstream: [EXC] Invalid encoding.",
                                        "ERROR bytearrayinputstream: [EXC] Out of range."}));
}

TEST(ByteArrayInputStream, FailedSeekBehindAMarkGoesToTheViewsLength) {
    const auto stream = support::deep_stream(support::counted_bytes(10));
    stream->skip(4);
    stream->mark_begin();
    EXPECT_FALSE(stream->set_pos(6));
    EXPECT_EQ(stream->pos(), 2u) << "own position 6, which is the view's length";
}

TEST(ByteArrayInputStream, DeepOwnsItsBytesShallowDoesNot) {
    support::bytes content{1, 2, 3};
    const CDeepByteArrayInputStream deep(content.data(), content.size());
    const CShallowByteArrayInputStream shallow(content.data(), content.size());
    const auto deep_clone = deep.clone();
    const auto shallow_clone = shallow.clone();
    content[0] = 9;
    EXPECT_EQ(deep_clone->read_uint8(), 1);
    EXPECT_EQ(shallow_clone->read_uint8(), 9);
}
