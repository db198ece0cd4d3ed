#include "core_compress/zipstreamdirectory.h"

#include "core/logandrethrow.h"
#include "core/text.h"
#include "core_compress/inflaterinputstream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <unzip.h>
#include <utility>

// minizip lists the members, and that is all it is asked for: a member is opened by stepping past
// its local header in a clone of the stream and cutting the view down to its data.

namespace core {

using zip::listed_member;
using zip::member_table;
using zip::ZipFilePointer;

namespace {

constexpr std::size_t name_room = 4096;

constexpr std::uint64_t method_stored = 0;
constexpr std::uint64_t method_deflated = 8;

constexpr std::uint64_t access_point_span = 1048576;

// A local header begins with fields of fixed width, of which the lengths of name and extra fields,
// two bytes each, are the last.
constexpr std::size_t local_header_size = 30;
constexpr std::size_t local_lengths = 26;

/// Goes to the first byte of a member's data. The lengths in the central directory can differ from
/// those in the local header, which count here. Throws if that header breaks off.
bool seek_to_data(input_stream& stream, std::uint64_t local_header) {
    if (!stream.set_pos(local_header)) return false;
    std::array<std::uint8_t, local_header_size> header;
    std::size_t got = 0;
    while (const std::uint64_t more = stream.read_impl(header.data() + got, header.size() - got))
        got += more;
    const std::span<const std::uint8_t> whole(header.data(), got);
    const auto lengths =
        decode<std::uint32_t>(whole.subspan(std::min(local_lengths, got)), encoding_little_endian);
    const std::uint64_t rest = (lengths & 0xFFFF) + (lengths >> 16);
    return stream.skip(rest) == rest;
}

/// A member's name out of minizip's buffer, which it ends with a zero only where there is room.
std::wstring decode_name(const std::array<char, name_room>& buffer,
                         const minizip::unz_file_info64& info) {
    const std::size_t room = std::min<std::uint64_t>(info.size_filename(), buffer.size());
    const std::string_view name(buffer.data(), strnlen(buffer.data(), room));
    return info.utf8_name() ? decode_utf8(name) : widen_bytes(name);
}

void append_folder(std::wstring& path, const std::wstring& folder) {
    path += folder;
    if (!folder.empty() && folder.back() != L'/') path += L'/';
}

/// What the archive says about a member's content, for comparison.
auto content_key(const minizip::internals::member_record& record) {
    return std::tuple(record.disk_offset, record.compressed_size, record.uncompressed_size,
                      record.crc, record.compression_method, record.flag, record.dosDate);
}

/// Order of two entries of a listing: by name, then by content.
bool precedes(const listed_member& left, const listed_member& right) {
    constexpr u16_less less;
    if (less(left.name, right.name)) return true;
    if (less(right.name, left.name)) return false;
    return content_key(*left.record) < content_key(*right.record);
}

/// Reads the records of an archive that minizip has open, one after the other.
class record_reader {
public:
    /// `prefix` is the count of bytes in front of the archive.
    record_reader(unzFile archive, minizip::read_ahead& ahead, std::uint64_t prefix)
        : m_archive(archive), m_ahead(ahead), m_prefix(prefix) {}

