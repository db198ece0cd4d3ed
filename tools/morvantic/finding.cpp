#include "finding.h"

#include <algorithm>

namespace tool {

namespace {

struct frame_text {
    const char* front;
    const char* back;
};

/// By the values of example_frame.
constexpr frame_text frames[] = {
    {"", ""},
    {"::App::Header::{ ", " }"},
    {"::App::Header::{ Package { ", " } }"},
    {"::App::Include::{ ", " }"},
    {"::App::Include::{ m = Python { ", " } }"},
    {"::App::Include::{ XQuery { ", " } }"},
    {"::Demo::Script::{ ", " }"},
    {"::Demo::Script::{ ZipAnalyzer<>() { ", " } }"},
};

const finding_kind* find_code(std::span<const finding_kind> kinds, std::string_view code) {
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&](const finding_kind& kind) { return kind.code == code; });
    return found == kinds.end() ? nullptr : &*found;
}

/// Whether a text is the pattern, with anything in place of each "%".
bool fits(std::string_view pattern, std::string_view text) {
    const std::size_t gap = pattern.find('%');
    if (gap == std::string_view::npos) return text == pattern;
    if (!text.starts_with(pattern.substr(0, gap))) return false;
    text.remove_prefix(gap);
    pattern.remove_prefix(gap + 1);
    for (;;) { // each piece where it comes first, and the last one at the end
        const std::size_t next = pattern.find('%');
        if (next == std::string_view::npos) return text.ends_with(pattern);
        const std::size_t found = text.find(pattern.substr(0, next));
        if (found == std::string_view::npos) return false;
        text.remove_prefix(found + next);
        pattern.remove_prefix(next + 1);
    }
}

} // namespace

const finding_kind* kind_of_code(std::string_view code) {
    const finding_kind* kind = find_code(engine_kinds(), code);
    return kind != nullptr ? kind : find_code(text_kinds(), code);
}

const finding_kind* kind_of_message(finding_severity severity, std::string_view text) {
    for (const finding_kind& kind : engine_kinds()) {
        if (kind.severity == severity && fits(kind.message, text)) return &kind;
    }
    return nullptr;
}

const finding_kind* kind_of_cut_message(finding_severity severity, std::string_view text) {
    const finding_kind* found = nullptr;
    std::size_t longest = 0;
    for (const finding_kind& kind : engine_kinds()) {
        const std::string_view message = kind.message;
        const std::string_view begin = message.substr(0, message.find('%'));
        if (kind.severity != severity || begin.size() == message.size()) continue;
        if (!text.starts_with(begin) || (found != nullptr && begin.size() <= longest)) continue;
        found = &kind;
        longest = begin.size();
    }
    return found;
}

std::string example_script(const finding_kind& kind) {
    return std::string(frames[kind.frame].front) + kind.example + frames[kind.frame].back;
}

} // namespace tool
