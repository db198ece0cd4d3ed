#include "core/recycling.h"

#include <new>
#include <sanitizer/asan_interface.h>
#include <utility>

namespace core {

thread_local recycling* recycling::current = nullptr;

recycling::recycling() noexcept {
    if (current == nullptr) current = this;
}

recycling::~recycling() {
    if (current != this) return;
    current = nullptr;
    for (const bin& kept : bins) {
        for (piece* first = kept.first; first != nullptr;) {
            ASAN_UNPOISON_MEMORY_REGION(first, sizeof(piece));
            ::operator delete(std::exchange(first, first->next));
        }
    }
}

recycling::bin* recycling::bin_of(std::size_t size) noexcept {
    if (current == nullptr || size > largest) return nullptr;
    return &current->bins[(size - 1) / size_step];
}

void* recycling::allocate(std::size_t size) {
    const std::size_t whole = (size + size_step - 1) / size_step * size_step;
    bin* const from = bin_of(size);
    if (from == nullptr || from->first == nullptr) return ::operator new(whole);
    --from->count;
    ASAN_UNPOISON_MEMORY_REGION(from->first, whole);
    return std::exchange(from->first, from->first->next);
}

void recycling::release(void* memory, std::size_t size) noexcept {
    bin* const to = memory != nullptr ? bin_of(size) : nullptr;
    if (to == nullptr || to->count == most_kept) return ::operator delete(memory);
    ++to->count;
    to->first = new (memory) piece{to->first};
    ASAN_POISON_MEMORY_REGION(memory, size);
}

} // namespace core
