#pragma once

#include "harness.h"

namespace bench {

/// What is counted of a Script section, and of the same content in other languages.
struct tally {
    void add_text(std::string_view text) noexcept {
        ++values;
        text_bytes += text.size();
    }

    void add_number(std::int64_t number) noexcept {
        ++values;
        number_sum += static_cast<std::uint64_t>(number);
    }

    void add(const tally& other) noexcept {
        values += other.values;
        text_bytes += other.text_bytes;
        number_sum += other.number_sum;
    }

    void add_to(proof& found) const {
        found.add(values);
        found.add(text_bytes);
        found.add(number_sum);
    }

    std::uint64_t values = 0;
    std::uint64_t text_bytes = 0;
    std::uint64_t number_sum = 0; // a bool is 0 or 1
};

// Each reads a text into what its library makes of it: Lua a compiled function, the others a tree.
// To count, the values are visited too, and Lua runs its function before.
void read_by_lua(const std::string& text, tally* found);
void read_by_libconfig(const std::string& text, tally* found);
void read_by_toml(const std::string& text, tally* found);

} // namespace bench
