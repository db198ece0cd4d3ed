#include "package_writer.h"

#include "archive_writer.h"
#include "descriptor.h"
#include "digest.h"
#include "failure.h"
#include "progress.h"

#include "core/debug.h"
#include "core/text.h"
#include "core/winapifileinputstream.h"
#include "core_crypto/cipher.h"
#include "core_crypto/rsasigner.h"
#include "morvanticshared/packageverification.h"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <system_error>
#include <unistd.h>

// The payload is written first, behind room for the header, since the header holds the signature
// over it.

namespace tool {

namespace {

constexpr std::size_t encryption_block = 1 << 16; // bytes

/// A DOS date has 7 bits for the years since 1980, and counts days from 1.
std::uint32_t dos_date_of(const package::package_stamp& stamp) {
    const std::uint32_t years = std::min<std::uint32_t>(stamp.year - 1980u, 127);
    return years << 25 | std::uint32_t{stamp.month} << 21 | std::uint32_t{stamp.day} << 16;
}

package::CHeader header_of(const package_fields& fields) {
    return {fields.kind, fields.stamp, fields.encryption, fields.version, fields.aux_value};
}

/// Throws core::exception for what a header cannot hold.
std::vector<std::uint8_t> header_bytes(const package_fields& fields,
                                       const std::vector<std::uint8_t>& signature) {
    package::CHeader header = header_of(fields);
    header.set_trailer_text(fields.trailer_text);
    header.set_signature(signature);
    return package::header_block(header);
}

std::vector<packed_file> write_payload(int number, const std::vector<source_file>& sources,
                                       const package_fields& fields, int level) {
    const std::uint64_t total =
        std::accumulate(sources.begin(), sources.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const source_file& file) { return sum + file.size; });
    progress bar("Packing", total);
    archive_writer archive(number, package::MVE_PACKAGE_HEADER_SIZE, dos_date_of(fields.stamp));
    std::vector<packed_file> packed;
    for (const source_file& source : sources) {
        const std::vector<std::uint8_t> content = read_source(source);
        archive.add(source.name, content, level);
        packed.push_back({source.wide_name, content.size(), digest_of(content)});
        bar.advance(content.size());
    }
    archive.finish();
    return packed;
}

/// Replaces the payload by its cipher text, which is as long.
void encrypt_payload(int number, const package_fields& fields) {
    if (fields.encryption == package::encryption_none) return;
    const package::CHeader header = header_of(fields);
    const std::vector<std::uint8_t> iv = header.package_iv();
    const bool derived =
        std::any_of(iv.begin(), iv.end(), [](std::uint8_t byte) { return byte != 0; });
    core::CBaseCipher cipher(core::op_encrypt, core::mode_cfb, header.package_key());
    if (!derived || !cipher.set_iv(iv)) fail_call("libcrypto cannot encrypt the payload.");
    file_status status{};
    fstat(number, &status);
    progress bar("Encrypting", static_cast<std::uint64_t>(status.st_size));

    std::vector<std::uint8_t> clear(encryption_block);
    std::vector<std::uint8_t> encrypted(encryption_block);
    auto position = static_cast<off_t>(package::MVE_PACKAGE_HEADER_SIZE);
    while (const std::size_t got = read_some_at(number, clear, position)) {
        const std::span<std::uint8_t> room(encrypted.data(), got);
        if (cipher.update_into(room.data(), got, clear.data(), got) != static_cast<int>(got)) {
            fail_call("libcrypto cannot encrypt the payload.");
        }
        write_all_at(number, room, position);
        position += static_cast<off_t>(got);
        bar.advance(got);
    }
}

std::vector<std::uint8_t> sign_payload(const std::string& path, const package_fields& fields,
                                       EVP_PKEY* key) {
    core::CWApiFileInputStream payload(core::decode_path(path));
    payload.set_pos(package::MVE_PACKAGE_HEADER_SIZE);
    payload.mark_begin();
    const std::uint64_t size = payload.size();
    progress bar("Signing", size);
    core::rsa_signer signer(key);
    const auto feed = [&](std::span<const std::uint8_t> bytes, package::signed_part part) {
        signer.update(bytes);
        if (part == package::part_payload) bar.advance(bytes.size());
    };
    const std::uint64_t signed_size = package::feed_signed_data(payload, fields.stamp, feed);
    if (size == 0 || signed_size != size) throw std::system_error(EIO, std::generic_category());
    return signer.finish();
}

} // namespace

void check_fields(const package_fields& fields, const EVP_PKEY* key) {
    const std::vector<std::uint8_t> signature(static_cast<std::size_t>(EVP_PKEY_get_size(key)));
    package::CHeader probe = header_of(fields);
    if (!probe.set_signature(signature)) {
        fail_input("A key of " + std::to_string(EVP_PKEY_get_bits(key)) +
                   " bits cannot sign packages. Make one of 2048, 3072 or 4096 bits with "
                   "\"morvantic keygen\".");
    }
    try {
        header_bytes(fields, signature);
    } catch (const core::exception& error) {
        fail_call(error.what());
    }
}

std::vector<packed_file> write_package(const std::string& path, int number,
                                       const std::vector<source_file>& sources,
                                       const package_fields& fields, int level, EVP_PKEY* key) {
    std::vector<packed_file> packed = write_payload(number, sources, fields, level);
    encrypt_payload(number, fields);
    const std::vector<std::uint8_t> block = header_bytes(fields, sign_payload(path, fields, key));
    if (lseek(number, 0, SEEK_SET) != 0) throw std::system_error(errno, std::generic_category());
    write_all(number, block);
    return packed;
}

} // namespace tool
