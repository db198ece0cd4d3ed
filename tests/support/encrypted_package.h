#pragma once

#include "support/package_builder.h"

#include "core_crypto/cipher.h"
#include "morvanticshared/packageheader.h"

namespace support {

/// A package whose payload is the cipher text of the content.
inline package_builder encrypted_package(const bytes& content, std::uint32_t type = 16192) {
    package_builder made;
    made.encryption_type = type;
    const auto header = package::read_header(*deep_stream(made.header()));
    core::CCipher cipher(core::op_encrypt, core::mode_cfb, header->package_key());
    cipher.set_iv(header->package_iv());
    cipher.append(content.data(), content.size());
    made.payload = cipher.finish();
    return made;
}

} // namespace support
