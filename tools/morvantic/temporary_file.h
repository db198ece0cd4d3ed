#pragma once

#include "descriptor.h"

#include <string>

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

    /// Brings the content to the disk and gives the file the target's name, in one step, with the
    /// access rights of any new file. Without `replace` a target that exists is an error.
    void publish(const std::string& target, bool replace);

private:
    std::string m_path;
    descriptor m_descriptor;
};

} // namespace tool
