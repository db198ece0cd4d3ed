// What the engine, the standard library and libcrypto call of the system. The program's own
// versions come before those of the C library.

#include "faults/fault.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using faults::cut_short;
using faults::fails;

/// The version that would run without this one.
template <class Function>
Function* next_version(const char* name) {
    const faults::suspended pause; // the loader allocates, and that is no concern of the engine
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Runs the real function, or fails as it would.
template <class Result, class Function, class... Args>
Result call(const char* name, Result failure, Function* real, Args... args) {
    return fails(name) ? failure : real(args...);
}

} // namespace

#pragma GCC visibility push(default) // for the libraries

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto real = next_version<int(const char*, int, ...)>("open");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return call("open", -1, real, path, flags, mode);
}

int fcntl(int number, int command, ...) {
    static const auto real = next_version<int(int, int, ...)>("fcntl");
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*); // as wide as any that there is
    va_end(rest);
    return call("fcntl", -1, real, number, command, argument);
}

int close(int number) {
    static const auto real = next_version<int(int)>("close");
    const bool failed = fails("close"); // the descriptor is gone even then
    const int error = errno;
    const int result = real(number);
    if (!failed) return result;
    errno = error;
    return -1;
}

int fstat(int number, struct stat* status) noexcept {
    static const auto real = next_version<int(int, struct stat*)>("fstat");
    return call("fstat", -1, real, number, status);
}

int stat(const char* path, struct stat* status) noexcept {
    static const auto real = next_version<int(const char*, struct stat*)>("stat");
    return call("stat", -1, real, path, status);
}

int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept {
    static const auto real =
        next_version<int(int, const char*, int, unsigned, struct statx*)>("statx");
    return call("statx", -1, real, folder, path, flags, mask, status);
}

ssize_t pread(int number, void* buffer, size_t count, off_t position) {
    static const auto real = next_version<ssize_t(int, void*, size_t, off_t)>("pread");
    if (!fails("pread")) return real(number, buffer, count, position);
    return errno == cut_short ? real(number, buffer, (count + 1) / 2, position) : -1;
}

ssize_t write(int number, const void* bytes, size_t count) {
    static const auto real = next_version<ssize_t(int, const void*, size_t)>("write");
    if (!fails("write")) return real(number, bytes, count);
    return errno == cut_short ? real(number, bytes, count / 2) : -1;
}

int rename(const char* from, const char* to) noexcept {
    static const auto real = next_version<int(const char*, const char*)>("rename");
    return call("rename", -1, real, from, to);
}

int remove(const char* path) noexcept {
    static const auto real = next_version<int(const char*)>("remove");
    return call("remove", -1, real, path);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto real = next_version<int(const char*, mode_t)>("mkdir");
    return call("mkdir", -1, real, path, mode);
}

DIR* opendir(const char* path) {
    static const auto real = next_version<DIR*(const char*)>("opendir");
    return call("opendir", static_cast<DIR*>(nullptr), real, path);
}

dirent* readdir(DIR* folder) {
    static const auto real = next_version<dirent*(DIR*)>("readdir");
    return call("readdir", static_cast<dirent*>(nullptr), real, folder);
}

FILE* fopen64(const char* path, const char* mode) { // by libcrypto
    static const auto real = next_version<FILE*(const char*, const char*)>("fopen64");
    return call("fopen64", static_cast<FILE*>(nullptr), real, path, mode);
}

char* fgets(char* line, int size, FILE* file) {
    static const auto real = next_version<char*(char*, int, FILE*)>("fgets");
    return call("fgets", static_cast<char*>(nullptr), real, line, size, file);
}
}

#pragma GCC visibility pop
