#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

namespace core {

/// While one of these lives, its thread keeps the memory of small objects that go for the next that
/// come: a script is read into a great many that live for one statement. One inside another does
/// nothing. Each piece of memory is the heap's own, so an object may outlive all this, and may go
/// on another thread.
class recycling {
public:
    recycling() noexcept;
    recycling(const recycling&) = delete;
    recycling& operator=(const recycling&) = delete;

    /// Gives back what was kept.
    ~recycling();

    /// Throws std::bad_alloc.
    static void* allocate(std::size_t size);

    /// Takes what allocate gave for the same size.
    static void release(void* memory, std::size_t size) noexcept;

private:
    struct piece {
        piece* next;
    };

    struct bin {
        piece* first = nullptr;
        std::uint32_t count = 0;
    };

    static constexpr std::size_t size_step = 16;    // the sizes of a bin
    static constexpr std::size_t largest = 48;      // a text with its table pointer
    static constexpr std::uint32_t most_kept = 256; // in a bin

    static bin* bin_of(std::size_t size) noexcept;

    static thread_local recycling* current; // needs no destructor, which would keep the library

    std::array<bin, largest / size_step> bins;
};

/// Base of the objects whose memory is kept.
struct recycled {
    static void* operator new(std::size_t size) { return recycling::allocate(size); }

    static void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
        try {
            return recycling::allocate(size);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }

    static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }

    static void operator delete(void* memory, std::size_t size) noexcept {
        recycling::release(memory, size);
    }
};

} // namespace core
