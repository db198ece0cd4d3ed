#include "core_compress/zipstreamdirectory.h"

#include "core/logandrethrow.h"
#include "core_compress/inflaterinputstream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <tuple>
#include <unzip.h>
#include <utility>
#include <vector>

// minizip lists the members, and that is all it is asked for: a member is opened by stepping past
// its local header in a clone of the stream and cutting the view down to its data.

namespace core {

using zip::ZipFilePointer;

namespace {

constexpr std::size_t name_room = 4096;

constexpr std::uint64_t method_stored = 0;
constexpr std::uint64_t method_deflated = 8;

constexpr std::uint64_t access_point_span = 1048576;

// The fields in front of the lengths in a local header: signature, version, flags, method, time,
// date, check value, compressed size, uncompressed size.
constexpr std::array<std::uint64_t, 9> local_header_fields = {4, 2, 2, 2, 2, 2, 4, 4, 4};

/// Throws as a typed read does. It is none, since a buffered stream swaps the bytes of a value
/// across the end of its buffer.
std::uint16_t read_local_length(input_stream& stream) {
    return decode<std::uint16_t>(stream.read_bytes(sizeof(std::uint16_t)), encoding_little_endian);
}

/// Goes to the first byte of a member's data. The lengths in the central directory can differ from
/// those in the local header, which count here.
bool seek_to_data(input_stream& stream, const minizip::unz_file_info64& info) {
    if (!stream.set_pos(info.disk_offset())) return false;
    bool whole = true;
    const auto step_over = [&](std::uint64_t count) { whole &= stream.skip(count) == count; };
    for (const std::uint64_t width : local_header_fields)
        step_over(width);
    const std::uint16_t name_length = read_local_length(stream);
    const std::uint16_t extra_length = read_local_length(stream);
    step_over(name_length);
    step_over(extra_length);
    return whole;
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
auto content_key(const minizip::unz_file_info64& info) {
    return std::tuple(info.disk_offset(), info.compressed_size(), info.uncompressed_size(),
                      info.crc(), info.compression_method(), info.flag(), info.dos_date());
}

/// Order of two entries of a listing: by name, then by content.
template <class Entry>
bool precedes(const Entry& left, const Entry& right) {
    constexpr u16_less less;
    if (less(left.first, right.first)) return true;
    if (less(right.first, left.first)) return false;
    return content_key(left.second.info) < content_key(right.second.info);
}

} // namespace

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
        : owner(&archive), prefix(archive.make_path(L"")), position(archive.entries.end()) {
        for (auto entry = archive.entries.begin(); entry != archive.entries.end(); ++entry) {
            if (!entry->first.starts_with(prefix)) continue;
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
        while (position != owner->entries.end()) {
            ++index;
            ++position;
            if (position != owner->entries.end() && position->first.starts_with(prefix)) break;
        }
    }

    void decrement() override {
        if (index == 0) index = before_first;
        while (index != before_first) {
            --index;
            --position;
            if (position->first.starts_with(prefix)) break;
        }
    }

    file_info_ptr dereference() override {
        if (position == owner->entries.end()) {
            assertion("false");
            return nullptr;
        }
        auto entry = std::make_unique<make_smart_enabler<ZipFilePointer>>(position->second);
        entry->name = position->first.substr(prefix.size());
        return entry;
    }

private:
    /// One step back from the first entry: not live, and one step forward leads to it again.
    static constexpr std::uint64_t before_first = std::numeric_limits<std::uint64_t>::max();

    const CZipStreamDirectory* owner;
    std::wstring prefix;
    decltype(CZipStreamDirectory::entries)::const_iterator position;
};

} // namespace internals

CZipStreamDirectory::CZipStreamDirectory(input_stream_ptr archive_stream)
    : CZipStreamDirectory(std::move(archive_stream), {}, {}) {}

CZipStreamDirectory::CZipStreamDirectory(input_stream_ptr archive_stream, const std::wstring& base,
                                         const std::wstring& sub)
    : directory(std::move(archive_stream)), base_path(base), sub_path(sub) {
    list();
}

CZipStreamDirectory::~CZipStreamDirectory() = default;

directory_ptr CZipStreamDirectory::clone() const {
    return logged_clone([&]() -> directory_ptr {
        return std::make_unique<make_smart_enabler<CZipStreamDirectory>>(*this);
    });
}

void CZipStreamDirectory::list() {
    if (!source) {
        status = status_not_an_archive;
        return;
    }
    minizip::read_ahead ahead(*source);
    *stream_holder.get() = {source.get(), &ahead, false, 0};
    minizip::fill_ro_stream_filefunc64(*filefuncs.get(), *stream_holder.get());
    archive = minizip::open_archive(filefuncs);
    if (archive) {
        list_members(ahead);
    } else {
        status = status_not_an_archive;
    }
    stream_holder.get()->ahead = nullptr;
}

void CZipStreamDirectory::list_members(minizip::read_ahead& ahead) {
    // Where minizip goes for the first record tells how many bytes stand in front of the archive.
    stream_holder.get()->note_seek = true;
    if (unzGoToFirstFile(archive.get()) != UNZ_OK) return;
    minizip::unz64_file_pos first;
    unzGetFilePos64(archive.get(), first.get());
    const std::uint64_t prefix = stream_holder.get()->noted_seek - first.pos_in_zip_directory();
    do {
        if (!list_member(ahead, prefix)) {
            status = status_broken_record;
            return;
        }
    } while (unzGoToNextFile(archive.get()) == UNZ_OK);
}

bool CZipStreamDirectory::list_member(minizip::read_ahead& ahead, std::uint64_t prefix) {
    ZipFilePointer member(this);
    std::array<char, name_room> name{};
    const int info_result = unzGetCurrentFileInfo64(archive.get(), member.info.get(), name.data(),
                                                    name.size(), nullptr, 0, nullptr, 0);
    const int pos_result = unzGetFilePos64(archive.get(), member.file_pos.get());
    // The name is looked at before the results are: a bad one is reported all the same.
    member.name = decode_name(name, member.info);
    if (info_result != UNZ_OK || pos_result != UNZ_OK) return false;
    const std::uint64_t record_pos = member.file_pos.pos_in_zip_directory() + prefix;
    const bool complete =
        log_and_swallow_all([&] { return member.info.complete(ahead, record_pos, prefix); });
    if (!complete) return false;
    if (!member.name.ends_with(L'/')) add(member);
    return true;
}

void CZipStreamDirectory::add(const ZipFilePointer& member) {
    // The first of two members with one name stays.
    if (!entries.try_emplace(member.name, member).second) assertion("false");
}

const ZipFilePointer* CZipStreamDirectory::find(const std::wstring& path) const {
    const auto found = entries.find(make_path(path));
    return found == entries.end() ? nullptr : &found->second;
}

std::wstring CZipStreamDirectory::make_path(const std::wstring& path) const {
    std::wstring full;
    append_folder(full, base_path);
    append_folder(full, sub_path);
    return full + path;
}

bool CZipStreamDirectory::exists(const std::wstring& path) const { return find(path) != nullptr; }

file_info_ptr CZipStreamDirectory::get_info(const std::wstring& path) const {
    const ZipFilePointer* member = find(path);
    if (member == nullptr) return nullptr;
    auto entry = std::make_unique<make_smart_enabler<ZipFilePointer>>(*member);
    if (!path.empty()) entry->name = path;
    return entry;
}

input_stream_ptr CZipStreamDirectory::open(const std::wstring& path) const {
    const ZipFilePointer* member = find(path);
    if (member == nullptr) return nullptr;
    const minizip::unz_file_info64& info = member->info;
    if (info.encrypted()) {
        info_logger{} << "file encrypted: " << path;
        return nullptr;
    }
    const std::uint64_t method = info.compression_method();
    const bool supported = method == method_stored || method == method_deflated;
    input_stream_ptr data = supported && source ? source->clone() : nullptr;
    if (!data) { // the method is named for a failed clone too
        info_logger{} << "Unsupported compression method: " << method;
        assertion("false");
        return nullptr;
    }
    if (!seek_to_data(*data, info)) {
        error_logger{} << "Internal error.";
        assertion("false");
        return nullptr;
    }
    if (!data->mark_begin()) assertion("rc");
    if (!data->set_length(info.compressed_size())) assertion("rc");
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
    return std::equal(entries.begin(), entries.end(), archive_beside->entries.begin(),
                      archive_beside->entries.end(), [](const auto& left, const auto& right) {
                          return !precedes(left, right) && !precedes(right, left);
                      });
}

bool CZipStreamDirectory::operator!=(const directory& other) const {
    return !CZipStreamDirectory::operator==(other);
}

bool CZipStreamDirectory::operator<(const directory& other) const {
    const auto* archive_beside = dynamic_cast<const CZipStreamDirectory*>(&other);
    if (archive_beside == nullptr) return directory::operator<(other);
    return std::lexicographical_compare(
        entries.begin(), entries.end(), archive_beside->entries.begin(),
        archive_beside->entries.end(),
        [](const auto& left, const auto& right) { return precedes(left, right); });
}

} // namespace core
