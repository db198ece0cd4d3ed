#pragma once

#include "core_crypto/cryptohandles.h"

#include <string>

// RSA keys for those who make packages. The engine itself only verifies, see hashcommon.h.
// Everything here reports failures as core::exception with a text for people, not logged.

namespace core {

/// Whether keys of this length are made: 2048, 3072 or 4096 bits. Signatures of any of them fit in
/// a package header.
bool is_offered_key_length(unsigned bits) noexcept;

/// A new key pair. Throws for a length that is not offered.
key_handle generate_rsa_key(unsigned bits);

/// Writes the private key (PKCS#8, readable by its owner alone) and the public one
/// (SubjectPublicKeyInfo), both as PEM. Refuses to write over a file. Leaves both files or none.
void save_key_pair(const EVP_PKEY* key, const std::wstring& private_path,
                   const std::wstring& public_path);

/// An RSA private key from a PEM file without a passphrase.
key_handle load_private_key(const std::wstring& path);

/// An RSA public key from a PEM file, "BEGIN PUBLIC KEY" alone.
key_handle load_public_key(const std::wstring& path);

/// SHA-256 over the public key's DER form, as lower-case hex bytes with colons between them. A key
/// pair and its public half have the same.
std::string public_key_fingerprint(const EVP_PKEY* key);

} // namespace core
