#pragma once

#include <cstdint>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tool {

using file_status = struct stat;

/// Owns a descriptor.
class descriptor {
public:
    descriptor() noexcept = default;

    explicit descriptor(int number) noexcept : m_number(number) {}

    descriptor(descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}

    descriptor& operator=(descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }

    ~descriptor() {
        if (m_number >= 0) ::close(m_number);
    }

    int number() const noexcept { return m_number; }

    bool is_open() const noexcept { return m_number >= 0; }

private:
    int m_number = -1;
};

/// Writes all of the bytes, however long that takes. Throws std::system_error.
void write_all(int number, std::span<const std::uint8_t> bytes);

/// Reads up to the size of the buffer; 0 is the end. Throws std::system_error.
std::size_t read_some(int number, std::span<std::uint8_t> buffer);

// The same at a position of a file.
void write_all_at(int number, std::span<const std::uint8_t> bytes, off_t position);
std::size_t read_some_at(int number, std::span<std::uint8_t> buffer, off_t position);

} // namespace tool
