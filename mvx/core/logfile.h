#pragma once

#include "core/platform.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <pthread.h>
#include <string>
#include <string_view>

namespace core::internals {

/// A failure of the log file itself.
class log_failure : public std::exception {
public:
    explicit log_failure(const char* literal) noexcept : m_text(literal) {}

    const char* what() const noexcept override { return m_text; }

private:
    const char* m_text;
};

/// The log on disk: continued across runs, turned over into one backup at the size limit. A line is
/// gathered in memory and goes out in one piece at its end.
class log_file {
public:
    /// Opens nothing yet; the folder must be there.
    explicit log_file(const std::wstring& log_path);

    /// Opens for appending. Throws log_failure.
    void open_stream();

    bool is_open() const noexcept { return m_file.is_open(); }

    /// Whether the file has reached its limit. A size that cannot be learned counts as 0.
    bool is_full() const noexcept;

    /// Turns the file over. Throws.
    void rotate();

    /// Drops what there is of a line that was not ended.
    void start_line() noexcept { m_line.clear(); }

    /// Adds to the line. Out of memory throws, and leaves the line as it was.
    void write(std::string_view bytes);

    /// Writes the line out. A write that fails, or comes short, is the last one: what is left of
    /// the line and all later lines are lost until the file is opened anew.
    void end_line() noexcept;

    void close() noexcept;

private:
    std::filesystem::path m_log_path; // made of bytes: no wide path reaches the library
    std::filesystem::path m_backup_path;
    file_descriptor m_file;
    bool m_failed = false; // open as it may be, the file takes nothing any more
    std::string m_line;    // keeps its room from line to line
};

/// What every thread of the process logs through.
class log_target {
public:
    explicit log_target(std::unique_ptr<log_file> opened);
    log_target(const log_target&) = delete;
    log_target& operator=(const log_target&) = delete;
    ~log_target();

    /// Locks, and says whether that worked: false once a failed rotation has ended the log. Throws
    /// std::system_error if the thread holds the lock already.
    bool lock() { return (!ended() && pthread_mutex_trylock(&m_mutex) == 0) || wait_for_lock(); }

    void unlock() noexcept { pthread_mutex_unlock(&m_mutex); }

    /// Ends the log for good. The mutex stays locked; who waits for it gives up.
    void end() noexcept { m_ended.store(true, std::memory_order_release); }

    bool ended() const noexcept { return m_ended.load(std::memory_order_acquire); }

    std::unique_ptr<log_file> file;
    std::atomic<std::int16_t> level{4};
    utc_stamp stamp; // under the lock
    log_target* next_retired = nullptr;

private:
    bool wait_for_lock();

    pthread_mutex_t m_mutex;
    std::atomic<bool> m_ended{false};
};

/// Makes the folder if need be, and a log file in it. Throws on any failure.
std::unique_ptr<log_target> make_log_target(const wchar_t* folder, const wchar_t* file_name);

} // namespace core::internals
