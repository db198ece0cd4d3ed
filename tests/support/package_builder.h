#pragma once

#include "support/test_keys.h"
#include "support/test_streams.h"

#include <cstdint>
#include <optional>
#include <string>

namespace support {

/// A package, its bytes laid down one by one. Each field may be set to what no maker of packages
/// would write.
struct package_builder {
    std::string kind = "MORVANTIC";
    std::uint32_t header_version = 1;
    std::string stamp = "2026-03-09-07";
    std::uint16_t version_part_1 = 0x0102;
    std::uint8_t version_part_2 = 0x03;
    std::uint8_t version_part_3 = 0x04;
    std::uint32_t version_part_4 = 0x05060708;
    std::uint32_t aux_value = 0x090A0B0C;
    std::uint32_t encryption_type = 1024;
    std::string trailer_text = "made for a test";
    bytes payload = to_bytes("the payload as it is stored");

    const test_keys* keys = nullptr;               // test_keys::signing() if null
    std::optional<bytes> signature;                // instead of a true one
    std::optional<std::uint64_t> signature_length; // instead of the true one
    std::optional<std::string> signed_stamp;       // signed instead of `stamp`

    /// What the keys make of payload and stamp.
    bytes true_signature() const;

    /// The 1024 bytes in front of the payload.
    bytes header() const;

    /// The whole file.
    bytes build() const;
};

} // namespace support
