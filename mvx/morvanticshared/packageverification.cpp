#include "morvanticshared/packageverification.h"

#include "core_crypto/aes_cfb_inputstream.h"
#include "core_crypto/hashcommon.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace package {

namespace {

constexpr std::uint64_t read_block = 16384; // bytes
constexpr unsigned dry_read_limit = 8;      // reads in a row without a byte that end the pass

/// The signature covers the payload as it is stored and the stamp, and no other field.
package_fault check_signature(core::input_stream& stream, const CHeader& header,
                              const std::wstring& key_path, verified_blocks* blocks,
                              core::source_place place) {
    package_fault fault = fault_payload_unreachable; // what it means to get no further
    const bool verified = core::log_and_swallow_all(
        [&] {
            stream.reset();
            if (stream.skip(MVE_PACKAGE_HEADER_SIZE) != MVE_PACKAGE_HEADER_SIZE) return false;

            fault = fault_key;
            core::CSignature signature(core::signature_verify, core::key_rsa, core::hash_sha512);
            if (!signature.init_from_key_file(key_path)) return false;

            fault = fault_payload_unreadable;
            const auto feed = [&](std::span<const std::uint8_t> bytes, signed_part part) {
                signature.update_raw(bytes.data(), bytes.size());
                if (blocks != nullptr && part == part_payload) blocks->add(bytes);
            };
            const std::uint64_t total_read = feed_signed_data(stream, header.stamp(), feed);
            if (blocks != nullptr) blocks->finish();
            const bool whole = total_read == stream.size() - MVE_PACKAGE_HEADER_SIZE;
            if (whole) {
                fault = fault_signature;
            } else {
                core::assertion("total_read == (m_stream->size() - MVE_PACKAGE_HEADER_SIZE)");
            }
            // A signature over what did come says nothing about the rest, which would be served
            // too.
            return signature.verify_bytes(header.signature()) && whole;
        },
        place);
    return verified ? fault_none : fault;
}

package_fault check_encryption(const CHeader& header) {
    if (key_size_of(header.encryption_type())) return fault_none;
    core::assertion("!\"Unknown package encryption type\"");
    return fault_encryption_unknown;
}

/// Makes the payload the view of the stream.
package_fault enter_payload(core::input_stream& stream, const CHeader& header,
                            core::source_place place) {
    package_fault fault = fault_payload_unreachable;
    core::log_and_swallow(
        [&] {
            if (!stream.set_pos(MVE_PACKAGE_HEADER_SIZE)) core::assertion("rc");
            stream.mark_begin();
            fault = check_encryption(header);
        },
        place);
    return fault;
}

} // namespace

verification verify_package(core::input_stream& stream, const std::wstring& key_path,
                            verified_blocks* blocks, core::source_place place) {
    verification result;
    stream.reset();
    result.header = read_header(stream, result.fault);
    if (!result.header) return result;
    result.fault = check_signature(stream, *result.header, key_path, blocks, place);
    if (result.fault != fault_none) return result;
    result.fault = enter_payload(stream, *result.header, place);
    return result;
}

core::input_stream_ptr payload_stream(core::input_stream_ptr stored, const CHeader& header) {
    if (header.encryption_type() == encryption_none) return stored;
    std::vector<std::uint8_t> iv = header.package_iv();
    std::vector<std::uint8_t> key = header.package_key();
    return std::make_unique<core::CAESCFBInputStream>(std::move(stored), std::move(key),
                                                      std::move(iv), false);
}

std::uint64_t feed_signed_data(core::input_stream& payload, const package_stamp& stamp,
                               const signed_data_sink& sink) {
    std::vector<std::uint8_t> buffer(read_block);
    std::uint64_t total = 0;
    // A read that gives nothing is tried again, but not for ever: the file may have been cut short.
    for (unsigned dry_reads = 0; dry_reads < dry_read_limit;) {
        const std::uint64_t remaining = payload.remaining();
        if (remaining == 0) break;
        const std::uint64_t got = payload.read_impl(buffer.data(), std::min(remaining, read_block));
        dry_reads = got == 0 ? dry_reads + 1 : 0;
        total += got;
        if (got != 0) sink({buffer.data(), static_cast<std::size_t>(got)}, part_payload);
    }
    const std::string text = stamp_text(stamp);
    sink({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, part_stamp);
    return total;
}

} // namespace package
