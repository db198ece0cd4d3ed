#include "support/test_streams.h"

#include <gtest/gtest.h>

using namespace core;

TEST(ByteArrayInputStream, FailedSeekBehindAMarkGoesToTheViewsLength) {
    const auto stream = support::deep_stream(support::counted_bytes(10));
    stream->skip(4);
    stream->mark_begin();
    EXPECT_FALSE(stream->set_pos(6));
    EXPECT_EQ(stream->pos(), 2u) << "own position 6, which is the view's length";
}

TEST(ByteArrayInputStream, DeepOwnsItsBytesShallowDoesNot) {
    support::bytes content{1};
    const CDeepByteArrayInputStream deep(content.data(), content.size());
    const CShallowByteArrayInputStream shallow(content.data(), content.size());
    content[0] = 9;
    EXPECT_EQ(deep.clone()->read_uint8(), 1);
    EXPECT_EQ(shallow.clone()->read_uint8(), 9);
}
