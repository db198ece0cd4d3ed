#include "header_report.h"

#include "output.h"

#include <algorithm>

namespace tool {

namespace {

constexpr std::uint64_t stamp_offset = 14;
constexpr std::uint64_t stamp_room = 14;

/// The stamp as it stands in the file: the header keeps numbers, and none of a text that is no
/// stamp.
std::string stored_stamp(core::input_stream& stream) {
    stream.set_pos(stamp_offset);
    const std::string text = stream.read_string(stamp_room);
    return text.substr(0, text.find('\0'));
}

std::string encryption_text(std::uint32_t type) {
    const char* words = "unknown";
    switch (type) {
    case package::encryption_none:
        words = "none";
        break;
    case package::encryption_aes_128:
        words = "AES-128";
        break;
    case package::encryption_aes_192:
        words = "AES-192";
        break;
    case package::encryption_aes_256:
        words = "AES-256";
        break;
    default:
        break;
    }
    return words + (" (" + std::to_string(type) + ')');
}

std::string version_text(const package::package_version& version) {
    return std::to_string(version.version_part_1) + '.' + std::to_string(version.version_part_2) +
           '.' + std::to_string(version.version_part_3) + '.' +
           std::to_string(version.version_part_4);
}

} // namespace

std::vector<header_field> describe(const package::CHeader& header, const input_file& package) {
    const core::input_stream_ptr stream = package.open();
    const std::uint64_t size = stream->size();
    const std::uint64_t payload =
        size - std::min<std::uint64_t>(size, package::MVE_PACKAGE_HEADER_SIZE);
    const std::string stamp = stored_stamp(*stream);
    const std::string version = version_text(header.version_parts());
    const std::uint64_t signature = header.signature().size();
    // An invalid stamp adds nothing to the data that are signed.
    const bool stamp_valid = header.stamp().valid;
    const std::string validity = stamp_valid ? "" : " (not valid)";
    return {
        {"kind", header.kind(), header.kind(), false},
        {"header_version", 1, "1", false},
        {"stamp", stamp, printable(stamp) + validity, stamp_valid},
        {"version_parts", version, version, false},
        {"aux_value", header.aux_value(), std::to_string(header.aux_value()), false},
        {"encryption_type", header.encryption_type(), encryption_text(header.encryption_type()),
         false},
        {"signature", signature, counted(signature, "byte"), false},
        {"trailer_text", header.trailer_text(), '"' + printable(header.trailer_text()) + '"',
         false},
        {"payload", payload, counted(payload, "byte"), true},
    };
}

std::string table_of(const std::vector<header_field>& fields) {
    constexpr std::size_t name_width = 18;
    std::size_t text_width = 0;
    for (const header_field& field : fields)
        text_width = std::clamp(field.text.size(), text_width, std::size_t{32});

    const auto padded = [](const std::string& text, std::size_t width) {
        return text + std::string(width - std::min(width, text.size()) + 2, ' ');
    };
    std::string table;
    for (const header_field& field : fields) {
        table += padded(field.name, name_width) + padded(field.text, text_width) +
                 (field.covered ? "covered by the signature\n" : "not covered\n");
    }
    return table;
}

nlohmann::ordered_json json_of(const std::vector<header_field>& fields) {
    nlohmann::ordered_json object;
    for (const header_field& field : fields) {
        object[field.name] = {{"value", field.value}, {"covered_by_signature", field.covered}};
    }
    return object;
}

} // namespace tool
