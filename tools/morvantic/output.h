#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What a command says: data to standard output, messages to standard error.

namespace tool {

/// Writes to standard output. Throws output_closed if its reader is gone, and failure if it cannot
/// be written, as on a full disk.
void write_output(std::span<const std::uint8_t> bytes);
void write_output(std::string_view text);

/// Writes the value in readable form and a line feed. Text that is not UTF-8 is replaced.
void write_json(const nlohmann::ordered_json& value);

/// Text for a person's eyes: characters that control a terminal or turn the direction of text are
/// shown as "\x1b" or "\u{202e}", bytes that are not UTF-8 as "\xff".
std::string printable(std::string_view text);

/// A name as standard output should have it: printable on a terminal, as it is elsewhere.
std::string output_name(const std::string& name);

/// What stands in front of each message: "morvantic pack".
void set_message_prefix(const std::string& prefix);

// One line to standard error, made printable.
void error_message(std::string_view sentence);
void warning_message(std::string_view sentence);

/// Text of several lines to standard error. It must be printable.
void error_text_block(std::string_view text);

/// "1 file", "2 files".
std::string counted(std::uint64_t count, std::string_view noun);

/// The first few names of a list, with the count of the others: "a, b and 7 more".
std::string some_of(const std::vector<std::string>& names);

} // namespace tool
