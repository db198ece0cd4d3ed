#include "core_compress/inflatedcopy.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace core::internals_zlib {

namespace {

constexpr std::size_t first_capacity = 65536;

// Room behind the largest content, to see that it ends, or behind the history of larger one.
constexpr std::size_t spare_room = 131072;

} // namespace

std::span<std::uint8_t> inflated_copy::room_behind(std::uint64_t filled) {
    std::size_t held = static_cast<std::size_t>(filled - dropped);
    if (filled > largest_kept) {
        std::memmove(bytes.get(), bytes.get() + held - history_size, history_size);
        held = history_size;
        dropped = filled - held;
        if (capacity > history_size + spare_room) resize(history_size + spare_room);
    } else if (held == capacity) {
        const std::size_t doubled = std::max(2 * capacity, first_capacity);
        resize(std::min<std::size_t>(doubled, largest_kept + spare_room));
    }
    return {bytes.get() + held, capacity - held};
}

void inflated_copy::resize(std::size_t size) {
    void* moved = std::realloc(bytes.get(), size);
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes.release());
    bytes.reset(static_cast<std::uint8_t*>(moved));
    capacity = size;
}

} // namespace core::internals_zlib
