#pragma once

#include "support/test_streams.h"

#include <string>

namespace support {

/// How zlib packs test data.
struct deflate_style {
    int level = 6;
    int window_bits = -15;
    std::size_t flush_after = 0; // ends a deflate block after so many bytes, once
};

bytes deflated(std::string_view plain, deflate_style style = {});

struct zip_member {
    std::string name;
    std::string content;
    std::uint16_t method = 8;            // 8 deflates the content, anything else stores it
    std::uint16_t flags = 0;             // bit 0 encrypted, bit 11 name in UTF-8
    std::uint32_t dos_date = 0x5D6C41EF; // 2026-11-12 08:15:30
    std::string extra{};                 // stands in front of the zip64 field
    unsigned zip64 = 0; // in that field: 1 the size, 2 the packed size, 4 the offset
};

/// Offsets of fields in a local header and in a central record.
enum zip_field : std::size_t {
    local_name_length = 26,
    central_flags = 8,
    central_method = 10,
    central_crc = 16,
    central_compressed_size = 20,
    central_size = 24,
    central_name_length = 28,
    central_offset = 42,
};

/// An archive's bytes and the places of its headers, so that a test can damage single fields.
struct zip_archive {
    bytes content;
    std::vector<std::size_t> local_headers;
    std::vector<std::size_t> central_records;

    void put(std::size_t position, std::uint64_t value, std::size_t width);
};

/// An archive, its bytes laid down one by one.
struct zip_builder {
    std::vector<zip_member> members{};
    bytes prefix{}; // in front of the archive; no offset counts it
    std::string comment{};

    zip_archive build() const;
};

} // namespace support