    /// Adds the current member to the table; folders are no members. False if its record cannot be
    /// read. Throws what decode_utf8 throws.
    bool add_current(member_table& members) {
        *m_info.get() = {};
        m_name.fill(0);
        const int info_result = unzGetCurrentFileInfo64(m_archive, m_info.get(), m_name.data(),
                                                        m_name.size(), nullptr, 0, nullptr, 0);
        const int pos_result = unzGetFilePos64(m_archive, m_file_pos.get());
        // The name is looked at before the results are: a bad one is reported all the same.
        const std::wstring name = decode_name(m_name, m_info);
        if (info_result != UNZ_OK || pos_result != UNZ_OK) return false;
        const std::uint64_t record_pos = m_file_pos.pos_in_zip_directory() + m_prefix;
        const bool complete =
            log_and_swallow_all([&] { return m_info.complete(m_ahead, record_pos, m_prefix); });
        if (!complete) return false;
        if (!name.ends_with(L'/')) members.add(name, m_info, m_file_pos);
        return true;
    }

private:
    unzFile m_archive;
    minizip::read_ahead& m_ahead;
    std::uint64_t m_prefix;
    minizip::unz_file_info64 m_info;
    minizip::unz64_file_pos m_file_pos;
    std::array<char, name_room> m_name;
};

} // namespace

zip::ZipFilePointer::ZipFilePointer(const directory* archive, const listed_member& member,
                                    std::wstring path)
    : file_info(archive), name(std::move(path)) {
    *file_pos.get() = *member.file_pos;
    *info.get() = *member.record;
}

zip::ZipFilePointer::~ZipFilePointer() = default;

std::uint64_t zip::ZipFilePointer::time() const {
    const std::uint32_t dos_date = info.dos_date();
    std::optional<std::tm> fields = minizip::dosdate_to_tm(dos_date);
    if (!fields) {
        warning_logger{} << "Invalid dos date: " << dos_date;
        return 0;
    }
    return static_cast<std::uint64_t>(std::mktime(&*fields));
}

namespace internals {

/// Walks the members whose names begin with the directory's own path.
class _stream_zip_const_iterator_impl : public _const_iterator_impl {
public:
    explicit _stream_zip_const_iterator_impl(const CZipStreamDirectory& archive)
        : owner(&archive), prefix(archive.make_path(L"")), position(archive.entries->end()) {
        for (auto entry = archive.entries->begin(); entry != archive.entries->end(); ++entry) {
            if (!entry->name.starts_with(prefix)) continue;
            if (count == 0) position = entry;
            ++count;
        }
    }

    // _const_iterator_impl
    void increment() override {
        if (index == before_first) {
            index = 0;
            return;
        }
        while (position != owner->entries->end()) {
            ++index;
            ++position;
            if (position != owner->entries->end() && position->name.starts_with(prefix)) break;
        }
    }

    void decrement() override {
        if (index == 0) index = before_first;
        while (index != before_first) {
            --index;
            --position;
            if (position->name.starts_with(prefix)) break;
        }
    }

    file_info_ptr dereference() override {
        if (position == owner->entries->end()) {
            assertion("false");
            return nullptr;
        }
        return std::make_unique<make_smart_enabler<ZipFilePointer>>(
            owner->lister, *position, std::wstring(position->name.substr(prefix.size())));
    }

private:
    /// One step back from the first entry: not live, and one step forward leads to it again.
    static constexpr std::uint64_t before_first = std::numeric_limits<std::uint64_t>::max();

