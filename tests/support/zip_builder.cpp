#include "support/zip_builder.h"

#include <zlib.h>

namespace support {

namespace {

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
    const std::uint64_t version = member.zip64 != 0 ? 45 : 20;
    append_fields(target, {{version, 2},
                           {member.flags, 2},
                           {member.method, 2},
                           {member.dos_date, 4},
                           {packed.crc, 4}});
}

void append_local_header(bytes& target, const zip_member& member, const packed_member& packed) {
    append_fields(target, {{0x04034B50, 4}});
    append_common(target, member, packed);
    append_fields(target, {{packed.data.size(), 4},
                           {member.content.size(), 4},
                           {member.name.size(), 2},
                           {member.extra.size(), 2}});
    append(target, member.name + member.extra);
}

void append_central_record(bytes& target, const zip_member& member, const packed_member& packed) {
    bytes wide;
    const auto narrow = [&](unsigned which, std::uint64_t value) {
        if ((member.zip64 & which) == 0) return value;
        append_fields(wide, {{value, 8}});
        return std::uint64_t{0xFFFFFFFF};
    };
    const std::uint64_t size = narrow(1, member.content.size());
    const std::uint64_t packed_size = narrow(2, packed.data.size());
    const std::uint64_t offset = narrow(4, packed.offset);
    bytes extra = to_bytes(member.extra);
    if (!wide.empty()) append_fields(extra, {{1, 2}, {wide.size(), 2}});
    append(extra, wide);
    append_fields(target, {{0x02014B50, 4}, {45, 2}});
    append_common(target, member, packed);
    append_fields(target, {{packed_size, 4},
                           {size, 4},
                           {member.name.size(), 2},
                           {extra.size(), 2},
                           {0, 2}, // comment
                           {0, 8}, // disk, attributes
                           {offset, 4}});
    append(target, member.name);
    append(target, extra);
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
    bytes number;
    append_fields(number, {{value, width}});
    std::copy(number.begin(), number.end(),
              content.begin() + static_cast<std::ptrdiff_t>(position));
}

zip_archive zip_builder::build() const {
    zip_archive archive{prefix, {}, {}};
    bytes& content = archive.content;
    std::vector<packed_member> packed(members.begin(), members.end());
    for (std::size_t i = 0; i != members.size(); ++i) {
        archive.local_headers.push_back(content.size());
        packed[i].offset = content.size() - prefix.size();
        append_local_header(content, members[i], packed[i]);
        append(content, packed[i].data);
    }
    const std::size_t start = content.size();
    for (std::size_t i = 0; i != members.size(); ++i) {
        archive.central_records.push_back(content.size());
        append_central_record(content, members[i], packed[i]);
    }
    const std::size_t count = std::min<std::size_t>(members.size(), 0xFFFF);
    append_fields(content, {{0x06054B50, 4},
                            {0, 4}, // disks
                            {count, 2},
                            {count, 2},
                            {content.size() - start, 4},
                            {start - prefix.size(), 4},
                            {comment.size(), 2}});
    append(content, comment);
    return archive;
}

} // namespace support
