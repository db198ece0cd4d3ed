#include "input_file.h"

#include "failure.h"

#include "core/text.h"
#include "core/winapifileinputstream.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <vector>

namespace tool {

namespace {

[[noreturn]] void fail_reading(const std::string& name, const std::string& reason) {
    fail_call(name + " cannot be read: " + reason + ".");
}

/// Standard input can be read for one file alone.
const std::string& checked_package(const std::string& package, const std::string& key) {
    if (package == "-" && key == "-") {
        fail_call("Package and key cannot both be standard input. Give a path for one of them.");
    }
    return package;
}

} // namespace

memory_file::memory_file()
    : m_descriptor(memfd_create("morvantic", MFD_CLOEXEC)),
      m_path("/proc/self/fd/" + std::to_string(m_descriptor.number())) {
    if (!m_descriptor.is_open()) fail_call("There is no memory file: " + error_text(errno) + ".");
    if (access(m_path.c_str(), R_OK) != 0) fail_call("/proc is needed, but it is not mounted.");
}

void memory_file::append(std::span<const std::uint8_t> bytes) {
    write_all(m_descriptor.number(), bytes);
}

input_file::input_file(const std::string& argument)
    : m_name(argument == "-" ? "standard input" : argument) {
    descriptor file(argument == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                    : ::open(argument.c_str(), O_RDONLY | O_CLOEXEC));
    file_status status{};
    if (!file.is_open() || fstat(file.number(), &status) != 0) {
        fail_reading(m_name, error_text(errno));
    }
    if (S_ISDIR(status.st_mode)) fail_reading(m_name, error_text(EISDIR));
    if (argument != "-" && S_ISREG(status.st_mode)) {
        m_path = argument;
        return;
    }
    m_copy.emplace();
    try {
        std::vector<std::uint8_t> buffer(65536);
        while (const std::size_t count = read_some(file.number(), buffer)) {
            m_copy->append({buffer.data(), count});
        }
    } catch (const std::system_error& error) {
        fail_reading(m_name, error.code().message());
    }
    m_path = m_copy->path();
}

std::wstring input_file::wide_path() const { return core::decode_path(m_path); }

core::input_stream_ptr input_file::open() const {
    return std::make_unique<core::CWApiFileInputStream>(wide_path());
}

std::string input_file::text() const {
    const core::input_stream_ptr stream = open();
    return stream->read_string(stream->size());
}

package_and_key::package_and_key(const std::string& package_argument,
                                 const std::string& key_argument)
    : package(checked_package(package_argument, key_argument)), key(key_argument) {}

} // namespace tool
