#include "core_compress/ziparchivesupport.h"

#include "core/inputstream.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

// A record of the central directory, as far as it is read here:
//
//     0  4  signature            28  2  length of the name
//    20  4  compressed size      30  2  length of the extra fields
//    24  4  uncompressed size    42  4  offset of the local header
//    46     name, extra fields, comment
//
// A value of four bytes that are all ones stands in the extra field with the id 1 instead, as eight
// bytes. That field holds only the values that are missing: uncompressed size, compressed size and
// offset, in this order.

namespace minizip {

namespace {

constexpr std::size_t record_size = 46;
constexpr std::uint32_t record_signature = 0x02014B50;
constexpr std::uint32_t stands_in_extra = 0xFFFFFFFF;
constexpr std::uint16_t zip64_id = 1;

using bytes_view = std::span<const std::uint8_t>;

template <class Value>
Value value_at(bytes_view bytes, std::size_t offset) {
    return core::decode<Value>(bytes.subspan(offset, sizeof(Value)), core::encoding_little_endian);
}

bool read_at(read_ahead& archive, std::uint64_t position, std::span<std::uint8_t> target) {
    return archive.set_pos(position) && archive.read(target.data(), target.size()) == target.size();
}

/// Content of the first extra field with the id; empty if there is none or it is cut short.
bytes_view find_extra(bytes_view extra, std::uint16_t id) {
    constexpr std::size_t head_size = 4;
    while (extra.size() >= head_size) {
        const std::size_t length = value_at<std::uint16_t>(extra, 2);
        if (extra.size() - head_size < length) break;
        if (value_at<std::uint16_t>(extra, 0) == id) return extra.subspan(head_size, length);
        extra = extra.subspan(head_size + length);
    }
    return {};
}

} // namespace

bool unz_file_info64::complete(read_ahead& archive, std::uint64_t record_pos,
                               std::uint64_t prefix) {
    std::array<std::uint8_t, record_size> record;
    if (!read_at(archive, record_pos, record)) return false;
    if (value_at<std::uint32_t>(record, 0) != record_signature) return false;

    const auto uncompressed = value_at<std::uint32_t>(record, 24);
    const auto compressed = value_at<std::uint32_t>(record, 20);
    const auto offset = value_at<std::uint32_t>(record, 42);
    get()->disk_offset = offset + prefix;
    if (uncompressed != stands_in_extra && compressed != stands_in_extra &&
        offset != stands_in_extra) {
        return true;
    }

    const auto name_length = value_at<std::uint16_t>(record, 28);
    std::vector<std::uint8_t> extra(value_at<std::uint16_t>(record, 30));
    if (!extra.empty() && !read_at(archive, record_pos + record_size + name_length, extra)) {
        return false;
    }
    bytes_view zip64 = find_extra(extra, zip64_id);
    const auto take_wide = [&](std::uint32_t narrow, auto& wide) {
        if (narrow != stands_in_extra || zip64.size() < sizeof(std::uint64_t)) return;
        wide = value_at<std::uint64_t>(zip64, 0);
        zip64 = zip64.subspan(sizeof(std::uint64_t));
    };
    std::uint64_t wide_offset = offset;
    take_wide(uncompressed, get()->uncompressed_size);
    take_wide(compressed, get()->compressed_size);
    take_wide(offset, wide_offset);
    get()->disk_offset = wide_offset + prefix;
    return true;
}

archive_handle open_archive(unz_zlib_filefunc64_def& functions) {
    // The path goes to a callback that does not look at it.
    const unzFile archive = unzOpen2_64("_unused_", functions.get());
    if (archive == nullptr) return nullptr;
    return {archive, [](unzFile open) { unzClose(open); }};
}

std::optional<std::tm> dosdate_to_tm(std::uint32_t dos_date) {
    const auto bits = [&](unsigned first, unsigned count) {
        return static_cast<int>((dos_date >> first) & ((1u << count) - 1));
    };
    std::tm fields{};
    fields.tm_sec = bits(0, 5) * 2;
    fields.tm_min = bits(5, 6);
    fields.tm_hour = bits(11, 5);
    fields.tm_mday = bits(16, 5);
    fields.tm_mon = bits(21, 4) - 1;
    fields.tm_year = bits(25, 7) + 80;
    fields.tm_isdst = -1;
    const bool valid = fields.tm_mon >= 0 && fields.tm_mon < 12 && fields.tm_mday != 0 &&
                       fields.tm_hour < 24 && fields.tm_min < 60 && fields.tm_sec < 60;
    return valid ? std::optional(fields) : std::nullopt;
}

} // namespace minizip
