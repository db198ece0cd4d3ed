#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace tool {

/// Writes a zip archive. The same members in the same order give the same bytes: one date for all,
/// no extra fields, no owner, no access rights.
///
/// Operations throw std::system_error if the file cannot be written.
class archive_writer {
public:
    /// Writes to the file from `offset` on; positions in the archive count from there. The
    /// descriptor stays the caller's.
    archive_writer(int number, std::uint64_t offset, std::uint32_t dos_date);
    ~archive_writer();

    /// Adds a member under a UTF-8 name, deflated at zlib's `level` unless that saves nothing.
    void add(const std::string& name, std::span<const std::uint8_t> content, int level);

    /// Writes the central directory. To be called last.
    void finish();

private:
    struct sink;

    struct close_archive {
        void operator()(void* archive) const noexcept;
    };

    void require(bool done) const;
    void add_wide_counts();

    std::unique_ptr<sink> m_sink;
    std::unique_ptr<void, close_archive> m_archive;
    std::uint32_t m_dos_date;
    std::uint64_t m_members = 0;
};

} // namespace tool
