#include "support/log_capture.h"
#include "support/rows.h"
#include "support/test_streams.h"

#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/resource.h>

using namespace core;
using namespace std::string_literals;
using support::bytes;
using support::forward_stream;
using support::to_bytes;
using support::trickle_stream;

namespace {

/// Typed reads of the base class, since this stream overrides none.
trickle_stream base_stream(bytes content) { return {std::move(content), 1000}; }

std::string thrown_by(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::out_of_range& failure) {
        return "out of range: "s + failure.what();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "nothing";
}

struct varint_case {
    const char* name;
    varint_type type;
    std::string input;
    std::uint64_t value;
    const char* error = "nothing";
};

class Varint : public testing::TestWithParam<varint_case> {};

const varint_case varint_cases[] = {
    {"FifthGroupSetsUpperHalf", varint_low_first, "\xFF\xFF\xFF\xFF\x0F", ~0ull},
    {"ShiftIsModulo32", varint_low_first, "\x80\x80\x80\x80\x80\x01", 8},
    {"TenContinuations", varint_low_first, std::string(10, '\x80'), 0, "Invalid varint"},
    {"HighEightBytes", varint_high_first, "\x81\x80\x80\x80\x80\x80\x80\x02", (1ull << 49) + 2},
    {"HighNineBytes", varint_high_first, std::string(8, '\x81') + '\1', 0, "Invalid varint"},
    {"HighZero", varint_high_first, "\0"s, 0, "out of range: invalid vector<T> subscript"},
    {"NoSuchLayout", static_cast<varint_type>(2), "\1", 0, "Invalid varint type"},
};

struct text_case {
    const char* name;
    std::optional<stream_encoding> zero_of; // empty: the text ends with a line feed
    std::uint64_t limit;
    std::string input;
    std::string text;
    std::uint64_t pos;
};

class Text : public testing::TestWithParam<text_case> {};

const text_case text_cases[] = {
    {"TerminatorDoesNotCount", encoding_8bit, 3, "abc\0x"s, "abc", 4},
    {"OverTheLimit", encoding_8bit, 3, "abcd\0"s, "", 4},
    {"NoTerminator", encoding_8bit, 0, "abc", "", 3},
    {"Pairs", encoding_16bit, 0, "a\0\0b\0\0zz"s, "a\0\0b"s, 6},
    {"PairsOverTheLimit", encoding_16bit, 2, "a\0b\0\0\0"s, "", 4},
    {"Line", {}, 0, "one\r\ntwo\n", "one\r", 5},
    {"LastLineWithoutFeedIsLost", {}, 0, "two", "", 3},
    {"LineOverTheLimit", {}, 2, "two\n", "", 3},
};

} // namespace

TEST_P(Varint, IsReadOrRefused) {
    trickle_stream stream = base_stream(to_bytes(GetParam().input));
    const bool sound = GetParam().error == "nothing"s;
    EXPECT_EQ(stream.read_varint(9, GetParam().type), sound ? GetParam().value : 9);
    stream.reset();
    EXPECT_EQ(thrown_by([&] { stream.read_varint(GetParam().type); }), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(InputStream, Varint, testing::ValuesIn(varint_cases), support::row_name);

TEST_P(Text, IsReadUpToItsEnd) {
    const auto& [name, zero_of, limit, input, text, pos] = GetParam();
    trickle_stream stream = base_stream(to_bytes(input));
    EXPECT_EQ(zero_of ? stream.read_zstring(*zero_of, limit) : stream.read_line(limit), text);
    EXPECT_EQ(stream.pos(), pos);
}

INSTANTIATE_TEST_SUITE_P(InputStream, Text, testing::ValuesIn(text_cases), support::row_name);

TEST(InputStream, FailedValueIsLoggedOnceAndItsBytesStayTaken) {
    support::log_capture log;
    trickle_stream stream = base_stream({1, 2, 3});
    EXPECT_THROW(stream.read_uint16(encoding_8bit), core::exception);
    EXPECT_EQ(stream.pos(), 2u);
    EXPECT_EQ(stream.read_int16(-5, encoding_8bit), -5) << "the size is tested first";
    EXPECT_EQ(stream.pos(), 3u);
    EXPECT_EQ(log.summary(),
              (std::vector<std::string>{"ERROR inputstream: [EXC] Invalid encoding.",
                                        "ERROR inputstream: [EXC] Not enougth bytes."}));
}

TEST(InputStream, TextWidths) {
    trickle_stream stream = base_stream(to_bytes("a\0b\0c"s));
    EXPECT_EQ(stream.read_string(encoding_16bit, 2), "a\0b\0"s);
    const auto big = encoding_big_endian;
    EXPECT_EQ(thrown_by([&] { stream.read_zstring(big, 0); }), "Invalid encoding.");
    EXPECT_EQ(thrown_by([&] { stream.read_string(big, 1); }), "Invalid encoding.");
    EXPECT_EQ(thrown_by([&] { stream.read_string(encoding_16bit, 1ull << 63); }),
              "Error: overflow.");
    EXPECT_EQ(thrown_by([&] { stream.read_zstring(encoding_16bit, 0); }), "Not enougth bytes.")
        << "a pair that breaks off is the read's own failure";
}

TEST(InputStream, LengthPrefixOfAllOnesMeansNoData) {
    trickle_stream stream = base_stream({255, 'x', 0xFF, 0xFF, 0xFF, 0xFF, 2, 'a', 'b', 'c'});
    EXPECT_TRUE(stream.read_prefixed_bytes(1, encoding_big_endian).empty());
    EXPECT_EQ(stream.read_length_prefix(3, encoding_big_endian), 0u);
    EXPECT_EQ(stream.pos(), 1u) << "a width that is none reads nothing";
    stream.read_uint8();
    EXPECT_EQ(stream.read_prefixed_string(4, encoding_little_endian), "");
    EXPECT_EQ(stream.read_prefixed_string(1, encoding_big_endian), "ab");
    EXPECT_EQ(stream.read_length_prefix(8, encoding_big_endian), 0u) << "cannot be read";
}

TEST(InputStream, HugeCountsCommitNoMemory) {
    trickle_stream stream = base_stream(support::counted_bytes(70000));
    EXPECT_EQ(stream.read_bytes(0x3FFFFFFF).size(), 1000u) << "one read, no second one";
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    EXPECT_LT(used.ru_maxrss, 0x3FFFFFFF / 1024) << "kilobytes";
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
    stream.most = 0; // stalls
    EXPECT_FALSE(stream.reset());
    EXPECT_EQ(log.summary(),
              (std::vector<std::string>{"Debug debug: [ASSERT] false && \"'prev' not available for "
                                        "non seekable streams!\"",
                                        "Debug debug: [ASSERT] false",
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
