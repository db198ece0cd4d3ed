#pragma once

#include "support/test_streams.h"

#include "core/inputstream.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

// What all targets share. A target defines take(), and is linked with a fuzzing engine or with
// replay_main.cpp.

namespace fuzz {

using support::bytes;

/// Ends a reader that would go on for ever. No std::exception, so the engine lets it pass.
struct out_of_fuel {};

/// Holds one input against what must be true of all. What it throws, but for out_of_fuel, is a
/// find.
void take(std::span<const std::uint8_t> input);

/// Ends the process, which makes the input a find, unless the condition holds.
void require(bool holds, const char* what);

/// Counts the input that is being taken among those that ran out of fuel.
void note_out_of_fuel() noexcept;

/// Runs the work. False, and the input is counted, if it ran out of fuel.
template <std::invocable Work>
bool fenced(Work&& work) {
    try {
        std::invoke(std::forward<Work>(work));
        return true;
    } catch (const out_of_fuel&) {
        note_out_of_fuel();
        return false;
    }
}

/// All that is left, by reads of so many bytes, which must not be more than the size tells.
bytes read_all(core::input_stream& stream, std::size_t piece);

/// Numbers that the bytes of an input choose, from their front.
class choices {
public:
    explicit choices(std::span<const std::uint8_t> input) : m_rest(input) {}

    /// From 0 to `last`; 0 once the bytes are used up.
    std::uint64_t operator()(std::uint64_t last);

    /// One of the values.
    template <class Value, std::size_t Count>
    const Value& of(const Value (&values)[Count]) {
        return values[(*this)(Count - 1)];
    }

    std::span<const std::uint8_t> rest() const noexcept { return m_rest; }

private:
    std::span<const std::uint8_t> m_rest;
};

} // namespace fuzz
