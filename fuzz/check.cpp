#include "fuzz/fenced_text.h"
#include "tools/morvantic/engine_findings.h"
#include "tools/morvantic/failure.h"
#include "tools/morvantic/script_format.h"
#include "tools/morvantic/script_look.h"

#include <algorithm>
#include <sstream>

// What "morvantic check" and "morvantic format" make of a text: each finding has its place, each
// message of the engine its code, there is an error if the engine never comes to an end, and a
// formatted text stays as it is and gives the engine the same.

namespace {

using namespace fuzz;

std::string calls_of(const std::string& text) {
    text_reading reading;
    std::istringstream report(report_of(text, tool::read_outline(text), text.size() + 1, reading));
    std::string calls;
    for (std::string line; std::getline(report, line);) {
        const std::string_view words = std::string_view(line).substr(line.find_first_not_of(' '));
        // Messages name places.
        if (!words.starts_with("log ") && !words.starts_with("Callstack: ")) calls += line + '\n';
    }
    return calls;
}

/// Whether there is an error among them.
bool have_errors(const std::vector<tool::finding>& findings, const std::string& text) {
    bool has_errors = false;
    for (const tool::finding& found : findings) {
        require(found.begin <= found.end && found.end <= text.size(), "a place");
        require(found.kind->code != std::string_view("engine-message"), "a known message");
        has_errors |= found.kind->severity == tool::severity_error;
    }
    return has_errors;
}

void look(const std::string& text) {
    const bool has_errors =
        have_errors(tool::look_at(text,
                                  [](const std::string& name, const char*) {
                                      return static_cast<tool::file_answer>(name.size() % 3);
                                  }),
                    text);
    text_reading reading;
    const bool has_ended = with_text(text, text.size() + 1, reading, [&] {
        have_errors(tool::read_by_engine(L"demo.sc", text, no_deadline), text);
    });
    require(has_ended || has_errors, "an error is found in what the engine never ends to read");
}

void format(const std::string& text) {
    std::string once;
    try {
        once = tool::formatted(text, "text");
    } catch (const tool::failure&) {
        return; // it is refused
    }
    require(tool::formatted(once, "text") == once, "a formatted text stays");
    require(calls_of(once) == calls_of(text), "the engine makes the same of it");
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    const std::string text(input.begin(), input.end());
    look(text);
    format(text);
}
