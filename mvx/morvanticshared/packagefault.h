#pragma once

#include <cstdint>

namespace package {

/// Why a package is refused: one value a check, in the order in which they are made.
enum package_fault : std::uint8_t {
    fault_none,
    fault_too_short,           // there is no room for a header
    fault_kind,                // none of the four words
    fault_version,             // a header version other than 1
    fault_header_unreadable,   // reading the header threw
    fault_payload_unreachable, // the stream does not get past the header
    fault_key,                 // no public key to verify with
    fault_payload_unreadable,  // the stream ends before its size
    fault_signature,           // made by another key, or over other data
    fault_encryption_unknown,  // none of the four encryption types
};

/// One sentence for people. Never null.
const char* fault_text(package_fault fault) noexcept;

} // namespace package
