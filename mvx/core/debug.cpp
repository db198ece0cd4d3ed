#include "core/debug.h"

#include "core/logfile.h"
#include "core/platform.h"
#include "core/text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <ctime>
#include <utility>

namespace core {

namespace {

using internals::current_target;
using internals::log_file;
using internals::log_target;

// Targets whose mutex is locked for good and cannot be destroyed.
constinit log_target* retired_targets = nullptr;

constexpr std::array<std::string_view, 6> level_words = {"",          "FATAL    ", "ERROR    ",
                                                         "Warning  ", "Info     ", "Debug    "};

bool passes(std::int16_t level, const log_target& target) noexcept {
    return level >= level_fatal && level <= level_debug &&
           level <= target.level.load(std::memory_order_relaxed) && target.file->is_open();
}

/// From "mvx\" on, or the whole path if there is no such folder in it.
std::string_view from_marker(std::string_view path) {
    const std::size_t marker = path.find("\\mvx\\");
    return marker == std::string_view::npos ? path : path.substr(marker + 1);
}

/// A path as the compiler recorded it, in the form in which the log names modules.
std::string module_path(const char* file) {
    std::string path = file == nullptr ? "" : file;
    if (path.empty()) return path;
    std::replace(path.begin(), path.end(), '/', '\\');
    if (path.front() != '\\') path.insert(path.begin(), '\\');
    const std::size_t dot = path.rfind('.');
    if (dot != std::string::npos && dot > path.rfind('\\')) path.resize(dot);
    return path;
}

/// Four hexadecimal digits if the number fits in 16 bits, else eight.
std::string thread_tag() {
    std::uint32_t id = current_thread_id();
    std::string tag(id <= 0xFFFF ? "(0x0000) " : "(0x00000000) ");
    for (auto digit = tag.rbegin() + 2; id != 0; ++digit, id >>= 4)
        *digit = "0123456789abcdef"[id & 0xF];
    return tag;
}

template <class Integer>
std::string decimal(Integer value) {
    std::array<char, 24> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

/// What "%f" gives, but free of the host's locale.
std::string fixed_point(double value) {
    std::array<char, 400> text{}; // the longest double has 309 digits before the point
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6)
            .ptr;
    return {text.data(), end};
}

void write_place(log_file& file, std::string_view path, int line) {
    if (path.empty()) return;
    file.write(from_marker(path));
    file.write("(");
    file.write(decimal(line));
    file.write("): ");
}

/// For a line that passes: runs the rotation check and writes the prefix. `path` makes the path of
/// the line's place, and may run out of memory. Gives the file.
template <class Path>
log_file* begin_line(log_target& target, std::int16_t level, Path&& path, int line) {
    log_file& file = *target.file;
    // No lock guard: a rotation that fails leaves the mutex locked, and with it the log ended.
    try {
        if (file.is_full()) file.rotate();
    } catch (...) {
        target.end();
        throw;
    }
    try {
        file.start_line();
        file.write(target.stamp.of(std::time(nullptr)));
        file.write("  ");
        file.write(thread_tag());
        file.write(level_words[static_cast<std::size_t>(level)]);
        write_place(file, path(), line);
    } catch (...) { // out of memory: the line is lost, the log is not
        target.unlock();
        throw;
    }
    return &file;
}

void store_level(std::int16_t level) {
    log_target* target = current_target.load(std::memory_order_acquire);
    if (target == nullptr || !target->lock()) return;
    target->level.store(level, std::memory_order_relaxed);
    target->unlock();
}

} // namespace

exception::exception(const char* message)
    : m_message(message == nullptr ? nullptr : std::make_shared<const std::string>(message)) {}

exception::exception(const std::string& message)
    : m_message(std::make_shared<const std::string>(message)) {}

exception::~exception() = default;

const char* exception::what() const noexcept {
    return m_message ? m_message->c_str() : "Unknown exception";
}

namespace internals {

constinit std::atomic<log_target*> current_target{nullptr};

logger_interface::held_line logger_interface::open_line(log_target& target, std::int16_t level,
                                                        const wchar_t* file, int line) {
    if (!target.lock()) return {};
    if (!passes(level, target)) return {&target, nullptr};
    const auto path = [&] { return file == nullptr ? std::string() : encode_lossy(file); };
    return {&target, begin_line(target, level, path, line)};
}

logger_interface::held_line logger_interface::open_line(log_target& target, std::int16_t level,
                                                        source_place place) {
    if (!target.lock()) return {};
    if (!passes(level, target)) return {&target, nullptr};
    const auto path = [&] { return module_path(place.file()); };
    return {&target, begin_line(target, level, path, place.line())};
}

void logger_interface::close_line(held_line line) noexcept {
    if (line.file != nullptr) line.file->end_line();
    line.target->unlock();
}

void logger_interface::write(log_file& file, std::string_view text) { file.write(text); }

void logger_interface::write(log_file& file, std::wstring_view text) {
    file.write(encode_lossy(text));
}

void logger_interface::write(log_file& file, const char* text) {
    if (text != nullptr) file.write(text);
}

void logger_interface::write(log_file& file, const wchar_t* text) {
    if (text != nullptr) file.write(encode_lossy(text));
}

void logger_interface::write(log_file& file, char value) { file.write({&value, 1}); }

void logger_interface::write(log_file& file, long long value) { file.write(decimal(value)); }

void logger_interface::write(log_file& file, unsigned long long value) {
    file.write(decimal(value));
}

void logger_interface::write(log_file& file, double value) { file.write(fixed_point(value)); }

} // namespace internals

void open_log(const wchar_t* folder, const wchar_t* file_name) noexcept {
    if (current_target.load(std::memory_order_acquire) != nullptr) return;
    try {
        current_target.store(internals::make_log_target(folder, file_name).release(),
                             std::memory_order_release);
    } catch (...) { // a host without a log goes on without one
    }
}

void close_log() noexcept {
    log_target* target = current_target.exchange(nullptr, std::memory_order_acq_rel);
    if (target == nullptr) return;
    target->file->close();
    if (!target->ended()) {
        delete target;
        return;
    }
    target->file.reset();
    target->next_retired = std::exchange(retired_targets, target);
}

std::int16_t current_log_level() noexcept {
    const log_target* target = current_target.load(std::memory_order_acquire);
    return target == nullptr ? std::int16_t{0} : target->level.load(std::memory_order_relaxed);
}

void set_log_level(std::int16_t level, bool announce) {
    if (announce) {
        store_level(level_info);
        info_logger{} << "Log level changed to: " << level;
    }
    store_level(level);
}

void assertion(const char* condition) { debug_logger{} << "[ASSERT] " << condition; }

void assertion(const char* condition, const std::string& /*file*/, int /*line*/) {
    assertion(condition);
}

void log_current_exception(source_place place) {
    try {
        throw;
    } catch (const std::exception& failure) {
        const char* text = failure.what();
        error_logger{place} << "[EXC] " << text;
    } catch (...) {
        error_logger{place} << "[EXC] "
                            << "Unknown Exception.";
    }
}

} // namespace core
