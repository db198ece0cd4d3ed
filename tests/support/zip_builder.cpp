#include "support/zip_builder.h"

#include <algorithm>
#include <limits>
#include <zlib.h>

namespace support {

namespace {

constexpr std::uint32_t stands_elsewhere = 0xFFFFFFFF;

void append(bytes& target, std::string_view text) {
    target.insert(target.end(), text.begin(), text.end());
}

void append(bytes& target, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i != width; ++i)
        target.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

/// A member's values as both of its headers tell them.
struct packed_member {
    explicit packed_member(const zip_member& member)
        : data(member.method == 8 ? deflated(member.content) : to_bytes(member.content)),
          crc(crc32(0, reinterpret_cast<const Bytef*>(member.content.data()),
                    static_cast<uInt>(member.content.size()))) {}

    bytes data;
    std::uint64_t crc;
    std::uint64_t offset = 0;
};

/// Version needed, flags, method, time, date and check value: the same in both headers.
void append_common(bytes& target, const zip_member& member, const packed_member& packed) {
    append(target, member.zip64 != zip64_none ? 45 : 20, 2);
    append(target, member.flags, 2);
    append(target, member.method, 2);
    append(target, member.dos_date, 4);
    append(target, packed.crc, 4);
}

void append_local_header(bytes& target, const zip_member& member, const packed_member& packed) {
    append(target, 0x04034B50, 4);
    append_common(target, member, packed);
    append(target, packed.data.size(), 4);
    append(target, member.content.size(), 4);
    append(target, member.name.size(), 2);
    append(target, member.local_extra.size(), 2);
    append(target, member.name);
    append(target, member.local_extra);
}

void append_central_record(bytes& target, const zip_member& member, const packed_member& packed) {
    bytes wide;
    const auto narrow = [&](unsigned which, std::uint64_t value) {
        if ((member.zip64 & which) == 0) return value;
        append(wide, value, 8);
        return std::uint64_t{stands_elsewhere};
    };
    const std::uint64_t uncompressed = narrow(zip64_uncompressed, member.content.size());
    const std::uint64_t compressed = narrow(zip64_compressed, packed.data.size());
    const std::uint64_t offset = narrow(zip64_offset, packed.offset);
    bytes extra = to_bytes(member.central_extra);
    if (!wide.empty()) {
        append(extra, 1, 2);
        append(extra, wide.size(), 2);
        extra.insert(extra.end(), wide.begin(), wide.end());
    }
    append(target, 0x02014B50, 4);
    append(target, 45, 2);
    append_common(target, member, packed);
    append(target, compressed, 4);
    append(target, uncompressed, 4);
    append(target, member.name.size(), 2);
    append(target, extra.size(), 2);
    append(target, member.comment.size(), 2);
    append(target, 0, 8); // disk, attributes
    append(target, offset, 4);
    append(target, member.name);
    target.insert(target.end(), extra.begin(), extra.end());
    append(target, member.comment);
}

void append_zip64_end(bytes& target, std::size_t count, std::size_t start, std::size_t size) {
    const std::size_t here = target.size();
    append(target, 0x06064B50, 4);
    append(target, 44, 8);
    append(target, 45 | 45 << 16, 4); // versions
    append(target, 0, 8);             // disks
    append(target, count, 8);
    append(target, count, 8);
    append(target, size, 8);
    append(target, start, 8);
    append(target, 0x07064B50, 4);
    append(target, 0, 4);
    append(target, here, 8);
    append(target, 1, 4);
}

} // namespace

bytes deflated(std::string_view plain, deflate_style style) {
    z_stream control{};
    deflateInit2(&control, style.level, Z_DEFLATED, style.window_bits, 8, Z_DEFAULT_STRATEGY);
    bytes packed(deflateBound(&control, static_cast<uLong>(plain.size())) + 64);
    control.next_out = packed.data();
    control.avail_out = static_cast<uInt>(packed.size());
    control.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
    control.avail_in = static_cast<uInt>(style.flush_after);
    if (style.flush_after != 0) deflate(&control, Z_SYNC_FLUSH);
    control.avail_in = static_cast<uInt>(plain.size() - style.flush_after);
    deflate(&control, Z_FINISH);
    packed.resize(control.total_out);
    deflateEnd(&control);
    return packed;
}

void zip_archive::put(std::size_t position, std::uint64_t value, std::size_t width) {
    bytes field;
    append(field, value, width);
    std::copy(field.begin(), field.end(), content.begin() + static_cast<std::ptrdiff_t>(position));
}

zip_archive zip_builder::build() const {
    zip_archive archive{prefix, {}, {}};
    bytes& content = archive.content;
    std::vector<packed_member> packed(members.begin(), members.end());
    for (std::size_t i = 0; i != members.size(); ++i) {
        archive.local_headers.push_back(content.size());
        packed[i].offset = content.size() - prefix.size();
        append_local_header(content, members[i], packed[i]);
        content.insert(content.end(), packed[i].data.begin(), packed[i].data.end());
    }
    const std::size_t start = content.size();
    for (std::size_t i = 0; i != members.size(); ++i) {
        archive.central_records.push_back(content.size());
        append_central_record(content, members[i], packed[i]);
    }
    const std::size_t size = content.size() - start;
    const std::size_t count = std::min<std::size_t>(members.size(), 0xFFFF);
    if (zip64_end) append_zip64_end(content, members.size(), start - prefix.size(), size);
    append(content, 0x06054B50, 4);
    append(content, 0, 4); // disks
    append(content, zip64_end ? 0xFFFF : count, 2);
    append(content, zip64_end ? 0xFFFF : count, 2);
    append(content, size, 4);
    append(content, zip64_end ? stands_elsewhere : start - prefix.size(), 4);
    append(content, comment.size(), 2);
    append(content, comment);
    return archive;
}

} // namespace support
