#include "temporary_file.h"

#include "failure.h"
#include "signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace tool {

namespace {

using signal_action = struct sigaction;

/// The path for the signal handler, empty if there is nothing to remove. Written with the signals
/// blocked.
constinit std::array<char, PATH_MAX> path_to_remove{};

void remove_and_end(int signal) {
    if (path_to_remove[0] != '\0') unlink(path_to_remove.data());
    raise(signal); // with the default effect, once the handler is left
}

/// A signal that the caller of the process had ignored stays ignored.
void install_handlers() {
    for (const int signal : ending_signals) {
        signal_action action{};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN) continue;
        action.sa_handler = remove_and_end;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

[[noreturn]] void throw_error(int number) {
    throw std::system_error(number, std::generic_category());
}

mode_t rights_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
}

/// 0 or an error number.
int rename_file(const std::string& from, const std::string& to, bool replace) {
    if (replace) return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL) return errno;
    // A file system that cannot tell: look first.
    if (access(to.c_str(), F_OK) == 0) return EEXIST;
    return rename_file(from, to, true);
}

} // namespace

temporary_file::temporary_file(const std::string& folder) : m_path(folder + "/.morvantic-XXXXXX") {
    if (m_path.size() >= path_to_remove.size()) throw_error(ENAMETOOLONG);
    install_handlers();
    const signals_blocked blocked;
    m_descriptor = descriptor(mkostemp(m_path.data(), O_CLOEXEC));
    if (!m_descriptor.is_open()) throw_error(errno);
    std::copy(m_path.begin(), m_path.end(), path_to_remove.begin());
    path_to_remove[m_path.size()] = '\0';
}

temporary_file::~temporary_file() {
    const signals_blocked blocked;
    if (path_to_remove[0] != '\0') unlink(m_path.c_str());
    path_to_remove[0] = '\0';
}

void temporary_file::publish(const std::string& target, bool replace,
                             std::optional<mode_t> rights) {
    if (fchmod(number(), rights.value_or(rights_of_new_files())) != 0) throw_error(errno);
    if (fsync(number()) != 0) throw_error(errno);
    const signals_blocked blocked;
    const int error = rename_file(m_path, target, replace);
    if (error != 0) throw_error(error);
    path_to_remove[0] = '\0';
}

void replace_text(const std::string& path, std::string_view text) {
    try {
        const std::string target =
            std::filesystem::weakly_canonical(std::filesystem::absolute(path)).string();
        file_status status{};
        const bool is_there = stat(target.c_str(), &status) == 0;
        if (is_there && access(target.c_str(), W_OK) != 0) throw_error(errno);
        temporary_file file(target.substr(0, target.rfind('/')));
        write_all(file.number(), {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        file.publish(target, is_there,
                     is_there ? std::optional(status.st_mode & 07777U) : std::nullopt);
    } catch (const std::system_error& error) {
        fail_call(path + " cannot be written: " + error.code().message() + ".");
    }
}

} // namespace tool
