#include "descriptor.h"

#include <cerrno>
#include <poll.h>
#include <system_error>

namespace tool {

namespace {

/// After a call that failed: returns if it is to be made again.
void wait_or_throw(int number, short event) {
    if (errno == EINTR) return;
    if (errno != EAGAIN) throw std::system_error(errno, std::generic_category());
    pollfd ready{number, event, 0};
    poll(&ready, 1, -1);
}

} // namespace

void write_all(int number, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t done = ::write(number, bytes.data(), bytes.size());
        if (done < 0) {
            wait_or_throw(number, POLLOUT);
        } else {
            bytes = bytes.subspan(static_cast<std::size_t>(done));
        }
    }
}

std::size_t read_some(int number, std::span<std::uint8_t> buffer) {
    for (;;) {
        const ssize_t done = ::read(number, buffer.data(), buffer.size());
        if (done >= 0) return static_cast<std::size_t>(done);
        wait_or_throw(number, POLLIN);
    }
}

void write_all_at(int number, std::span<const std::uint8_t> bytes, off_t position) {
    while (!bytes.empty()) {
        const ssize_t done = ::pwrite(number, bytes.data(), bytes.size(), position);
        if (done < 0) {
            wait_or_throw(number, POLLOUT);
        } else {
            bytes = bytes.subspan(static_cast<std::size_t>(done));
            position += done;
        }
    }
}

std::size_t read_some_at(int number, std::span<std::uint8_t> buffer, off_t position) {
    for (;;) {
        const ssize_t done = ::pread(number, buffer.data(), buffer.size(), position);
        if (done >= 0) return static_cast<std::size_t>(done);
        wait_or_throw(number, POLLIN);
    }
}

} // namespace tool
