#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace core {

/// Key material by HKDF with SHA-256 (RFC 5869), of exactly `length` bytes; empty if libcrypto
/// fails. Throws nothing but std::bad_alloc.
std::vector<std::uint8_t> hkdf_sha256(std::string_view secret, std::string_view salt,
                                      std::string_view info, std::size_t length);

} // namespace core
