#include "support/log_capture.h"
#include "support/test_streams.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/resource.h>

using namespace core;
using namespace std::string_literals;
using support::trickle_stream;

namespace {

constexpr auto big = encoding_big_endian;
constexpr auto little = encoding_little_endian;

/// Typed reads of the base class, since this stream overrides none.
trickle_stream base_stream(support::bytes content) { return {std::move(content), 1000}; }

std::string low_first(input_stream& s) { return std::to_string(s.read_varint(varint_low_first)); }

std::string high_first(input_stream& s) { return std::to_string(s.read_varint(varint_high_first)); }

// clang-format off
const struct {
    std::string input;
    std::string (*read)(input_stream&);
    std::string shown; // what is read or thrown, and the position then
} reads[] = {
    {"\xFF\xFF\xFF\xFF\x0F", low_first, "18446744073709551615 at 5"}, // which sets the upper half
    {"\x80\x80\x80\x80\x80\x01", low_first, "8 at 6"}, // shifts are modulo 32
    {std::string(10, '\x80'), low_first, "Invalid varint at 10"},
    {"\x81\x80\x80\x80\x80\x80\x80\x02", high_first, "562949953421314 at 8"},
    {std::string(8, '\x81') + '\1', high_first, "Invalid varint at 9"},
    {"\0"s, high_first, "out of range: invalid vector<T> subscript at 1"},
    {"\1", [](auto& s) { return std::to_string(s.read_varint(varint_type(2))); },
     "Invalid varint type at 0"},
    {"", [](auto& s) { return std::to_string(s.read_varint(9, varint_low_first)); }, "9 at 0"},

    {"\xFF\xFE", [](auto& s) { return std::to_string(s.read_int16(big)); }, "-2 at 2"},
    {"\xFF\xFF\xFF\xFE", [](auto& s) { return std::to_string(s.read_int32(big)); }, "-2 at 4"},
    {"\xFE" + std::string(7, '\xFF'),
     [](auto& s) { return std::to_string(s.read_int64(little)); }, "-2 at 8"},
    {"\1\2\3", [](auto& s) { return std::to_string(s.read_uint16(encoding_8bit)); },
     "Invalid encoding. at 2"}, // its bytes stay taken
    {"\3", [](auto& s) { return std::to_string(s.read_uint16(encoding_8bit)); },
     "Not enougth bytes. at 1"}, // the size is tested first
    {"\3", [](auto& s) { return std::to_string(s.read_int16(-5, big)); }, "-5 at 1"},
    {"abc\0x"s, [](auto& s) { return s.read_zstring(encoding_8bit, 3); }, "abc at 4"},
    {"abcd\0"s, [](auto& s) { return s.read_zstring(encoding_8bit, 3); }, " at 4"},
    {"abc", [](auto& s) { return s.read_zstring(encoding_8bit, 0); }, " at 3"},
    {"a\0\0b\0\0zz"s, [](auto& s) { return s.read_zstring(encoding_16bit, 0); }, "a\0\0b at 6"s},
    {"a\0b\0\0\0"s, [](auto& s) { return s.read_zstring(encoding_16bit, 2); }, " at 4"},
    {"c", [](auto& s) { return s.read_zstring(encoding_16bit, 0); }, "Not enougth bytes. at 1"},
    {"c", [](auto& s) { return s.read_zstring(big, 0); }, "Invalid encoding. at 0"},
    {"one\r\ntwo\n", [](auto& s) { return s.read_line(0); }, "one\r at 5"},
    {"two", [](auto& s) { return s.read_line(0); }, " at 3"},
    {"two\n", [](auto& s) { return s.read_line(2); }, " at 3"},
    {"a\0b\0c"s, [](auto& s) { return s.read_string(encoding_16bit, 2); }, "a\0b\0 at 4"s},
    {"a", [](auto& s) { return s.read_string(encoding_16bit, ~0ull); }, "Error: overflow. at 0"},
    {"a", [](auto& s) { return s.read_string(big, 1); }, "Invalid encoding. at 0"},

    {"\2abc", [](auto& s) { return s.read_prefixed_string(1, big); }, "ab at 3"},
    {"\2\0abc"s, [](auto& s) { return std::to_string(s.read_prefixed_bytes(2, little)[1]); },
     "98 at 4"},
    {"\xFFx", [](auto& s) { return s.read_prefixed_string(1, big); }, " at 1"}, // all ones: no data
    {"\xFF\xFF\xFF\xFF\2", [](auto& s) { return s.read_prefixed_string(4, little); }, " at 4"},
    {"abc", [](auto& s) { return std::to_string(s.read_length_prefix(3, big)); }, "0 at 0"},
    {"abc", [](auto& s) { return std::to_string(s.read_length_prefix(8, big)); }, "0 at 3"},
};

// clang-format on

} // namespace

TEST(InputStream, ReadsOfEveryKindAndTheirFailures) {
    for (const auto& [input, read, shown] : reads) {
        const support::log_capture log;
        trickle_stream stream = base_stream(support::to_bytes(input));
        std::string text;
        try {
            text = read(stream);
        } catch (const std::exception& failure) {
            text = failure.what();
            EXPECT_EQ(log.summary(), std::vector{"ERROR inputstream: [EXC] " + text}) << "once";
            if (dynamic_cast<const std::out_of_range*>(&failure)) text = "out of range: " + text;
        }
        EXPECT_EQ(text + " at " + std::to_string(stream.pos()), shown) << input;
    }
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
    support::forward_stream stream(support::counted_bytes(50000), 6000);
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
