#pragma once

#include "core/inputstream.h"
#include "core/sourceplace.h"
#include "morvanticshared/packagefault.h"
#include "morvanticshared/packageheader.h"
#include "morvanticshared/verifiedblocks.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

// The checks on a package, and what its signature covers. Each stands here once, for those who read
// packages and those who make them.

namespace package {

/// What became of a package.
struct verification {
    package_fault fault = fault_none; // the first check that failed
    std::unique_ptr<CHeader> header;  // empty if it could not be read
};

/// Checks a whole package file against the public key in a PEM file, and reads all of it. On
/// success position 0 of the stream is the first byte of the payload as stored; after a failure the
/// stream stands anywhere. `blocks`, if there are any, learn the payload that was verified. What is
/// logged on the way shows `place`.
verification verify_package(core::input_stream& stream, const std::wstring& key_path,
                            verified_blocks* blocks = nullptr,
                            core::source_place place = core::source_place::here());

/// The payload in clear. The stream has the payload as stored for its view, as verify_package
/// leaves it, and goes below the decrypting one if that is needed.
core::input_stream_ptr payload_stream(core::input_stream_ptr stored, const CHeader& header);

enum signed_part : std::uint8_t { part_payload, part_stamp };

using signed_data_sink = std::function<void(std::span<const std::uint8_t> bytes, signed_part part)>;

/// Hands over the data that a package's signature is made of (RSA, PKCS#1 v1.5, SHA-512): the
/// payload as stored, from where the stream stands to its end, and then the canonical text of the
/// stamp. Returns how many bytes of payload came, fewer than there should be if the stream dries
/// up.
std::uint64_t feed_signed_data(core::input_stream& payload, const package_stamp& stamp,
                               const signed_data_sink& sink);

} // namespace package
