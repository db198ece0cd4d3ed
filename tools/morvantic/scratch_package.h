#pragma once

#include "input_file.h"

#include "core_crypto/cryptohandles.h"

#include <string>
#include <utility>
#include <vector>

namespace tool {

/// The public half of a key as a file that the engine can load.
memory_file public_half(const EVP_PKEY* key);

/// A script's name in a package, as UTF-8, and its text.
using named_text = std::pair<std::string, std::string>;

/// Installs a package that holds these scripts and lives in memory alone, under a key that is made
/// for this process and never leaves it. Throws failure.
void install_scripts(const std::vector<named_text>& scripts);

} // namespace tool
