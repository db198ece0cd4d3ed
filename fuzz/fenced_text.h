#pragma once

#include "fuzz/target.h"
#include "support/memory_store.h"
#include "tools/morvantic/script_report.h"

#include <algorithm>
#include <string>
#include <utility>

namespace fuzz {

/// What the reading of a fenced text has come to.
struct text_reading {
    std::uint64_t fuel = 0;
    int sections = 0; // that were found and begun
};

/// A script's text that ends the parser where it would go on for ever.
///
/// The first pass gets the text as it is: there a comment without an end asks for the size again
/// and again, and fuel runs out. A skipped property without its semicolon asks for nothing any
/// more. So in a section, which begins with a seek, the text has no end to come to. Behind it
/// stands a byte that nothing else takes, and then blanks, which run out. For the same reason a
/// byte that looks like the end is a line feed there, which ends as much.
class fenced_text : public core::input_stream {
public:
    /// Delivers at most `most` bytes a read.
    fenced_text(std::string text, std::uint64_t most, text_reading& reading)
        : m_text(std::move(text)), m_most(most), m_reading(reading) {
        refuel();
    }

    core::input_stream_ptr clone() const override { return nullptr; }

    bool is_seekable() const override { return true; }

    std::uint64_t read_impl(std::uint8_t* target, std::uint64_t count) override {
        burn();
        const std::uint64_t stop = m_in_section ? m_text.size() + fence_length : m_text.size();
        if (m_in_section && m_pos >= stop) throw out_of_fuel();
        const std::uint64_t got = std::min({count, m_most, stop - m_pos});
        for (std::uint64_t i = 0; i != got; ++i)
            target[i] = byte_at(m_pos++);
        return got;
    }

    std::uint64_t size_impl() const override {
        burn();
        return m_in_section ? no_end : m_text.size();
    }

    std::uint64_t pos_impl() const override { return m_pos; }

    bool set_pos_impl(std::uint64_t target) override {
        ++m_reading.sections;
        m_in_section = true;
        m_pos = target;
        refuel();
        return true;
    }

private:
    static constexpr std::uint64_t no_end = std::uint64_t{1} << 40;
    static constexpr std::uint64_t fence_length = 4096; // more than the parser reads ahead
    static constexpr std::uint8_t looks_like_the_end = 0xFF;

    std::uint8_t byte_at(std::uint64_t place) const {
        if (place == m_text.size()) return '\n';
        if (place == m_text.size() + 1) return '@';
        if (place > m_text.size()) return ' ';
        const auto byte = static_cast<std::uint8_t>(m_text[static_cast<std::size_t>(place)]);
        return m_in_section && byte == looks_like_the_end ? '\n' : byte;
    }

    /// Enough to read all of it byte by byte.
    void refuel() { m_reading.fuel = 8 * (m_text.size() + fence_length); }

    void burn() const {
        if (m_reading.fuel == 0) throw out_of_fuel();
        --m_reading.fuel;
    }

    std::string m_text;
    std::uint64_t m_most;
    text_reading& m_reading;
    std::uint64_t m_pos = 0;
    bool m_in_section = false;
};

constexpr unsigned no_deadline = 1'000'000; // seconds

/// Runs the work on a store with the text as "demo.sc", of which a read delivers at most `most`
/// bytes. False if there was no end of it.
template <std::invocable Work>
bool with_text(const std::string& text, std::uint64_t most, text_reading& reading, Work&& work) {
    support::installed_scripts scripts({{L"demo.sc", text}});
    scripts.store.open = [&](const std::string& content) {
        return std::make_unique<fenced_text>(content, most, reading);
    };
    return fenced(std::forward<Work>(work));
}

/// What the engine gives and logs of a text. Empty if there was no end of it.
inline std::string report_of(const std::string& text, const tool::script_outline& outline,
                             std::uint64_t most, text_reading& reading) {
    std::string report;
    with_text(text, most, reading,
              [&] { report = text_of(*tool::read_script(L"demo.sc", outline, {}, no_deadline)); });
    return report;
}

} // namespace fuzz
