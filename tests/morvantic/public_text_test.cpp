#include "core/text.h"
#include "morvantic/text.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

// What hosts include agrees with what the engine does itself.

TEST(PublicText, BytesToWideAgreesWithTheEngine) {
    std::mt19937 random(1);
    // Bytes at the edges of the rules of UTF-8, so that valid sequences and near misses abound.
    const std::string edges =
        "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF";
    for (int i = 0; i != 200000; ++i) {
        std::string bytes(random() % 9, ' ');
        for (char& byte : bytes) {
            byte = i % 2 == 0 ? static_cast<char>(random()) : edges[random() % edges.size()];
        }
        const std::wstring wide = engine::to_wide(bytes);
        ASSERT_EQ(wide, core::decode_path(bytes));
        ASSERT_EQ(engine::to_utf8(wide), bytes);
    }
}

TEST(PublicText, WideToUtf8AgreesWithTheEngine) {
    std::mt19937 random(2);
    const std::uint32_t edges[] = {'A', 0x7FF, 0xD800, 0xDC00, 0xDC7F, 0xDC80, 0xDCFF, 0x110000};
    for (int i = 0; i != 100000; ++i) {
        std::wstring wide(random() % 6, L' ');
        for (wchar_t& element : wide) {
            element = static_cast<wchar_t>(edges[random() % std::size(edges)]);
        }
        ASSERT_EQ(engine::to_utf8(wide), core::encode_lossy(wide));
    }
    for (std::uint32_t value = 0; value <= 0x110000; ++value) {
        const std::wstring wide(1, static_cast<wchar_t>(value));
        ASSERT_EQ(engine::to_utf8(wide), core::encode_lossy(wide)) << value;
    }
}
