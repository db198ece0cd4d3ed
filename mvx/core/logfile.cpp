#include "core/logfile.h"

#include "core/fsfailure.h"
#include "core/text.h"

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

// The file is bytes on a descriptor. A wide stream stops for ever at the first character that its
// locale cannot narrow; wide text is encoded before it gets here.

namespace core::internals {

namespace {

constexpr std::uint64_t size_limit = 10'485'760; // bytes; a log of this size turns over
constexpr long wait_slice_ns = 50'000'000;       // how often a waiting thread looks for the end
constexpr std::size_t room_kept = 64 * 1024;     // for the next line, after a longer one

std::string encoded(const std::wstring& path) {
    std::optional<std::string> bytes = encode_path(path);
    if (!bytes) throw log_failure("Unable to open log file.");
    return *std::move(bytes);
}

/// Whether the folder is there, made if need be.
bool folder_ready(const std::string& folder) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(folder, error);
    if (std::filesystem::exists(status)) return true;

    error.clear();
    const bool made = std::filesystem::create_directories(folder, error);
    if (error) throw fs_failure("create_directories(p): invalid argument", error);
    return made;
}

timespec soon() {
    timespec when{};
    clock_gettime(CLOCK_REALTIME, &when);
    when.tv_nsec += wait_slice_ns;
    if (when.tv_nsec >= 1'000'000'000) {
        when.tv_nsec -= 1'000'000'000;
        ++when.tv_sec;
    }
    return when;
}

} // namespace

log_file::log_file(const std::wstring& log_path)
    : m_log_path(encoded(log_path)), m_backup_path(m_log_path.native() + ".bak") {}

void log_file::open_stream() {
    if (m_file.is_open()) return;
    if (m_file.open_to_append(m_log_path.native()) != 0) {
        throw log_failure("Failed to open log file.");
    }
    m_failed = false;
}

bool log_file::is_full() const noexcept { return size_of(m_log_path.native()) >= size_limit; }

void log_file::write(std::string_view bytes) {
    m_line.reserve(m_line.size() + bytes.size() + 1); // the end of the line must not fail
    m_line += bytes;
}

void log_file::end_line() noexcept {
    m_line += '\n';
    if (!m_failed) m_failed = !m_file.write(m_line);
    if (m_line.capacity() > room_kept) m_line = std::string();
}

void log_file::close() noexcept {
    if (!m_file.close()) m_failed = true;
}

void log_file::rotate() {
    close();

    std::error_code error;
    if (std::filesystem::exists(std::filesystem::status(m_backup_path, error))) {
        error.clear();
        const bool removed = std::filesystem::remove(m_backup_path, error);
        if (error) throw fs_failure("remove(p): invalid argument", error);
        if (!removed) throw log_failure("Failed to delete bak log file.");
    }

    error.clear();
    std::filesystem::rename(m_log_path, m_backup_path, error);
    if (error) throw fs_failure("rename(p1, p2): invalid arguments", error);
    open_stream();
}

log_target::log_target(std::unique_ptr<log_file> opened) : file(std::move(opened)) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    // A thread that builds a second logger gets an exception, not a hang.
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

log_target::~log_target() { pthread_mutex_destroy(&m_mutex); }

bool log_target::wait_for_lock() {
    int result = EBUSY;
    while (!ended()) {
        result = pthread_mutex_trylock(&m_mutex);
        if (result == EBUSY) {
            const timespec when = soon();
            result = pthread_mutex_timedlock(&m_mutex, &when);
        }
        if (result == 0) return true;
        if (result != ETIMEDOUT) throw std::system_error(result, std::system_category());
    }
    return false;
}

std::unique_ptr<log_target> make_log_target(const wchar_t* folder, const wchar_t* file_name) {
    const std::wstring folder_path(folder);
    const std::wstring name(file_name);
    if (!folder_ready(encoded(folder_path))) throw log_failure("Unable to open log file.");

    auto file = std::make_unique<log_file>(
        join_path(folder_path, name.empty() ? L"_log.txt" : std::wstring_view(name)));
    auto target = std::make_unique<log_target>(std::move(file));
    target->file->open_stream();
    return target;
}

} // namespace core::internals
