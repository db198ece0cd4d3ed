#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// A folder of its own for a test, removed with all that is in it at the end of its life.
class temp_folder {
public:
    temp_folder();
    temp_folder(const temp_folder&) = delete;
    temp_folder& operator=(const temp_folder&) = delete;
    ~temp_folder();

    const std::string& path() const { return m_path; }

    std::wstring wide_path() const;

    /// Path of an entry, whether it is there or not.
    std::string file(std::string_view name) const { return m_path + "/" + std::string(name); }

    std::wstring wide_file(std::string_view name) const;

    /// Writes a file, replacing what is there, and returns its path.
    std::string write(std::string_view name, std::string_view content) const;
    std::string write(std::string_view name, std::span<const std::uint8_t> content) const;

private:
    std::string m_path;
};

/// The whole of a file; empty if it cannot be read.
std::string read_file(const std::string& path);

} // namespace support
