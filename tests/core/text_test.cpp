#include "core/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>

using namespace core;
using namespace std::string_literals;

TEST(Text, NamesOrderBy16BitUnits) {
    const wchar_t high(0xD83D); // the first unit of U+1F600, in front of 0xDE00
    const std::wstring in_order[] = {L"",        L"a",        L"ab",       {high},   {high, L'a'},
                                     L"\x1F600", L"\x1F600z", L"\x10FFFF", L"\xFF5E"};
    for (const std::wstring& left : in_order) {
        for (const std::wstring& right : in_order)
            EXPECT_EQ(u16_less()(left, right), &left < &right) << &left - in_order;
    }
    EXPECT_EQ((name_set{L"\x1F600", std::wstring{high, wchar_t(0xDE00)}}.size()), 1u);
}

TEST(Text, AnyBytesSurviveTheWayToWideAndBack) {
    std::mt19937 random(2);
    for (int i = 0; i != 20000; ++i) {
        std::string name(random() % 8, ' ');
        std::generate(name.begin(), name.end(), [&] { return char(1 + random() % 255); });
        ASSERT_EQ(encode_path(decode_path(name)), name);
    }
    EXPECT_EQ(decode_path("\xE2\x82\xAC\xED\xA0\x80"), L"\x20AC\xDCED\xDCA0\xDC80");
}

TEST(Text, WhatNoPathCanHoldIsLoggedAllTheSame) {
    EXPECT_EQ(encode_path({L"\xD83D\xDE00", 2}), "\xF0\x9F\x98\x80");
    for (const wchar_t bad : {0, 0xD800, 0xDC7F, 0xDD00, 0x110000, -1})
        EXPECT_FALSE(encode_path(std::wstring(1, bad)));
    const std::wstring odd{L'a', wchar_t(0), wchar_t(0xD800), L'-', wchar_t(0xDCE9), wchar_t(-1)};
    EXPECT_EQ(encode_lossy(odd), "a\0\xED\xA0\x80-\xE9\xEF\xBF\xBD"s);
}

TEST(Text, StrictUtf8) {
    EXPECT_EQ(decode_utf8("\xC3\xA9\xF0\x9F\x98\x80"), L"\xE9\x1F600");
    for (const char* bad : {"\xE9", "ab\xF0\x9F", "\xC0\x80", "\xF4\x90\x80\x80", "\xED\xA0\x80"})
        EXPECT_THROW(decode_utf8(bad), std::range_error) << bad;
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
