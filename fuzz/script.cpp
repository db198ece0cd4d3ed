#include "fuzz/fenced_text.h"
#include "support/memory_store.h"
#include "tools/morvantic/script_report.h"

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

/// What the engine gave and logged. Empty if there was no end of it.
std::string read_script(const std::string& text, const tool::script_outline& outline,
                        std::uint64_t most) {
    constexpr unsigned never = 1'000'000; // seconds
    text_reading reading;
    support::installed_scripts scripts({{L"demo.sc", text}});
    scripts.store.open = [&](const std::string& content) {
        return std::make_unique<fenced_text>(content, most, reading);
    };
    std::string report;
    const bool has_ended =
        fenced([&] { report = text_of(*tool::read_script(L"demo.sc", outline, {}, never)); });
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
