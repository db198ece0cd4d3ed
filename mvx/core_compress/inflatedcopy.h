#pragma once

#include "core/handle.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace core::internals_zlib {

/// The inflated content of a stream, kept while it is not larger than a few megabytes. Of larger
/// content no more is kept than the history that deflate may refer to.
class inflated_copy {
public:
    static constexpr std::uint64_t largest_kept = 4194304; // bytes of content
    static constexpr std::size_t history_size = 32768;     // bytes

    /// Room for what follows the first `filled` bytes of the content. Ends what was given before.
    std::span<std::uint8_t> room_behind(std::uint64_t filled);

    /// Part of the content: any of what is kept, and else of the history.
    std::span<const std::uint8_t> part(std::uint64_t offset, std::size_t count) const noexcept {
        return {bytes.get() + (offset - dropped), count};
    }

    void clear() noexcept { *this = inflated_copy(); }

    bool empty() const noexcept { return bytes == nullptr; }

private:
    void resize(std::size_t size);

    // Grown in place where the C library can, and never filled for nothing.
    handle<std::uint8_t, std::free> bytes;
    std::size_t capacity = 0;
    std::uint64_t dropped = 0; // bytes of content that stood in front
};

} // namespace core::internals_zlib
