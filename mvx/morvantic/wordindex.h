#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace engine {

/// Finds a text among fixed words by a table that is made with the program. The word at 0 stands
/// for any other text and is never looked for.
template <std::size_t Count>
class word_index {
public:
    /// `words` is an array of views or of C strings, the last of which may be left out.
    template <class Words>
    constexpr explicit word_index(const Words& words) {
        static_assert(Count * 2 < slot_count && Count <= 256);
        for (std::size_t i = 1; i != Count; ++i) {
            m_words[i] = words[i];
            std::size_t slot = slot_of(m_words[i]);
            while (m_slots[slot] != 0)
                slot = next(slot);
            m_slots[slot] = static_cast<std::uint8_t>(i);
        }
    }

    /// Where exactly this text stands, 0 if nowhere.
    constexpr std::size_t find(std::string_view text) const noexcept {
        if (text.empty()) return 0;
        std::size_t slot = slot_of(text);
        while (m_slots[slot] != 0 && m_words[m_slots[slot]] != text)
            slot = next(slot);
        return m_slots[slot];
    }

private:
    static constexpr std::size_t slot_count = 128;

    static constexpr std::size_t next(std::size_t slot) noexcept { return (slot + 1) % slot_count; }

    /// The words of the language differ in length, at their ends or in their middle.
    static constexpr std::size_t slot_of(std::string_view text) noexcept {
        const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
        const std::size_t size = text.size();
        return (size * 2 + byte(0) * 5 + byte(size / 2) * 4 + byte(size - 1) * 7) % slot_count;
    }

    std::array<std::string_view, Count> m_words{};
    std::array<std::uint8_t, slot_count> m_slots{};
};

} // namespace engine
