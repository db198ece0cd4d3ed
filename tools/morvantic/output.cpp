#include "output.h"

#include "descriptor.h"
#include "failure.h"

#include "core/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace tool {

namespace {

std::string& message_prefix() {
    static std::string prefix = "morvantic";
    return prefix;
}

std::span<const std::uint8_t> bytes_of(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The control characters of both sets, line and paragraph separators, and marks of direction.
bool is_unsafe(std::uint32_t character) {
    const auto between = [&](std::uint32_t first, std::uint32_t last) {
        return character >= first && character <= last;
    };
    return character < 0x20 || between(0x7F, 0x9F) || between(0x200E, 0x200F) ||
           between(0x2028, 0x202E) || between(0x2066, 0x2069) || character == 0x61C;
}

std::string in_hex(const char* format, std::uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

} // namespace

void write_output(std::span<const std::uint8_t> bytes) {
    try {
        write_all(STDOUT_FILENO, bytes);
    } catch (const std::system_error& error) {
        if (error.code().value() == EPIPE) throw output_closed{};
        fail_call("Standard output cannot be written: " + error.code().message() + ".");
    }
}

void write_output(std::string_view text) { write_output(bytes_of(text)); }

void write_json(const nlohmann::ordered_json& value) {
    write_output(value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
                 '\n');
}

std::string printable(std::string_view text) {
    std::string result;
    for (const wchar_t element : core::decode_path(text)) {
        const auto character = std::bit_cast<std::uint32_t>(element);
        if (character >= 0xDC80 && character <= 0xDCFF) {
            result += in_hex("\\x%02x", character - 0xDC00);
        } else if (is_unsafe(character)) {
            result += in_hex(character < 0x80 ? "\\x%02x" : "\\u{%x}", character);
        } else {
            result += core::encode_lossy({&element, 1});
        }
    }
    return result;
}

std::string output_name(const std::string& name) {
    static const bool terminal = isatty(STDOUT_FILENO) == 1;
    return terminal ? printable(name) : name;
}

void set_message_prefix(const std::string& prefix) { message_prefix() = prefix; }

void error_message(std::string_view sentence) {
    error_text_block(message_prefix() + ": " + printable(sentence) + "\n");
}

void warning_message(std::string_view sentence) {
    error_text_block(message_prefix() + ": warning: " + printable(sentence) + "\n");
}

void error_text_block(std::string_view text) {
    try {
        write_all(STDERR_FILENO, bytes_of(text));
    } catch (const std::system_error&) {
        // There is nobody left to tell.
    }
}

std::string counted(std::uint64_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string some_of(const std::vector<std::string>& names) {
    constexpr std::size_t shown_at_most = 8;
    const std::size_t shown = std::min(names.size(), shown_at_most);
    std::string text;
    for (std::size_t i = 0; i != shown; ++i)
        text += (i == 0 ? "" : ", ") + names[i];
    if (shown < names.size()) text += " and " + std::to_string(names.size() - shown) + " more";
    return text;
}

} // namespace tool
