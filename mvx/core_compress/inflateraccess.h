#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace core::internals_zlib {

/// A place at which the inflation of a deflate stream can restart.
struct access_point {
    std::uint64_t out = 0;            // offset in the inflated content
    std::uint64_t in = 0;             // first byte of the compressed source not consumed here
    std::int32_t bits = 0;            // bits of the byte before `in` that are still to come
    std::vector<std::uint8_t> window; // the output before `out`; empty where there is none
};

/// The access points of one deflate stream, in ascending order of `out`. Clones of a stream share
/// it: once complete it does not change.
class CAccess {
public:
    bool empty() const noexcept { return points.empty(); }

    void clear() noexcept { points.clear(); }

    /// The point at the very start of a stream, with no history.
    void add_start();

    /// A point whose history is in `ring`, the buffer that inflation fills over and over: its last
    /// `left` bytes, written in the round before, are older than the rest.
    void add(std::uint64_t out, std::uint64_t in, std::int32_t bits,
             std::span<const std::uint8_t> ring, std::size_t left);

    /// The last point that does not lie behind `target`, or else the first. There must be one.
    const access_point& nearest(std::uint64_t target) const;

private:
    std::vector<access_point> points;
};

} // namespace core::internals_zlib
