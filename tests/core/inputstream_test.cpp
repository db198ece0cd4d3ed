#include "support/log_capture.h"
#include "support/rows.h"
#include "support/test_streams.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace core;
using support::bytes;
using support::deep_stream;
using support::forward_stream;
using support::to_bytes;
using support::trickle_stream;

namespace {

/// Typed reads of the base class, since this stream overrides none.
trickle_stream base_stream(bytes content) { return {std::move(content), 1000}; }

std::string thrown_by(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "nothing";
}

} // namespace

TEST(InputStream, BytesOfAFailedValueStayTaken) {
    trickle_stream stream = base_stream({1, 2, 3});
    EXPECT_EQ(thrown_by([&] { stream.read_uint16(encoding_8bit); }), "Invalid encoding.");
    EXPECT_EQ(stream.pos(), 2u);
    EXPECT_EQ(thrown_by([&] { stream.read_uint16(encoding_8bit); }), "Not enougth bytes.")
        << "the size is tested first";
    EXPECT_EQ(stream.pos(), 3u);
}

TEST(InputStream, FailureIsLoggedOnceEvenIfADefaultSwallowsIt) {
    support::log_capture log;
    trickle_stream stream = base_stream({1});
    EXPECT_EQ(stream.read_int32(-5, encoding_big_endian), -5);
    EXPECT_EQ(log.summary(),
              std::vector<std::string>{"ERROR inputstream: [EXC] Not enougth bytes."});
    EXPECT_EQ(log.lines().front().module, "mvx\\core\\inputstream");
}

struct varint_case {
    const char* name;
    varint_type type;
    bytes input;
    std::uint64_t value;
    const char* error = "nothing";
};

class Varint : public testing::TestWithParam<varint_case> {};

TEST_P(Varint, IsReadOrRefused) {
    trickle_stream stream = base_stream(GetParam().input);
    std::uint64_t value = 0;
    EXPECT_EQ(thrown_by([&] { value = stream.read_varint(GetParam().type); }), GetParam().error);
    EXPECT_EQ(value, GetParam().value);
}

