#pragma once

#include "core/inputstream.h"
#include "morvantic/scriptgrammar.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace engine {

class CScriptBody;
class CScriptHeader;
class CScriptInclude;
class CScriptSection;
struct CScriptImpl;

/// Kinds of token; any other value is a byte of its own, widened with its sign.
enum ETokenType : std::int32_t {
    token_eof = -1,
    token_identifier = -2,
    token_string = -3,
    token_number = -4,
    token_bool = -5,
};

/// A place in a script: bytes read so far, line, and column, which runs one ahead.
struct CTextPosition {
    std::uint64_t offset = 0;
    std::uint64_t line = 0;
    std::uint64_t column = 0;
};

/// Reads one script, in two passes at different times: scan_sections finds where each section's
/// body starts, parse_section runs the grammar of one section on demand. Belongs to one thread at
/// a time. A parse failure travels as core::exception with the whole diagnostic as its text.
class CScriptParser {
public:
    /// Opens the named script. Throws "Script not found.".
    CScriptParser(CScriptImpl* script, const std::wstring& script_name);

    // Outline
    void scan_sections();

    /// Makes the section, which the script owns, and fills it. Null, with a warning, if the text
    /// has no such section; the section made then stays.
    CScriptSection* parse_section(const std::string& section_namespace,
                                  const std::string& section_name);

    // Tokens
    std::int32_t next_char();

    /// The kind of the next token, which `token` holds too, but for a lone slash: that is returned
    /// and leaves `token` and `token_text` as they are.
    std::int32_t next_token();

    // Recovery
    void skip_unknown();
    void skip_braces();

    // Diagnostics: a text that ends in the call stack. Error texts are thrown, warnings logged.
    [[noreturn]] static void parser_error(const std::string& message,
                                          std::vector<std::string>& callstack, std::uint64_t line,
                                          std::uint64_t column, std::uint64_t extra);
    static void parser_warning(const std::string& message,
                               const std::vector<std::string>& callstack, std::uint64_t line,
                               std::uint64_t column, std::uint64_t extra);

    std::int32_t current_token() const noexcept { return token; }

    const std::string& current_text() const noexcept { return token_text; }

    const CTextPosition& current_start() const noexcept { return token_start; }

private:
    using section_key = std::pair<std::string, std::string>; // namespace, name

    // Outline
    section_key read_section_head();
    void set_position(const CTextPosition& target);
    void parse_content(CScriptSection* section);

    // Grammars
    void parse_header(CScriptHeader& header);
    void parse_include(CScriptInclude& include);
    void parse_body(CScriptBody& body);

    // Tokens
    std::int32_t read_byte();
    void refill();
    std::int32_t read_word();
    std::int32_t read_quoted();
    std::int32_t read_number();
    bool skip_comment();

    // The two ways in which the grammar reads a token. They differ after a lone slash.
    void expect_next(std::int32_t kind, const char* message);
    void expect_current(std::int32_t kind, const char* message);

    // Diagnostics at the current token
    [[noreturn]] void fail(const std::string& message);
    void warn(const std::string& message);
    void push_context(std::string_view text, std::uint64_t line, std::uint64_t column);

    /// Runs the work inside a context of the call stack. The context is popped on the normal path
    /// alone: an exception that is not ours leaves the call stack as it stands. A host that calls
    /// back into the script may have emptied it.
    template <class Work>
    void in_context(std::string_view text, Work&& work) {
        push_context(text, token_start.line, token_start.column - 1);
        std::invoke(std::forward<Work>(work));
        if (!callstack.empty()) callstack.pop_back();
    }

    CScriptImpl* owner;
    core::input_stream_ptr stream;
    std::map<section_key, CTextPosition> section_heads;
    std::set<std::string> analyzers;
    std::set<std::string> python_namespaces;
    std::map<std::string, std::string> global_constants;
    std::map<std::string, std::string> local_constants;
    std::vector<std::string> callstack;
    CTextPosition token_start;
    std::int32_t token = 0;
    std::int32_t current_char = ' ';
    std::int32_t previous_char = ' ';
    std::array<std::uint8_t, 1024> buffer{};
    std::uint64_t buffer_index = 0;
    std::uint64_t buffer_fill = 0;
    CTextPosition position{0, 1, 1};
    std::string token_text;
};

} // namespace engine
