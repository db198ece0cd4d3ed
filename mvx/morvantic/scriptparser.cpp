#include "morvantic/scriptparser.h"

#include "core/logandrethrow.h"
#include "core/recycling.h"
#include "core/text.h"
#include "morvantic/script.h"
#include "morvantic/scriptbody.h"
#include "morvantic/scriptheader.h"
#include "morvantic/scriptimpl.h"
#include "morvantic/scriptinclude.h"
#include "morvantic/scriptstorage.h"

// The parser's frame: how it gets its text, how a section is found again and handed to its
// grammar, and how every problem of a script is put into words.

namespace engine {

namespace {

/// "Package(8, 3)"
std::string spelled(const CTextContext& context) {
    if (!context.has_place) return context.text;
    return context.text + "(" + std::to_string(context.line) + ", " +
           std::to_string(context.column) + ")";
}

/// "Parser error(12, 4): message", then the call stack on a line of its own.
std::string diagnostic(const char* severity, const std::string& message,
                       const std::vector<CTextContext>& callstack, std::uint64_t line,
                       std::uint64_t column, std::uint64_t extra, const char* last_entry) {
    std::string text = severity + ("(" + std::to_string(line)) + ", ";
    if (extra != 0 && column != 0) text += std::to_string(extra) + "-";
    text += std::to_string(column) + "): " + message + "\n    Callstack: ";
    for (const CTextContext& entry : callstack)
        text += spelled(entry) + " -> ";
    return text + last_entry + "\n";
}

} // namespace

CScriptParser::CScriptParser(CScriptImpl* script, const std::wstring& script_name) : owner(script) {
    core::log_and_rethrow([&] {
        python_namespaces.insert("default");
        stream = CScriptStorage::instance().open_script(script_name);
        if (!stream) throw core::exception("Script not found.");
        callstack.emplace_back(core::narrow_low_bytes(script_name));
    });
}

CScriptSection* CScriptParser::parse_section(const std::string& section_namespace,
                                             const std::string& section_name) {
    const core::recycling memory;
    // First of all, so that the section is registered whatever happens next.
    CScriptSection* section =
        owner->owner->add_section(section_namespace.c_str(), section_name.c_str());

    const std::string full_name = "::" + section_namespace + "::" + section_name + "::";
    const auto head = section_heads.find({section_namespace, section_name});
    if (head == section_heads.end()) {
        warn("Namespace " + section_namespace + " was defined but could not find section " +
             full_name);
        return nullptr;
    }
    set_position(head->second);
    in_context(full_name, [&] { parse_content(section); });
    return section;
}

void CScriptParser::parse_content(CScriptSection* section) {
    if (auto* header = dynamic_cast<CScriptHeader*>(section)) {
        parse_header(*header);
    } else if (auto* include = dynamic_cast<CScriptInclude*>(section)) {
        parse_include(*include);
    } else if (auto* body = dynamic_cast<CScriptBody*>(section)) {
        parse_body(*body);
    }
}

void CScriptParser::set_position(const CTextPosition& target) {
    token_start = target;
    token = 0;
    if (cursor == block_end) --cursor;
    block[cursor - block] = ' ';
    block_offset = target.offset - static_cast<std::uint64_t>(cursor - block);
    line_number = target.line;
    column_origin = target.offset - target.column;
    stream->set_pos(target.offset);
    refill();
    token_text = {};
}

void CScriptParser::parser_error(const std::string& message, std::vector<CTextContext>& callstack,
                                 std::uint64_t line, std::uint64_t column, std::uint64_t extra) {
    const std::string text =
        diagnostic("Parser error", message, callstack, line, column, extra, "Error");
    callstack.clear(); // the script's name goes too
    core::throw_logged(text);
}

void CScriptParser::parser_warning(const std::string& message,
                                   const std::vector<CTextContext>& callstack, std::uint64_t line,
                                   std::uint64_t column, std::uint64_t extra) {
    const std::string text =
        diagnostic("Parser warning", message, callstack, line, column, extra, "Warning");
    core::debug_logger{} << text;
    core::info_logger{} << text;
}

void CScriptParser::fail(std::string_view message) {
    parser_error(std::string(message), callstack, token_start.line, token_start.column - 1, 0);
}

void CScriptParser::warn(const std::string& message) {
    parser_warning(message, callstack, token_start.line, token_start.column - 1, 0);
}

} // namespace engine
