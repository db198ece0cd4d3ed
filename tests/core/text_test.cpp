#include "core/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <vector>

using namespace core;
using namespace std::string_literals;

namespace {

std::vector<std::uint32_t> units(std::wstring_view text) {
    std::vector<std::uint32_t> result;
    for (const wchar_t element : text) {
        const auto value = static_cast<std::uint32_t>(element);
        if (value < 0x10000 || value > 0x10FFFF) {
            result.push_back(value);
        } else {
            result.push_back(0xD7C0 + (value >> 10));
            result.push_back(0xDC00 + (value & 0x3FF));
        }
    }
    return result;
}

} // namespace

TEST(Text, NamesOrderBy16BitUnits) {
    std::mt19937 random(1);
    const wchar_t letters[] = {L'a',
                               L'b',
                               wchar_t(0xFF5E),
                               wchar_t(0x1F600),
                               wchar_t(0xD83D),
                               wchar_t(0xDE00),
                               wchar_t(0x10FFFF)};
    const auto any_name = [&] {
        std::wstring name(random() % 4, L' ');
        for (wchar_t& element : name)
            element = letters[random() % std::size(letters)];
        return name;
    };
    for (int i = 0; i != 20000; ++i) {
        const std::wstring left = any_name();
        const std::wstring right = any_name();
        ASSERT_EQ(u16_less()(left, right), units(left) < units(right));
    }
    EXPECT_TRUE(u16_less()(L"\x1F600", L"\xFF5E"));
    EXPECT_TRUE(u16_less()(L"a", L"ab"));
    EXPECT_EQ((name_set{L"\x1F600", std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)}}.size()), 1u);
}

TEST(Text, AnyBytesSurviveTheWayToWideAndBack) {
    std::mt19937 random(2);
    for (int i = 0; i != 20000; ++i) {
        std::string name(random() % 8, ' ');
        for (char& byte : name)
            byte = static_cast<char>(1 + random() % 255);
        ASSERT_EQ(encode_path(decode_path(name)), name);
    }
    EXPECT_EQ(decode_path("\xE2\x82\xAC\xED\xA0\x80"), L"\x20AC\xDCED\xDCA0\xDC80");
}

TEST(Text, WhatNoPathCanHold) {
    EXPECT_EQ(encode_path({L"\xD83D\xDE00", 2}), "\xF0\x9F\x98\x80");
    for (const wchar_t bad : {wchar_t(0), wchar_t(0xD800), wchar_t(0xDC7F), wchar_t(0xDD00),
                              wchar_t(0x110000), wchar_t(-1)}) {
        EXPECT_FALSE(encode_path(std::wstring(1, bad)));
    }
}

TEST(Text, LogTextIsTotal) {
    const std::wstring odd{L'a', wchar_t(0), wchar_t(0xD800), L'-', wchar_t(0xDCE9), wchar_t(-1)};
    EXPECT_EQ(encode_lossy(odd), "a\0\xED\xA0\x80-\xE9\xEF\xBF\xBD"s);
}

TEST(Text, StrictUtf8) {
    EXPECT_EQ(decode_utf8("\xC3\xA9\xF0\x9F\x98\x80"), L"\xE9\x1F600");
    for (const char* bad : {"\xE9", "ab\xF0\x9F", "\xC0\x80", "\xF4\x90\x80\x80", "\xED\xA0\x80"}) {
        EXPECT_THROW(decode_utf8(bad), std::range_error) << bad;
    }
}

TEST(Text, WideningAndNarrowingByTheByte) {
    EXPECT_EQ(widen_bytes("a\x7F\x80\xE9"), (std::wstring{L'a', 0x7F, 0xFF80, 0xFFE9}));
    EXPECT_EQ(narrow_low_bytes(std::wstring{L'a', wchar_t(0x20AC), wchar_t(0x1F600)}),
              "a\xAC\x3D\0"s);
}

TEST(Text, JoinedPaths) {
    EXPECT_EQ(join_path(L"/r", L"a"), L"/r/a");
    EXPECT_EQ(join_path(L"/r/", L"a"), L"/r/a");
    EXPECT_EQ(join_path(L"/r", L"/etc"), L"/r/etc");
    EXPECT_EQ(join_path(L"", L"a"), L"a");
    EXPECT_EQ(join_path(L"/r", L""), L"/r");
}
