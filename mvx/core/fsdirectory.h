#pragma once

#include "core/directory.h"

#include <string>

namespace core {

/// A folder of the file system. Nothing is kept: each question goes there when it is asked. Names
/// may be any that the system has, valid UTF-8 or not. Belongs to no thread; its iterators do.
class CFsDirectory : public directory {
public:
    /// The folder need not exist. A path that ends in a separator makes `search` cut a character
    /// too many off the names.
    explicit CFsDirectory(std::wstring path);
    ~CFsDirectory() override;

    // directory
    directory_ptr clone() const override;
    /// Files and folders alike, through links.
    bool exists(const std::wstring& path) const override;
    /// For a folder an empty stream, and a line in the log.
    input_stream_ptr open(const std::wstring& path) const override;
    file_info_ptr get_info(const std::wstring& path) const override;
    /// Files and folders in the order of the file system. What cannot be listed has no entries. A
    /// link to a folder is not entered. The iterator goes forward alone.
    const_iterator search(bool recursive) const override;
    /// The folder need not exist; empty for an empty path.
    directory_ptr subdirectory(const std::wstring& path) const override;
    bool operator==(const directory& other) const override;
    bool operator!=(const directory& other) const override;
    bool operator<(const directory& other) const override;

    // The forms for an entry, which the overrides would hide.
    using directory::exists;
    using directory::open;

protected:
    CFsDirectory(const CFsDirectory&) = default;

private:
    std::wstring full_path(const std::wstring& path) const;

    std::wstring root;
};

/// An entry of a folder, asked for at the moment of each question.
class CFsFileInfo : public file_info {
public:
    CFsFileInfo(const directory* entry_owner, std::wstring relative_path, std::wstring path);
    ~CFsFileInfo() override;

    // file_info
    std::wstring path() const override;
    /// Throws std::filesystem::filesystem_error for what is no file, or no longer there.
    std::uint64_t size() const override;
    // 0, with a line in the log, if there is no such time. A time before 1970 wraps round.
    std::uint64_t creation_time() const override;
    std::uint64_t modification_time() const override;
    std::uint64_t access_time() const override;

private:
    std::wstring name;
    std::wstring full_path;
};

} // namespace core
