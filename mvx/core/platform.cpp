#include "core/platform.h"

#include "core/handle.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace core {

namespace {

// A thread's number is asked once and kept; a fork makes the kept ones of the child invalid.
constinit std::atomic<unsigned> fork_generation{1};

struct kept_thread_id {
    unsigned generation = 0;
    std::uint32_t id = 0;
};

constinit thread_local kept_thread_id kept_id;

void watch_forks() noexcept {
    static const int registered = pthread_atfork(
        nullptr, nullptr, [] { fork_generation.fetch_add(1, std::memory_order_relaxed); });
    static_cast<void>(registered);
}

/// Opens by the process's own manners: nothing is inherited, becomes the terminal, or waits.
/// Without O_NONBLOCK a pipe without a peer would hold the caller for ever.
int open_descriptor(const std::string& path, int flags) noexcept {
    constexpr mode_t for_everyone = 0666; // less the process's mask
    int number = -1;
    do {
        number = ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, for_everyone);
    } while (number < 0 && errno == EINTR);
    return number;
}

void throw_on(int error) {
    if (error != 0) throw std::system_error(error, std::system_category());
}

} // namespace

std::uint32_t current_thread_id() noexcept {
    const unsigned generation = fork_generation.load(std::memory_order_relaxed);
    if (kept_id.generation == generation) return kept_id.id;
    watch_forks();
    kept_id = {generation, static_cast<std::uint32_t>(gettid())};
    return kept_id.id;
}

std::string_view utc_stamp::of(std::time_t second) noexcept {
    if (second != m_second || m_length == 0) {
        std::tm parts{};
        gmtime_r(&second, &parts);
        m_length = std::strftime(m_text.data(), m_text.size(), "%FT%TZ", &parts);
        if (m_length >= 19 && m_text[10] == 'T') m_text[10] = ' ';
        m_second = second;
    }
    return {m_text.data(), m_length};
}

std::uint64_t size_of(const std::string& path) noexcept {
    // The size alone: once a file's times were asked for, Linux gives its next write a finer stamp
    // of its own, which costs as much as the write.
    struct statx status {};

    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE | STATX_SIZE, &status) != 0) return 0;
    return S_ISREG(status.stx_mode) ? status.stx_size : 0;
}

std::optional<std::int64_t> seconds_of(const std::string& path, file_time which) noexcept {
    constexpr unsigned masks[] = {STATX_BTIME, STATX_MTIME, STATX_ATIME};

    struct statx status {};

    if (::statx(AT_FDCWD, path.c_str(), 0, masks[which], &status) != 0) return std::nullopt;
    if ((status.stx_mask & masks[which]) == 0) return std::nullopt;
    switch (which) {
    case file_time_creation:
        return status.stx_btime.tv_sec;
    case file_time_modification:
        return status.stx_mtime.tv_sec;
    case file_time_access:
        return status.stx_atime.tv_sec;
    }
    return std::nullopt;
}

// The directory iterator of the standard library ends the process when it runs out of memory.
std::vector<folder_entry> entries_of(const std::string& folder) {
    std::vector<folder_entry> entries;
    const handle<DIR, closedir> open(opendir(folder.c_str()));
    while (const dirent* entry = open ? readdir(open.get()) : nullptr) {
        const std::string_view name(entry->d_name);
        if (name == "." || name == "..") continue;
        bool is_folder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat status {};

            is_folder =
                fstatat(dirfd(open.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISDIR(status.st_mode);
        }
        entries.push_back({std::string(name), is_folder});
    }
    return entries;
}

void reader_writer_lock::lock() { throw_on(pthread_rwlock_wrlock(&m_lock)); }

void reader_writer_lock::unlock() noexcept { pthread_rwlock_unlock(&m_lock); }

void reader_writer_lock::lock_shared() { throw_on(pthread_rwlock_rdlock(&m_lock)); }

void reader_writer_lock::unlock_shared() noexcept { pthread_rwlock_unlock(&m_lock); }

file_descriptor::file_descriptor(file_descriptor&& other) noexcept
    : m_number(std::exchange(other.m_number, -1)) {}

file_descriptor& file_descriptor::operator=(file_descriptor&& other) noexcept {
    if (this != &other) {
        close();
        m_number = std::exchange(other.m_number, -1);
    }
    return *this;
}

int file_descriptor::open(const std::string& path) noexcept {
    close();
    m_number = open_descriptor(path, O_RDONLY);
    if (m_number < 0) return errno;

    struct stat status {};

    if (::fstat(m_number, &status) == 0 && S_ISDIR(status.st_mode)) {
        close();
        return EISDIR;
    }
    return 0;
}

int file_descriptor::open_to_append(const std::string& path) noexcept {
    close();
    m_number = open_descriptor(path, O_WRONLY | O_APPEND | O_CREAT);
    return is_open() ? 0 : errno;
}

file_descriptor file_descriptor::duplicate(int& error) const noexcept {
    file_descriptor second;
    second.m_number = ::fcntl(m_number, F_DUPFD_CLOEXEC, 0);
    error = second.is_open() ? 0 : errno;
    return second;
}

bool file_descriptor::close() noexcept {
    return !is_open() || ::close(std::exchange(m_number, -1)) == 0;
}

file_descriptor::outcome file_descriptor::size() const noexcept {
    struct stat status {};

    if (::fstat(m_number, &status) != 0) return {0, errno};
    if (!S_ISREG(status.st_mode)) return {0, 0};
    return {static_cast<std::uint64_t>(status.st_size), 0};
}

file_descriptor::outcome file_descriptor::read_at(void* buffer, std::uint64_t count,
                                                  std::uint64_t position) const noexcept {
    constexpr std::uint64_t kernel_limit = 0x7FFFF000; // the most that one call transfers
    const auto wanted = static_cast<std::size_t>(std::min(count, kernel_limit));
    ssize_t got = 0;
    do {
        got = ::pread(m_number, buffer, wanted, static_cast<off_t>(position));
    } while (got < 0 && errno == EINTR);
    if (got < 0) return {0, errno};
    return {static_cast<std::uint64_t>(got), 0};
}

bool file_descriptor::write(std::string_view bytes) const noexcept {
    ssize_t put = 0;
    do {
        put = ::write(m_number, bytes.data(), bytes.size());
    } while (put < 0 && errno == EINTR);
    return put >= 0 && static_cast<std::size_t>(put) == bytes.size();
}

} // namespace core
