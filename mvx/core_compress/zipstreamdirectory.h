#pragma once

#include "core/directory.h"
#include "core_compress/ziparchivesupport.h"
#include "core_compress/zipmembertable.h"

#include <cstdint>
#include <memory>
#include <string>

namespace core {

namespace internals {
class _stream_zip_const_iterator_impl;
}

namespace zip {

/// A member of an archive. A copy keeps its owner, so an entry of a cloned directory refers to the
/// directory that listed it, which must outlive the entry.
class ZipFilePointer : public file_info {
public:
    explicit ZipFilePointer(const directory* archive) : file_info(archive) {}

    ZipFilePointer(const directory* archive, const listed_member& member, std::wstring path);
    ZipFilePointer(const ZipFilePointer&) = default;
    ~ZipFilePointer() override;

    // file_info
    std::wstring path() const override { return name; }

    std::uint64_t size() const override { return info.uncompressed_size(); }

    // An archive keeps one time, in the local time of whoever made it. 0 if it is no date.
    std::uint64_t creation_time() const override { return time(); }

    std::uint64_t modification_time() const override { return time(); }

    std::uint64_t access_time() const override { return time(); }

    std::wstring name;
    minizip::unz64_file_pos file_pos;
    minizip::unz_file_info64 info;

private:
    std::uint64_t time() const;
};

} // namespace zip

/// A zip archive in a stream, as a directory. Members are stored or deflated; names are exact, with
/// "/" between folders, which are themselves not listed.
///
/// The members are listed at construction. What cannot be listed is an empty or a shorter
/// directory, but for a name that says it is UTF-8 and is not: std::range_error "bad conversion".
/// Each opened member reads through a clone of the stream, so any number can be read at a time.
class CZipStreamDirectory : public directory {
public:
    explicit CZipStreamDirectory(input_stream_ptr archive_stream);
    /// Paths are looked up below the folders `base` and, in it, `sub`.
    CZipStreamDirectory(input_stream_ptr archive_stream, const std::wstring& base,
                        const std::wstring& sub);
    ~CZipStreamDirectory() override;

    using directory::exists;
    using directory::open;

    // directory
    directory_ptr clone() const override;
    bool exists(const std::wstring& path) const override;
    /// Empty also for a member that is encrypted, damaged or compressed by another method.
    input_stream_ptr open(const std::wstring& path) const override;
    file_info_ptr get_info(const std::wstring& path) const override;
    /// In the order of the names. Always recursive.
    const_iterator search(bool recursive) const override;
    bool operator==(const directory& other) const override;
    bool operator!=(const directory& other) const override;
    bool operator<(const directory& other) const override;

protected:
    CZipStreamDirectory(const CZipStreamDirectory&) = default;

    enum listing_status : std::uint16_t {
        status_listed = 0,
        status_not_an_archive = 2,
        status_broken_record = 3,
    };

    minizip::unz_zlib_filefunc64_def filefuncs;
    minizip::unz_ourstream_t stream_holder;
    minizip::archive_handle archive;
    std::wstring base_path;
    std::wstring sub_path;
    listing_status status = status_listed;
    std::shared_ptr<const zip::member_table> entries; // shared with clones
    const CZipStreamDirectory* lister = this;         // the owner of all entries, also a clone's

private:
    friend class internals::_stream_zip_const_iterator_impl;

    void list(zip::member_table& members);
    void list_members(zip::member_table& members, minizip::read_ahead& ahead);
    const zip::listed_member* find(const std::wstring& path) const;
    std::wstring make_path(const std::wstring& path) const;
};

} // namespace core
