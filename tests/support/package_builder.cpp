#include "support/package_builder.h"

#include <string_view>

namespace support {

namespace {

void append(bytes& file, std::string_view text) {
    file.insert(file.end(), text.begin(), text.end());
}

void append_terminated(bytes& file, const std::string& text) {
    append(file, {text.c_str(), text.size() + 1});
}

void append_little_endian(bytes& file, std::uint32_t value, int width) {
    for (int i = 0; i != width; ++i)
        file.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

} // namespace

bytes package_builder::true_signature() const {
    bytes covered = payload;
    append(covered, signed_stamp.value_or(stamp));
    return (keys != nullptr ? *keys : test_keys::signing()).sign(covered);
}

bytes package_builder::header() const {
    const bytes written = signature ? *signature : true_signature();
    bytes block;
    append_terminated(block, kind);
    append_little_endian(block, header_version, 4);
    append_terminated(block, stamp);
    append_little_endian(block, version_part_1, 2);
    append_little_endian(block, version_part_2, 1);
    append_little_endian(block, version_part_3, 1);
    append_little_endian(block, version_part_4, 4);
    append_little_endian(block, aux_value, 4);
    append_little_endian(block, encryption_type, 4);
    append_little_endian(block,
                         signature_length.value_or(static_cast<std::uint32_t>(written.size())), 4);
    block.insert(block.end(), written.begin(), written.end());
    append_terminated(block, trailer_text);
    block.resize(1024);
    return block;
}

bytes package_builder::build() const {
    bytes file = header();
    file.insert(file.end(), payload.begin(), payload.end());
    return file;
}

} // namespace support
