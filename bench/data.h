#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// The files that the rows read. Each is made when it is first asked for, and kept. But for the key
// the content is the same everywhere.

namespace bench::data {

/// The folder, to be set before all else; it is made if need be.
void use_folder(const std::string& path);

/// RSA, 2048 bits, as PEM.
std::string public_key();

/// A zip archive with so many deflated texts of 1 to 8 KB.
std::string archive(std::size_t members);

std::string member_name(std::size_t number);

/// An archive of the members "32k", "256k", "1m", "4m" and "64m", deflated, and "stored", which has
/// 64 MiB too.
std::string sized_members();

/// The archive of this path in a signed package.
std::string packaged(const std::string& archive);

// Signed packages: of 80,000,000 bytes, in clear and in AES-256, and with a payload of 10 KB.
std::string large_package();
std::string large_encrypted_package();
std::string small_package();

/// 64 MiB of cipher text, AES-256 in CFB mode.
std::string cipher_text();

std::vector<std::uint8_t> cipher_key();
std::vector<std::uint8_t> cipher_iv();

/// Texts that `make` has written, or writes now.
std::vector<std::string> texts(const std::string& name,
                               const std::function<std::vector<std::string>()>& make);

constexpr std::size_t mebibyte = 1048576;
constexpr std::size_t large_size = 64 * mebibyte; // of what is read in order and at random

constexpr std::size_t piece = 4096; // of a read at random

/// Where to read pieces from what has the large size.
std::vector<std::size_t> places(std::size_t count);

} // namespace bench::data
