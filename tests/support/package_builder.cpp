#include "support/package_builder.h"

namespace support {

bytes package_builder::true_signature() const {
    bytes covered = payload;
    append(covered, signed_stamp.value_or(stamp));
    return (keys != nullptr ? *keys : test_keys::signing()).sign(covered);
}

bytes package_builder::header() const {
    const bytes written = signature ? *signature : true_signature();
    bytes block = to_bytes(kind + '\0');
    append_fields(block, {{header_version, 4}});
    append(block, stamp + '\0');
    append_fields(block, {{version_part_1, 2},
                          {version_part_2, 1},
                          {version_part_3, 1},
                          {version_part_4, 4},
                          {aux_value, 4},
                          {encryption_type, 4},
                          {signature_length.value_or(written.size()), 4}});
    append(block, written);
    append(block, trailer_text);
    block.resize(1024);
    return block;
}

bytes package_builder::build() const {
    bytes file = header();
    append(file, payload);
    return file;
}

} // namespace support
