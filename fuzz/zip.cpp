#include "fuzz/members.h"

#include "core_compress/zipstreamdirectory.h"

#include <stdexcept>

// A zip archive: its directory is listed in the end, whatever it holds, and each member opens or is
// refused.

void fuzz::take(std::span<const std::uint8_t> input) {
    const std::uint64_t enough = 2000 + 4 * input.size();
    const auto fuel = std::make_shared<std::uint64_t>(100 * enough);
    const std::uint64_t piece = 16 + input.size() % 1000;
    try {
        const core::CZipStreamDirectory archive(metered_bytes(input, piece, fuel));
        require(*fuel != 0, "a listing comes to its end");
        const core::directory_ptr copy = archive.clone();
        require(copy && *copy == archive, "a clone lists the same");
        read_members(archive, fuel, enough);
    } catch (const std::range_error&) { // a name that says it is UTF-8, and is not
    }
}
