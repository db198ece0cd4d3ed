#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What is found in scripts: by the engine, which logs it, and by a look at the text.

namespace tool {

enum finding_severity : std::uint8_t {
    severity_note,
    severity_warning,
    severity_error,
};

/// The words for the severities, by their values.
inline constexpr const char* severity_words[] = {"note", "warning", "error"};

/// Where an example has to stand to be a whole script.
enum example_frame : std::uint8_t {
    frame_none,
    frame_header,
    frame_package,
    frame_include,
    frame_python,
    frame_xquery,
    frame_script,
    frame_object,
};

/// One message that scripts can raise. In texts "%" stands for what is the script's own.
struct finding_kind { // NOLINT(clang-analyzer-optin.performance.Padding): in the order of reading
    const char* code; // stays from version to version
    finding_severity severity;
    const char* message; // of the engine as it stands in the log, or of the look at the text
    const char* cause;
    const char* remedy;
    example_frame frame;
    const char* example; // in its frame a script that raises it
};

/// Those that the engine logs.
std::span<const finding_kind> engine_kinds();

/// Those that only a look at the text finds.
std::span<const finding_kind> text_kinds();

/// Null if there is no such code.
const finding_kind* kind_of_code(std::string_view code);

/// Whose message this is, by the engine's severity and text; null if it is none.
const finding_kind* kind_of_message(finding_severity severity, std::string_view text);

/// The same of a message that the log has ended at a zero byte in what it quotes: the kind with the
/// longest beginning that fits.
const finding_kind* kind_of_cut_message(finding_severity severity, std::string_view text);

/// The example in its frame.
std::string example_script(const finding_kind& kind);

/// Line and column as the engine's log names them.
struct logged_place {
    std::uint64_t line = 0;
    std::uint64_t column = 0;

    bool operator==(const logged_place&) const = default;
};

struct finding {
    const finding_kind* kind = nullptr;
    std::string message;
    std::size_t begin = 0; // in the text
    std::size_t end = 0;
    bool is_logged = false; // by the engine, at this place
    logged_place logged{};
};

} // namespace tool
