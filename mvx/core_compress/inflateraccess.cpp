#include "core_compress/inflateraccess.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace core::internals_zlib {

void CAccess::add_start() { points.emplace_back(); }

void CAccess::add(std::uint64_t out, std::uint64_t in, std::int32_t bits,
                  std::span<const std::uint8_t> ring, std::size_t left) {
    access_point point{out, in, bits, std::vector<std::uint8_t>(ring.size())};
    // Where the buffer is exactly full the history stays all zeros.
    if (left != 0) {
        const auto older = ring.last(left);
        const auto newer = ring.first(ring.size() - left);
        // In the first round nothing older has been written yet.
        if (out >= ring.size()) std::copy(older.begin(), older.end(), point.window.begin());
        std::copy(newer.rbegin(), newer.rend(), point.window.rbegin());
    }
    points.push_back(std::move(point));
}

const access_point& CAccess::nearest(std::uint64_t target) const {
    const auto behind = std::upper_bound(
        points.begin(), points.end(), target,
        [](std::uint64_t offset, const access_point& point) { return offset < point.out; });
    return behind == points.begin() ? points.front() : *std::prev(behind);
}

} // namespace core::internals_zlib
