#pragma once

#include "core/sourceplace.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

/// Hosts catch core::exception by its type, so its run-time type information crosses the boundary.
#define CORE_VISIBLE __attribute__((visibility("default")))

namespace core {

/// The engine's own failure: one message, which it owns. Copies share the text and never throw.
class CORE_VISIBLE exception : public std::exception {
public:
    exception() noexcept = default;
    explicit exception(const char* message);
    explicit exception(const std::string& message);
    exception(const exception&) noexcept = default;
    exception& operator=(const exception&) noexcept = default;
    ~exception() override;

    /// The message, or "Unknown exception" if there is none. Lives as long as any copy.
    const char* what() const noexcept override;

private:
    std::shared_ptr<const std::string> m_message;
};

/// Severities, lower is graver. A line passes while its level is not above the log's threshold.
enum log_level : std::int16_t {
    level_fatal = 1,
    level_error = 2,
    level_warning = 3,
    level_info = 4,
    level_debug = 5,
};

namespace internals {

class log_file;
class log_target;

/// The open log, or null. A plain pointer in static storage: a host's own static constructor may
/// call in, and since nothing is destroyed at process end, whoever logs last still finds the log.
extern constinit std::atomic<log_target*> current_target;

/// One line of the log. Construction locks the log and writes the prefix, the operators append,
/// destruction ends the line and unlocks. Without an open log all of it does nothing. An operator
/// that runs out of memory throws and adds nothing; the line ends with what it has.
///
/// A logger is one statement, `error_logger{} << text;`: the log's mutex is held all along and is
/// not recursive, so no operand may log, assert, or call what might.
class logger_interface {
public:
    logger_interface(std::int16_t line_level, const wchar_t* file, int line) : level(line_level) {
        log_target* target = current_target.load(std::memory_order_acquire);
        if (target != nullptr) m_line = open_line(*target, level, file, line);
    }

    logger_interface(std::int16_t line_level, source_place place) : level(line_level) {
        log_target* target = current_target.load(std::memory_order_acquire);
        if (target != nullptr) m_line = open_line(*target, level, place);
    }

    logger_interface(const logger_interface&) = delete;
    logger_interface& operator=(const logger_interface&) = delete;

    virtual ~logger_interface() {
        if (m_line.target != nullptr) close_line(m_line);
    }

    /// Narrow text goes to the file byte by byte, wide text as UTF-8; a null pointer writes
    /// nothing.
    logger_interface& operator<<(const std::string& text) { return put<std::string_view>(text); }

    logger_interface& operator<<(const std::wstring& text) { return put<std::wstring_view>(text); }

    logger_interface& operator<<(const char* text) { return put(text); }

    logger_interface& operator<<(const wchar_t* text) { return put(text); }

    /// A character, never a number.
    logger_interface& operator<<(char value) { return put(value); }

    logger_interface& operator<<(signed char value) { return put(static_cast<char>(value)); }

    logger_interface& operator<<(unsigned char value) { return put(static_cast<char>(value)); }

    /// Plain decimal.
    logger_interface& operator<<(short value) { return put<long long>(value); }

    logger_interface& operator<<(unsigned short value) { return put<long long>(value); }

    logger_interface& operator<<(int value) { return put<long long>(value); }

    logger_interface& operator<<(unsigned int value) { return put<long long>(value); }

    logger_interface& operator<<(long value) { return put<long long>(value); }

    logger_interface& operator<<(unsigned long value) { return put<unsigned long long>(value); }

    logger_interface& operator<<(long long value) { return put(value); }

    logger_interface& operator<<(unsigned long long value) { return put(value); }

    /// As "%f" prints in the classic locale: fixed, six digits after the point.
    logger_interface& operator<<(float value) { return put<double>(value); }

    logger_interface& operator<<(double value) { return put(value); }

private:
    /// The log that the line has locked, which one opened since is not, and its file if the line
    /// passes.
    struct held_line {
        log_target* target = nullptr;
        log_file* file = nullptr;
    };

    // None of these takes the logger itself: so without an open log the compiler can drop all of
    // it but the test.

    /// Locks the log. For a line that passes, runs the rotation check and writes the prefix.
    static held_line open_line(log_target& target, std::int16_t level, source_place place);
    static held_line open_line(log_target& target, std::int16_t level, const wchar_t* file,
                               int line);
    static void close_line(held_line line) noexcept;

    static void write(log_file& file, std::string_view text);
    static void write(log_file& file, std::wstring_view text);
    static void write(log_file& file, const char* text);
    static void write(log_file& file, const wchar_t* text);
    static void write(log_file& file, char value);
    static void write(log_file& file, long long value);
    static void write(log_file& file, unsigned long long value);
    static void write(log_file& file, double value);

    /// Makes the value's text only for a line that passes.
    template <class Value>
    logger_interface& put(const Value& value) {
        if (m_line.file != nullptr) write(*m_line.file, value);
        return *this;
    }

    std::int16_t level;
    held_line m_line;
};

} // namespace internals

class fatal_logger : public internals::logger_interface {
public:
    fatal_logger(const wchar_t* file, int line) : logger_interface(level_fatal, file, line) {}

    explicit fatal_logger(source_place place = source_place::here())
        : logger_interface(level_fatal, place) {}
};

class error_logger : public internals::logger_interface {
public:
    error_logger(const wchar_t* file, int line) : logger_interface(level_error, file, line) {}

    explicit error_logger(source_place place = source_place::here())
        : logger_interface(level_error, place) {}
};

class warning_logger : public internals::logger_interface {
public:
    warning_logger(const wchar_t* file, int line) : logger_interface(level_warning, file, line) {}

    explicit warning_logger(source_place place = source_place::here())
        : logger_interface(level_warning, place) {}
};

class info_logger : public internals::logger_interface {
public:
    info_logger(const wchar_t* file, int line) : logger_interface(level_info, file, line) {}

    explicit info_logger(source_place place = source_place::here())
        : logger_interface(level_info, place) {}
};

class debug_logger : public internals::logger_interface {
public:
    debug_logger(const wchar_t* file, int line) : logger_interface(level_debug, file, line) {}

    explicit debug_logger(source_place place = source_place::here())
        : logger_interface(level_debug, place) {}
};

/// Opens the process-wide log at level Info. Does nothing if it is open; failure leaves it closed
/// and is not reported. Not to be run beside close_log or any logging.
void open_log(const wchar_t* folder, const wchar_t* file_name) noexcept;

/// Flushes and closes the log. Not to be run beside open_log or any logging.
void close_log() noexcept;

/// The threshold, or 0 with no log open. Reads without the lock.
std::int16_t current_log_level() noexcept;

/// Sets the threshold; any number will do. With `announce`, first writes one Info line that names
/// it, which shows whatever the threshold was. A failed rotation throws out of the announcement.
void set_log_level(std::int16_t level, bool announce);

/// Writes "[ASSERT] " and the condition at level Debug and returns; what the failed condition means
/// is up to the caller, on the next line. The line shows this module, never the caller's place.
void assertion(const char* condition);
void assertion(const char* condition, const std::string& file, int line);

/// Logs the exception in flight at level Error as "[EXC] " and its text. Call in a handler only.
void log_current_exception(source_place place);

} // namespace core