    const CZipStreamDirectory* owner;
    std::wstring prefix;
    member_table::const_iterator position;
};

} // namespace internals

CZipStreamDirectory::CZipStreamDirectory(input_stream_ptr archive_stream)
    : CZipStreamDirectory(std::move(archive_stream), {}, {}) {}

CZipStreamDirectory::CZipStreamDirectory(input_stream_ptr archive_stream, const std::wstring& base,
                                         const std::wstring& sub)
    : directory(std::move(archive_stream)), base_path(base), sub_path(sub) {
    const auto members = std::make_shared<member_table>();
    const auto settle = [&] {
        for (std::size_t doubles = members->settle(); doubles != 0; --doubles)
            assertion("false");
        entries = members;
    };
    try {
        list(*members);
    } catch (...) { // what was listed is reported on all the same
        settle();
        throw;
    }
    settle();
}

CZipStreamDirectory::~CZipStreamDirectory() = default;

directory_ptr CZipStreamDirectory::clone() const {
    return logged_clone([&]() -> directory_ptr {
        return std::make_unique<make_smart_enabler<CZipStreamDirectory>>(*this);
    });
}

void CZipStreamDirectory::list(member_table& members) {
    if (!source) {
        status = status_not_an_archive;
        return;
    }
    minizip::read_ahead ahead(*source);
    *stream_holder.get() = {source.get(), &ahead, false, 0};
    minizip::fill_ro_stream_filefunc64(*filefuncs.get(), *stream_holder.get());
    archive = minizip::open_archive(filefuncs);
    if (archive) {
        list_members(members, ahead);
    } else {
        status = status_not_an_archive;
    }
    stream_holder.get()->ahead = nullptr;
}

void CZipStreamDirectory::list_members(member_table& members, minizip::read_ahead& ahead) {
    // Where minizip goes for the first record tells how many bytes stand in front of the archive.
    stream_holder.get()->note_seek = true;
    if (unzGoToFirstFile(archive.get()) != UNZ_OK) return;
    minizip::unz64_file_pos first;
    unzGetFilePos64(archive.get(), first.get());
    const std::uint64_t prefix = stream_holder.get()->noted_seek - first.pos_in_zip_directory();
    record_reader records(archive.get(), ahead, prefix);
    do {
        if (!records.add_current(members)) {
            status = status_broken_record;
            return;
        }
    } while (unzGoToNextFile(archive.get()) == UNZ_OK);
}

const listed_member* CZipStreamDirectory::find(const std::wstring& path) const {
    return entries->find(make_path(path));
}

std::wstring CZipStreamDirectory::make_path(const std::wstring& path) const {
    std::wstring full;
    append_folder(full, base_path);
    append_folder(full, sub_path);
    return full + path;
}

bool CZipStreamDirectory::exists(const std::wstring& path) const { return find(path) != nullptr; }

file_info_ptr CZipStreamDirectory::get_info(const std::wstring& path) const {
    const listed_member* member = find(path);
    if (member == nullptr) return nullptr;
    return std::make_unique<make_smart_enabler<ZipFilePointer>>(
        lister, *member, path.empty() ? std::wstring(member->name) : path);
}

input_stream_ptr CZipStreamDirectory::open(const std::wstring& path) const {
    const listed_member* member = find(path);
    if (member == nullptr) return nullptr;
    const minizip::internals::member_record& record = *member->record;
    if (record.encrypted()) {
        info_logger{} << "file encrypted: " << path;
        return nullptr;
    }
    const auto method = std::uint64_t{record.compression_method};
    const bool supported = method == method_stored || method == method_deflated;
    input_stream_ptr data = supported && source ? source->clone() : nullptr;
    if (!data) { // the method is named for a failed clone too
        info_logger{} << "Unsupported compression method: " << method;
        assertion("false");
        return nullptr;
    }
    if (!seek_to_data(*data, record.disk_offset)) {
        error_logger{} << "Internal error.";
        assertion("false");
        return nullptr;
    }
    if (!data->mark_begin()) assertion("rc");
    if (!data->set_length(record.compressed_size)) assertion("rc");
    if (method == method_stored) return data;
    return InflaterInputStream::create(std::move(data), InflaterInputStream::raw_window_bits,
                                       access_point_span);
}

const_iterator CZipStreamDirectory::search(bool recursive) const {
    if (!recursive) assertion("!\"Only recursive search is currently implemented!\"");
    return const_iterator(std::make_unique<internals::_stream_zip_const_iterator_impl>(*this));
}

bool CZipStreamDirectory::operator==(const directory& other) const {
    const auto* archive_beside = dynamic_cast<const CZipStreamDirectory*>(&other);
    if (archive_beside == nullptr) return directory::operator==(other);
    return std::equal(entries->begin(), entries->end(), archive_beside->entries->begin(),
                      archive_beside->entries->end(), [](const auto& left, const auto& right) {
                          return !precedes(left, right) && !precedes(right, left);
                      });
}

bool CZipStreamDirectory::operator!=(const directory& other) const {
    return !CZipStreamDirectory::operator==(other);
}

bool CZipStreamDirectory::operator<(const directory& other) const {
    const auto* archive_beside = dynamic_cast<const CZipStreamDirectory*>(&other);
    if (archive_beside == nullptr) return directory::operator<(other);
    return std::lexicographical_compare(entries->begin(), entries->end(),
                                        archive_beside->entries->begin(),
                                        archive_beside->entries->end(), precedes);
}

} // namespace core
