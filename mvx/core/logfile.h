#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <ext/stdio_filebuf.h>
#include <filesystem>
#include <memory>
#include <ostream>
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

/// The log on disk: continued across runs, turned over into one backup at the size limit.
class log_file {
public:
    /// Opens nothing yet; the folder must be there.
    explicit log_file(const std::wstring& log_path);

    /// Opens for appending. Throws log_failure.
    void open_stream();

    bool is_open() const { return m_file.is_open(); }

    /// Whether the file has reached its limit. A size that cannot be learned counts as 0.
    bool is_full() const noexcept;

    /// Turns the file over. Throws.
    void rotate();

    void write(std::string_view bytes);
    void end_line();
    void close();

private:
    std::filesystem::path m_log_path; // made of bytes: no wide path reaches the library
    std::filesystem::path m_backup_path;
    __gnu_cxx::stdio_filebuf<char> m_file; // over a descriptor that a child does not inherit
    std::ostream m_stream{&m_file};
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
    bool lock();
    void unlock() noexcept;

    /// Ends the log for good. The mutex stays locked; who waits for it gives up.
    void end() noexcept { m_ended.store(true, std::memory_order_release); }

    bool ended() const noexcept { return m_ended.load(std::memory_order_acquire); }

    std::unique_ptr<log_file> file;
    std::atomic<std::int16_t> level{4};
    log_target* next_retired = nullptr;

private:
    pthread_mutex_t m_mutex;
    std::atomic<bool> m_ended{false};
};

/// Makes the folder if need be, and a log file in it. Throws on any failure.
std::unique_ptr<log_target> make_log_target(const wchar_t* folder, const wchar_t* file_name);

} // namespace core::internals
