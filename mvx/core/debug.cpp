#include "core/debug.h"

#include "core/logfile.h"
#include "core/platform.h"
#include "core/text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <utility>

namespace core {

namespace {

using internals::log_target;

// Static storage, so that a host's own static constructor may call in. A plain pointer, since
// nothing is destroyed at process end: whoever logs last still finds the log.
constinit std::atomic<log_target*> current_target{nullptr};

// Targets whose mutex is locked for good and cannot be destroyed.
constinit log_target* retired_targets = nullptr;

constexpr std::array<std::string_view, 6> level_words = {"",          "FATAL    ", "ERROR    ",
                                                         "Warning  ", "Info     ", "Debug    "};

log_target* usable_target() noexcept {
    log_target* target = current_target.load(std::memory_order_acquire);
    return target != nullptr && !target->ended() ? target : nullptr;
}

bool passes(std::int16_t level, const log_target& target) {
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
    std::array<char, 25> text{};
    const int length = std::snprintf(text.data(), text.size(), "(0x%08x) ",
                                     static_cast<unsigned>(current_thread_id()));
    std::string tag(text.data(), static_cast<std::size_t>(length));
    if (tag.starts_with("(0x0000")) tag.replace(0, 7, "(0x");
    return tag;
}

template <class Integer>
std::string decimal(Integer value) {
    std::array<char, 24> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

/// What "%f" gives, but free of the host's locale.
template <class Floating>
std::string fixed_point(Floating value) {
    std::array<char, 400> text{}; // the longest double has 309 digits before the point
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6)
            .ptr;
    return {text.data(), end};
}

void store_level(std::int16_t level) {
    log_target* target = usable_target();
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

logger_interface::logger_interface(std::int16_t line_level, const wchar_t* file, int line)
    : level(line_level), m_target(usable_target()) {
    open_line([&] { return file == nullptr ? std::string() : encode_lossy(file); }, line);
}

logger_interface::logger_interface(std::int16_t line_level, source_place place)
    : level(line_level), m_target(usable_target()) {
    open_line([&] { return module_path(place.file()); }, place.line());
}

logger_interface::~logger_interface() {
    if (m_target == nullptr) return;
    if (m_passes) m_target->file->end_line();
    m_target->unlock();
}

template <class Place>
void logger_interface::open_line(Place&& place, int line) {
    if (m_target == nullptr) return;
    if (!m_target->lock()) {
        m_target = nullptr;
        return;
    }
    if (!passes(level, *m_target)) return;

    // No lock guard: a rotation that fails leaves the mutex locked, and with it the log ended.
    try {
        if (m_target->file->is_full()) m_target->file->rotate();
    } catch (...) {
        m_target->end();
        throw;
    }
    try {
        write_prefix(place(), line);
    } catch (...) { // out of memory: the line is lost, the log is not
        m_target->unlock();
        throw;
    }
    m_passes = true;
}

void logger_interface::write_prefix(std::string_view place, int line) {
    std::string prefix = utc_stamp() + "  " + thread_tag();
    prefix += level_words[static_cast<std::size_t>(level)];
    if (!place.empty()) {
        prefix += from_marker(place);
        prefix += '(';
        prefix += decimal(line);
        prefix += "): ";
    }
    m_target->file->write(prefix);
}

logger_interface& logger_interface::write(std::string_view text) {
    if (m_passes) m_target->file->write(text);
    return *this;
}

/// Makes the text only for a line that passes.
template <class Make>
logger_interface& logger_interface::write_made(Make&& make) {
    if (m_passes) m_target->file->write(make());
    return *this;
}

logger_interface& logger_interface::operator<<(const std::string& text) { return write(text); }

logger_interface& logger_interface::operator<<(const std::wstring& text) {
    return write_made([&] { return encode_lossy(text); });
}

logger_interface& logger_interface::operator<<(const char* text) {
    return text == nullptr ? *this : write(text);
}

logger_interface& logger_interface::operator<<(const wchar_t* text) {
    return text == nullptr ? *this : write_made([&] { return encode_lossy(text); });
}

logger_interface& logger_interface::operator<<(char value) { return write({&value, 1}); }

logger_interface& logger_interface::operator<<(signed char value) {
    return *this << static_cast<char>(value);
}

logger_interface& logger_interface::operator<<(unsigned char value) {
    return *this << static_cast<char>(value);
}

logger_interface& logger_interface::operator<<(short value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(unsigned short value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(int value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(unsigned int value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(long value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(unsigned long value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(long long value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(unsigned long long value) {
    return write_made([&] { return decimal(value); });
}

logger_interface& logger_interface::operator<<(float value) {
    return write_made([&] { return fixed_point(value); });
}

logger_interface& logger_interface::operator<<(double value) {
    return write_made([&] { return fixed_point(value); });
}

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
