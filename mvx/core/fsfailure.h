#pragma once

#include <filesystem>
#include <system_error>

namespace core {

/// A failed call of the file system, with our own words in place of the library's.
class fs_failure : public std::filesystem::filesystem_error {
public:
    fs_failure(const char* words, std::error_code code)
        : std::filesystem::filesystem_error(words, code), m_words(words) {}

    const char* what() const noexcept override { return m_words; }

private:
    const char* m_words; // a literal
};

} // namespace core
