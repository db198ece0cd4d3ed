#include "core/text.h"
#include "morvantic/text.h"

#include <gtest/gtest.h>
#include <random>

// What hosts include agrees with what the engine does itself.

TEST(PublicText, AgreesWithTheEngine) {
    std::mt19937 random(1);
    // At the edges of the rules of UTF-8, so that valid sequences and near misses abound.
    const std::string bytes =
        "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF";
    const std::wstring elements = L"A\x7FF\xD800\xDC00\xDC7F\xDC80\xDCFF\x110000";
    for (int i = 0; i != 200000; ++i) {
        std::string narrow(random() % 9, ' ');
        for (char& byte : narrow)
            byte = i % 2 == 0 ? static_cast<char>(random()) : bytes[random() % bytes.size()];
        const std::wstring decoded = engine::to_wide(narrow);
        ASSERT_EQ(decoded, core::decode_path(narrow));
        ASSERT_EQ(engine::to_utf8(decoded), narrow);

        std::wstring wide(random() % 6, L' ');
        for (wchar_t& element : wide)
            element = elements[random() % elements.size()];
        ASSERT_EQ(engine::to_utf8(wide), core::encode_lossy(wide));
    }
    for (wchar_t value = 0; value <= 0x110000; ++value) {
        const std::wstring wide(1, value);
        ASSERT_EQ(engine::to_utf8(wide), core::encode_lossy(wide)) << std::hex << int{value};
    }
}
