#pragma once

#include "core_crypto/hashcommon.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tool {

/// The SHA-256 of what `read` hands to the sink that it is called with.
template <class Read>
std::vector<std::uint8_t> digest_of_read(Read&& read) {
    core::CHash hash(core::hash_sha256);
    hash.init();
    read([&](std::span<const std::uint8_t> bytes) { hash.update_raw(bytes.data(), bytes.size()); });
    return hash.finish();
}

/// The SHA-256 of bytes that are at hand.
inline std::vector<std::uint8_t> digest_of(std::span<const std::uint8_t> bytes) {
    return digest_of_read([bytes](const auto& sink) { sink(bytes); });
}

} // namespace tool
