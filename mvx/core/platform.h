#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
#include <pthread.h>
#include <string>
#include <string_view>
#include <vector>

namespace core {

/// Number of the calling thread, as the kernel counts threads. Right after a fork too.
std::uint32_t current_thread_id() noexcept;

/// A time as UTC text, "2026-11-12 08:15:30Z". Keeps the text of one second, for the many times
/// that it is asked for again.
class utc_stamp {
public:
    /// Lives until the next call.
    std::string_view of(std::time_t second) noexcept;

private:
    std::time_t m_second = 0;
    std::size_t m_length = 0; // 0 before the first call
    std::array<char, 50> m_text{};
};

/// Length of the regular file at this path, links followed. 0 for anything else, and for nothing.
std::uint64_t size_of(const std::string& path) noexcept;

enum file_time : std::uint8_t {
    file_time_creation,
    file_time_modification,
    file_time_access,
};

/// One of a file's times in whole seconds since 1970-01-01 UTC, rounded down. Follows links. Empty
/// if there is no such file, or no such time on its file system.
std::optional<std::int64_t> seconds_of(const std::string& path, file_time which) noexcept;

struct folder_entry {
    std::string name;
    bool is_folder; // and no link to one
};

/// All entries of a folder as far as it can be read, but for itself and its parent; so that no
/// descriptor stays open for it. Throws std::bad_alloc.
std::vector<folder_entry> entries_of(const std::string& folder);

/// Many readers or one writer. A waiting writer goes before new readers, so a thread must not take
/// it shared twice. Works with std::shared_lock and std::unique_lock; constant-initialised.
class reader_writer_lock {
public:
    constexpr reader_writer_lock() noexcept = default;
    reader_writer_lock(const reader_writer_lock&) = delete;
    reader_writer_lock& operator=(const reader_writer_lock&) = delete;

    void lock();
    void unlock() noexcept;
    void lock_shared();
    void unlock_shared() noexcept;

private:
    pthread_rwlock_t m_lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
};

/// Owns a descriptor. All calls restart when a signal interrupts them.
class file_descriptor {
public:
    file_descriptor() noexcept = default;
    file_descriptor(file_descriptor&& other) noexcept;
    file_descriptor& operator=(file_descriptor&& other) noexcept;

    ~file_descriptor() { close(); }

    /// What a call gave: its value, or the error number where `error` is not 0.
    struct outcome {
        std::uint64_t value;
        int error;
    };

    /// Opens for reading, with no waiting for a peer. Folders are refused. 0 or an error number.
    int open(const std::string& path) noexcept;

    /// Opens for appending, the file made if need be, with no waiting for a peer. 0 or an error
    /// number.
    int open_to_append(const std::string& path) noexcept;

    /// A second descriptor of the same open file. Not open if it cannot be had; `error` says why.
    file_descriptor duplicate(int& error) const noexcept;

    bool is_open() const noexcept { return m_number >= 0; }

    /// Whether the system closed it without an error; it is closed in any case.
    bool close() noexcept;

    /// Length of a regular file; 0 for anything else.
    outcome size() const noexcept;

    /// One read at `position` that leaves no trace in the open file.
    outcome read_at(void* buffer, std::uint64_t count, std::uint64_t position) const noexcept;

    /// Whether one write took all the bytes. Some may be out even if not.
    bool write(std::string_view bytes) const noexcept;

private:
    int m_number = -1;
};

} // namespace core
