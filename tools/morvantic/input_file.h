#pragma once

#include "descriptor.h"

#include "core/inputstream.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tool {

/// A file in memory that has a path as long as the object lives. It is never on a disk.
class memory_file {
public:
    memory_file();

    void append(std::span<const std::uint8_t> bytes);

    const std::string& path() const noexcept { return m_path; }

    int number() const noexcept { return m_descriptor.number(); }

private:
    descriptor m_descriptor;
    std::string m_path;
};

/// A file named on the command line, in a form that can be opened by its path time and again. "-"
/// means standard input; that, and whatever else can be read but once, is copied into memory.
class input_file {
public:
    /// Throws failure, the call's, if there is no such file or it cannot be read.
    explicit input_file(const std::string& argument);

    /// For messages.
    const std::string& name() const noexcept { return m_name; }

    const std::string& path() const noexcept { return m_path; }

    std::wstring wide_path() const;

    /// A stream from the file's beginning.
    core::input_stream_ptr open() const;

    /// The whole content.
    std::string text() const;

private:
    std::string m_name;
    std::string m_path;
    std::optional<memory_file> m_copy;
};

/// The two files that most commands work on. Throws failure if both are to be standard input.
struct package_and_key {
    package_and_key(const std::string& package_argument, const std::string& key_argument);

    input_file package;
    input_file key;
};

} // namespace tool