const varint_case varint_cases[] = {
    {"OneByte", varint_low_first, {0x05}, 5},
    {"TwoBytes", varint_low_first, {0xAC, 0x02}, 300},
    {"FifthGroupSetsUpperHalf", varint_low_first, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, ~0ull},
    {"ShiftIsModulo32", varint_low_first, {0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 8},
    {"TenContinuations", varint_low_first, bytes(11, 0x80), 0, "Invalid varint"},
    {"EndsInside", varint_low_first, {0x80}, 0, "Not enougth bytes."},
    {"HighOneByte", varint_high_first, {0x7F}, 127},
    {"HighTwoBytes", varint_high_first, {0x81, 0x00}, 128},
    {"HighEightBytes",
     varint_high_first,
     {0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01},
     (1ull << 49) + 1},
    {"HighNineBytes",
     varint_high_first,
     {0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01},
     0,
     "Invalid varint"},
    {"HighZero", varint_high_first, {0x00}, 0, "invalid vector<T> subscript"},
    {"NoSuchLayout", static_cast<varint_type>(2), {0x01}, 0, "Invalid varint type"},
};

INSTANTIATE_TEST_SUITE_P(InputStream, Varint, testing::ValuesIn(varint_cases), support::row_name);

TEST(InputStream, ZeroInTheHighFirstLayoutIsOutOfRange) {
    trickle_stream stream = base_stream({0});
    EXPECT_THROW(stream.read_varint(varint_high_first), std::out_of_range);
    stream.reset();
    EXPECT_EQ(stream.read_varint(9, varint_high_first), 9u);
}

struct text_case {
    const char* name;
    std::function<std::string(input_stream&)> read;
    std::string input;
    std::string text;
    std::uint64_t pos;
};

class Text : public testing::TestWithParam<text_case> {};

TEST_P(Text, IsReadUpToItsEnd) {
    trickle_stream stream = base_stream(to_bytes(GetParam().input));
    EXPECT_EQ(GetParam().read(stream), GetParam().text);
    EXPECT_EQ(stream.pos(), GetParam().pos);
}

using namespace std::string_literals;

const auto zero8 = [](std::uint64_t most) {
    return [=](input_stream& stream) { return stream.read_zstring(encoding_8bit, most); };
};
const auto zero16 = [](std::uint64_t most) {
    return [=](input_stream& stream) { return stream.read_zstring(encoding_16bit, most); };
};
const auto line = [](std::uint64_t most) {
    return [=](input_stream& stream) { return stream.read_line(most); };
};

const text_case text_cases[] = {
    {"TerminatorDoesNotCount", zero8(3), "abc\0x"s, "abc", 4},
    {"OverTheLimit", zero8(3), "abcd\0"s, "", 4},
    {"NoLimit", zero8(0), std::string(500, 'a') + '\0', std::string(500, 'a'), 501},
    {"NoTerminator", zero8(0), "abc", "", 3},
    {"Pairs", zero16(0), "a\0\0b\0\0zz"s, "a\0\0b"s, 6},
    {"PairsOverTheLimit", zero16(2), "a\0b\0\0\0"s, "", 4},
    {"Line", line(0), "one\r\ntwo\n", "one\r", 5},
    {"LastLineWithoutFeedIsLost", line(0), "two", "", 3},
    {"LineOverTheLimit", line(2), "two\n", "", 3},
};

INSTANTIATE_TEST_SUITE_P(InputStream, Text, testing::ValuesIn(text_cases), support::row_name);

TEST(InputStream, TextWidthsThatAreNone) {
    trickle_stream stream = base_stream(to_bytes("abc"));
    EXPECT_EQ(thrown_by([&] { stream.read_zstring(encoding_big_endian, 0); }), "Invalid encoding.");
    EXPECT_EQ(thrown_by([&] { stream.read_string(encoding_little_endian, 1); }),
              "Invalid encoding.");
    EXPECT_EQ(thrown_by([&] { stream.read_string(encoding_16bit, 1ull << 63); }),
              "Error: overflow.");
    EXPECT_EQ(thrown_by([&] { stream.read_zstring(encoding_16bit, 0); }), "Not enougth bytes.")
        << "a pair that breaks off is the read's own failure";
}

TEST(InputStream, FixedTextKeepsItsUnitsAndMayBeShort) {
    trickle_stream stream = base_stream(to_bytes("a\0b\0c"s));
    EXPECT_EQ(stream.read_string(encoding_16bit, 2), "a\0b\0"s);
    EXPECT_EQ(stream.read_string(encoding_8bit, 100), "c");
}

TEST(InputStream, LengthPrefixOfAllOnesMeansNoData) {
    trickle_stream stream = base_stream({255, 'x', 0xFF, 0xFF, 0xFF, 0xFF, 2, 'a', 'b', 'c'});
    EXPECT_TRUE(stream.read_prefixed_bytes(1, encoding_big_endian).empty());
    EXPECT_EQ(stream.pos(), 1u);
    EXPECT_EQ(stream.read_length_prefix(3, encoding_big_endian), 0u);
    EXPECT_EQ(stream.pos(), 1u) << "a width that is none reads nothing";
    stream.read_uint8();
    EXPECT_EQ(stream.read_prefixed_string(4, encoding_little_endian), "");
    EXPECT_EQ(stream.read_prefixed_string(1, encoding_big_endian), "ab");
    EXPECT_EQ(stream.read_length_prefix(8, encoding_big_endian), 0u) << "cannot be read";
}

TEST(InputStream, HugeCountsCommitNoMemory) {
    trickle_stream stream = base_stream(support::counted_bytes(70000));
    EXPECT_EQ(stream.read_bytes(0xFFFFFFFFu).size(), 1000u) << "one read, no second one";
    EXPECT_EQ(stream.read_string(0xFFFFFFFFu).size(), 1000u);
}

TEST(InputStream, ForwardOnlySkipsByReadingAndCannotGoBack) {
    support::log_capture log;
    forward_stream stream(support::counted_bytes(50000), 6000);
    EXPECT_EQ(stream.skip(20000), 20000u);
    EXPECT_EQ(stream.prev(1), 0u);
    stream.mark_begin();
    EXPECT_EQ(stream.skip(100000), 30000u);
    EXPECT_TRUE(stream.reset());
    EXPECT_EQ(stream.pos(), 0u);
    EXPECT_EQ(stream.read_uint8(), 20000 % 251);
    EXPECT_EQ(log.summary(),
              std::vector<std::string>{"Debug debug: [ASSERT] false && \"'prev' not available for "
                                       "non seekable streams!\""});
}

TEST(InputStream, ForwardOnlyResetThatStalls) {
    class stalled_stream : public forward_stream {
    public:
        using forward_stream::forward_stream;

        std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
            return stalled ? 0 : forward_stream::read_impl(buffer, count);
        }

        bool stalled = false;
    };

    support::log_capture log;
    stalled_stream stream(support::counted_bytes(10), 10);
    stream.skip(4);
    stream.mark_begin();
    stream.stalled = true;
    EXPECT_FALSE(stream.reset());
    EXPECT_EQ(log.summary(), (std::vector<std::string>{"Debug debug: [ASSERT] false",
                                                       "ERROR inputstream: Fail to skip."}));
}

TEST(InputStream, PositionThatWrapsGoesToTheEnd) {
    support::log_capture log;
    trickle_stream stream = base_stream(support::counted_bytes(20));
    stream.skip(5);
    stream.mark_begin();
    EXPECT_FALSE(stream.set_pos(~0ull - 2));
    EXPECT_EQ(stream.pos(), 15u);
    EXPECT_EQ(log.count("[ASSERT] false"), 1);
}
