#include "faults/fault.h"

#include "morvantic/scriptsectionimpl.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace faults {

namespace {

thread_local std::ptrdiff_t live = 0;

} // namespace

std::ptrdiff_t live_allocations() { return live; }

/// Whether this very call is the one to fail; errno says how, and is `cut_short` for half a call.
bool fails(const char* function) {
    armed* const by = armed::current;
    if (by == nullptr || by->m_plan.function != function) return false;
    const plan& planned = by->m_plan;
    ++by->m_calls;
    if (planned.lasting ? !by->reached() : by->m_calls != planned.at) return false;
    if (planned.action) {
        const suspended pause;
        planned.action();
        return false;
    }
    errno = planned.error;
    return true;
}

namespace {

void* allocated(std::size_t size, std::ptrdiff_t weight) noexcept {
    void* const memory = fails("new") ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) live += weight;
    return memory;
}

void released(void* memory) noexcept {
    if (memory != nullptr) --live;
    std::free(memory);
}

/// The version of a function that would run without the program's own.
template <class Function>
Function* next_version(const char* name) {
    const suspended pause; // the loader allocates, and that is no concern of the engine
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

} // namespace faults

// The forms that the engine uses, but for arrays: the library's own of those come here.

void* operator new(std::size_t size) {
    if (void* const memory = faults::allocated(size, 1)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    // A section leaves its implementation, one object of this form.
    return faults::allocated(size, size == sizeof(engine::CScriptSectionImpl) ? 0 : 1);
}

void operator delete(void* memory) noexcept { faults::released(memory); }

void operator delete(void* memory, std::size_t) noexcept { faults::released(memory); }

void operator delete(void* memory, const std::nothrow_t&) noexcept { faults::released(memory); }

// What the engine, the standard library and libcrypto call of the system: the real function, or a
// failure as it would be. The program's own versions come before those of the C library.

#define REAL(name, ...) static const auto real = faults::next_version<__VA_ARGS__>(#name)

#define MAY_FAIL(result, failure, name, parameters, arguments)                                     \
    result name parameters {                                                                       \
        REAL(name, result parameters);                                                             \
        return faults::fails(#name) ? failure : real arguments;                                    \
    }

// Half of the work is done by half of the count.
#define MAY_BE_CUT_SHORT(name, parameters, arguments)                                              \
    ssize_t name parameters {                                                                      \
        REAL(name, ssize_t parameters);                                                            \
        if (!faults::fails(#name)) return real arguments;                                          \
        if (errno != faults::cut_short) return -1;                                                 \
        count = (count + 1) / 2;                                                                   \
        return real arguments;                                                                     \
    }

// The argument behind the others is as wide as any that there is.
#define MAY_FAIL_WITH_MORE(name, parameters, last, arguments)                                      \
    int name parameters {                                                                          \
        REAL(name, int parameters);                                                                \
        va_list rest;                                                                              \
        va_start(rest, last);                                                                      \
        void* const more = va_arg(rest, void*);                                                    \
        va_end(rest);                                                                              \
        return faults::fails(#name) ? -1 : real arguments;                                         \
    }

#pragma GCC visibility push(default) // for the libraries

extern "C" {

// clang-format off
MAY_FAIL_WITH_MORE(open, (const char* path, int flags, ...), flags, (path, flags, more))
MAY_FAIL_WITH_MORE(fcntl, (int number, int command, ...), command, (number, command, more))
MAY_FAIL(int, -1, fstat, (int number, struct stat* status) noexcept, (number, status))
MAY_FAIL(int, -1, stat, (const char* path, struct stat* status) noexcept, (path, status))
MAY_FAIL(int, -1, statx, (int at, const char* path, int flags, unsigned mask, struct statx* status)
         noexcept, (at, path, flags, mask, status))
MAY_BE_CUT_SHORT(pread, (int number, void* to, size_t count, off_t at), (number, to, count, at))
MAY_BE_CUT_SHORT(write, (int number, const void* from, size_t count), (number, from, count))
MAY_FAIL(int, -1, rename, (const char* from, const char* to) noexcept, (from, to))
MAY_FAIL(int, -1, remove, (const char* path) noexcept, (path))
MAY_FAIL(int, -1, mkdir, (const char* path, mode_t mode) noexcept, (path, mode))
MAY_FAIL(DIR*, nullptr, opendir, (const char* path), (path))
MAY_FAIL(dirent*, nullptr, readdir, (DIR* folder), (folder))
MAY_FAIL(FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))

// clang-format on

int close(int number) {
    REAL(close, int(int));
    const int result = real(number); // the descriptor is gone even if it fails
    return faults::fails("close") ? -1 : result;
}
}

#pragma GCC visibility pop
