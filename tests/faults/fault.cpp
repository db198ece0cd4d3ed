#include "faults/fault.h"

#include "morvantic/scriptsectionimpl.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>

namespace faults {

namespace {

thread_local armed* current = nullptr;
thread_local std::ptrdiff_t live = 0;

} // namespace

armed::armed(const plan& planned) : m_plan(planned) { current = this; }

armed::~armed() { current = nullptr; }

suspended::suspended() noexcept : m_before(current) { current = nullptr; }

suspended::~suspended() { current = m_before; }

bool fails(const char* function) {
    armed* const by = current;
    if (by == nullptr || by->m_plan.function != function) return false;
    const plan& planned = by->m_plan;
    ++by->m_calls;
    const bool comes = by->m_calls == planned.at || (planned.lasting && by->reached());
    if (comes && planned.action) {
        const suspended pause;
        planned.action();
        return false;
    }
    if (comes) errno = planned.error;
    return comes;
}

footprint held() {
    constexpr int most = 64;
    int descriptors = 0;
    for (int number = 0; number != most; ++number)
        descriptors += fcntl(number, F_GETFD) >= 0 ? 1 : 0;
    return {live, descriptors};
}

namespace {

/// A section leaves its implementation, one object of the form that does not throw.
std::ptrdiff_t weight_of(std::size_t size) {
    return size == sizeof(engine::CScriptSectionImpl) ? 0 : 1;
}

void* allocated(std::size_t size, std::size_t alignment, std::ptrdiff_t weight) noexcept {
    if (fails("new")) return nullptr;
    void* memory = nullptr;
    if (posix_memalign(&memory, alignment, size == 0 ? 1 : size) != 0) return nullptr;
    live += weight;
    return memory;
}

void* allocated_or_throw(std::size_t size, std::size_t alignment) {
    void* const memory = allocated(size, alignment, 1);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void released(void* memory) noexcept {
    if (memory != nullptr) --live;
    std::free(memory);
}

constexpr std::size_t usual = alignof(std::max_align_t);

} // namespace

} // namespace faults

// All forms, since a sanitizer has its own of those that are left out.

void* operator new(std::size_t size) { return faults::allocated_or_throw(size, faults::usual); }

void* operator new[](std::size_t size) { return faults::allocated_or_throw(size, faults::usual); }

void* operator new(std::size_t size, std::align_val_t alignment) {
    return faults::allocated_or_throw(size,
                                      std::max(static_cast<std::size_t>(alignment), faults::usual));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return faults::allocated(size, faults::usual, faults::weight_of(size));
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return faults::allocated(size, faults::usual, 1);
}

void operator delete(void* memory) noexcept { faults::released(memory); }

void operator delete[](void* memory) noexcept { faults::released(memory); }

void operator delete(void* memory, std::size_t /*size*/) noexcept { faults::released(memory); }

void operator delete[](void* memory, std::size_t /*size*/) noexcept { faults::released(memory); }

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    faults::released(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    faults::released(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    faults::released(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    faults::released(memory);
}
