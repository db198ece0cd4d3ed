#pragma once

#include "input_file.h"

#include "core_crypto/cryptohandles.h"
#include "morvanticshared/packagefault.h"

#include <string>

// The engine's checks on a package in words, and keys with messages that name their files.

namespace tool {

/// A short name for the check that gives this fault.
const char* check_name(package::package_fault fault) noexcept;

/// What is wrong, in which file, and what to do.
std::string fault_message(package::package_fault fault, const input_file& package);
std::string fault_message(package::package_fault fault, const input_file& package,
                          const input_file& key);

/// Throw failure, the input's, if the file holds no such key.
core::key_handle private_key_of(const input_file& key);
core::key_handle public_key_of(const input_file& key);

} // namespace tool
