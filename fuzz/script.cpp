#include "fuzz/fenced_text.h"

#include <algorithm>

// The text of a script, through its outline and all its sections, as a host goes that writes down
// what it gets and what is logged. The outline that the tool reads is the engine's, and a text that
// arrives in small pieces gives the same as one that arrives at once.

namespace {

using namespace fuzz;

bool is_asked_for(const tool::section_head& head) {
    return head == tool::section_head{"App", "Header"} || head.name == "Include" ||
           head.name == "Script";
}

std::string read_script(const std::string& text, const tool::script_outline& outline,
                        std::uint64_t most) {
    text_reading reading;
    std::string report = report_of(text, outline, most, reading);
    const bool has_ended = !report.empty();
    const bool ends_first_pass = has_ended || reading.sections != 0;
    require(ends_first_pass == (outline.endless_comment_line == 0), "the tool knows endless texts");
    const auto& heads = outline.sections;
    require(!has_ended ||
                reading.sections == std::count_if(heads.begin(), heads.end(), is_asked_for),
            "the engine finds the sections that the tool finds");
    return report;
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    const std::string text(input.begin(), input.end());
    const tool::script_outline outline = tool::read_outline(text);
    require(read_script(text, outline, text.size() + 1) ==
                read_script(text, outline, 1 + text.size() % 7),
            "pieces make no difference");
}
