#pragma once

#include "descriptor.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tool {

/// A file that is being written beside its final place. Unless it is published it goes away with
/// the object, and also if SIGINT, SIGTERM or SIGHUP ends the process. One at a time.
///
/// Operations throw std::system_error.
class temporary_file {
public:
    explicit temporary_file(const std::string& folder);
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;
    ~temporary_file();

    const std::string& path() const noexcept { return m_path; }

    int number() const noexcept { return m_descriptor.number(); }

    /// Brings the content to the disk and gives the file the target's name, in one step, with these
    /// access rights or those of any new file. Without `replace` a target that exists is an error.
    void publish(const std::string& target, bool replace, std::optional<mode_t> rights = {});

private:
    std::string m_path;
    descriptor m_descriptor;
};

/// Gives a file this text in one step. One that is there keeps its access rights and the symbolic
/// links that lead to it, and has to be writable. Throws failure, the call's.
void replace_text(const std::string& path, std::string_view text);

} // namespace tool
