#pragma once

#include <cstddef>
#include <string>

namespace bench {

enum language { in_script, in_lua, in_libconfig, in_toml };

/// An invented content, like that of real scripts, in one of the languages. What scripts give names
/// to is spelled in the others as the host receives it: a constant by its text, an enumeration
/// value by its number. The Script section is the value "statements" there.
///
/// The same seed and sizes give the same content: at least so many bytes of script, and so many
/// statements, counting those of objects too.
std::string make_content(language which, unsigned seed, std::size_t script_size,
                         std::size_t statements);

} // namespace bench
