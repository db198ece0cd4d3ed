#pragma once

#include "core/inputstream.h"
#include "core/variant.h"
#include "morvantic/scriptargument.h"
#include "morvantic/scriptgrammar.h"
#include "morvantic/scriptheaderimpl.h"
#include "morvantic/scriptincludeimpl.h"
#include "morvantic/scriptvalues.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
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

/// What a diagnostic names as the place of a problem: a construct of the script and where it
/// begins, or the script itself, which has no such place. Put into words only if a problem comes
/// up.
struct CTextContext {
    CTextContext(std::string_view its_text) : text(its_text) {}

    CTextContext(std::string_view its_text, std::uint64_t its_line, std::uint64_t its_column)
        : text(its_text), line(its_line), column(its_column), has_place(true) {}

    std::string text;
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    bool has_place = false;
};

/// Reads one script, in two passes at different times: scan_sections finds where each section's
/// body starts, parse_section runs the grammar of one section on demand. Belongs to one thread at
/// a time. A parse failure travels as core::exception with the whole diagnostic as its text.
class CScriptParser {
public:
    /// Kinds of a parsed value, and what the variant beside it holds.
    enum EArgumentTypes : std::int32_t {
        argument_bool = 1,        // bool
        argument_integer = 2,     // long long
        argument_constant = 3,    // the constant's name
        argument_enum = 4,        // long long
        argument_function = 5,    // a list of values, the last of which is the function's name
        argument_string = 6,      // std::string
        argument_string_list = 7, // std::vector<std::string>
        argument_analyzer = 8,    // the analyzer's name
    };

    using value = std::pair<EArgumentTypes, core::basic_variant>;
    using value_list = std::vector<value>;
    using string_list = std::vector<std::string>;

    using arguments_ptr = std::unique_ptr<CScriptArguments>;

    /// Opens the named script. Throws "Script not found.".
    CScriptParser(CScriptImpl* script, const std::wstring& script_name);

    CScriptParser(const CScriptParser&) = delete;
    CScriptParser& operator=(const CScriptParser&) = delete;

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
                                          std::vector<CTextContext>& callstack, std::uint64_t line,
                                          std::uint64_t column, std::uint64_t extra);
    static void parser_warning(const std::string& message,
                               const std::vector<CTextContext>& callstack, std::uint64_t line,
                               std::uint64_t column, std::uint64_t extra);

    std::int32_t current_token() const noexcept { return token; }

    std::string_view current_text() const noexcept { return token_text; }

    const CTextPosition& current_start() const noexcept { return token_start; }

private:
    using section_key = std::pair<std::string, std::string>; // namespace, name

    // Outline
    section_key read_section_head();
    void set_position(const CTextPosition& target);
    void parse_content(CScriptSection* section);

    // Header
    void parse_header(CScriptHeader& header);
    void read_engine_version(CScriptHeaderImpl& header);
    void read_package(CScriptHeaderImpl& header);
    void read_extra_fs(CScriptHeaderImpl::CPackage& record);
    void read_names(CScriptHeaderImpl::CPackage& record);
    void read_namespaces(CScriptHeaderImpl::CPackage& record);
    void read_version(CScriptHeaderImpl::CPackage& record);
    void read_platforms(CScriptHeaderImpl::CPackage& record);
    EPlatformTypes parse_platform_list();

    // Include
    void parse_include(CScriptInclude& include);
    void parse_python_declaration(CScriptIncludeImpl& include);
    std::unique_ptr<CScriptIncludeImpl::CPython> parse_python();
    std::unique_ptr<CScriptIncludeImpl::CXQuery> parse_xquery();
    void read_dependencies(CScriptIncludeImpl::CPython& module);
    void read_python_path(CScriptIncludeImpl::CPython& module);
    void read_python_version(CScriptIncludeImpl::CPython& module);
    void read_xquery_path(CScriptIncludeImpl::CXQuery& query);
    void read_xquery_index(CScriptIncludeImpl::CXQuery& query);
    void sort_xqueries(CScriptIncludeImpl& include);

    // Blocks of properties
    template <class Target>
    struct block_property;
    template <class Target, std::size_t Count>
    void parse_block(const std::array<block_property<Target>, Count>& properties, Target& target,
                     const char* expected);
    void warn_and_skip_unknown();
    void read_global_constant(CScriptHeaderImpl& header);
    template <class Object>
    void read_block_constant(Object& object);
    std::uint64_t parse_integer_property();
    std::string parse_string_property();
    string_list parse_string_list_property();

    // Body
    using nested_lists = std::vector<arguments_ptr>;
    using pair_list = std::vector<std::pair<std::string, std::string>>;

    struct function_call {
        EFunctionType type = function_unknown;
        value_list values;
    };

    void parse_body(CScriptBody& body);
    void parse_global_function(CScriptBody& body, nested_lists& nested);
    void parse_object(CScriptBody& body);
    arguments_ptr parse_typed_object(CScriptBody& body, const std::string& name, EObjectType type);
    void parse_object_statement(CScriptBody& body, nested_lists& nested);
    function_call parse_function_declaration();
    value_list parse_argument_list();
    bool parse_value(value_list& values, std::string& called);
    bool parse_named_value(value_list& values, std::string& called);
    void parse_enum(value_list& values, std::string name);
    void parse_integer(value_list& values);
    void parse_string_list_value(value_list& values);
    string_list parse_string_list(char close, bool allow_empty);
    pair_list parse_pair_list(char close);
    void expect_list_separator(char close);

    // The host's arguments
    arguments_ptr build_arguments(value_list values, nested_lists& nested);
    void check_kind(const value& parsed);
    value_list open_function(CScriptArgument& call, core::basic_variant& variant);
    void deliver(const value& parsed, CScriptArgument& argument);

    // Names
    using constant = std::pair<std::string, std::string>;
    constant parse_constant();
    bool is_taken(name_place place, const std::string& name) const;
    void check_name(std::span<const name_rule> rules, const std::string& name);
    void add_analyzer_name(const std::string& name);
    void add_global_constant(const constant& added);
    void add_local_constant(const constant& added);
    const std::string& resolve_constant(const std::string& name);

    // Tokens
    CTextPosition position() const noexcept;
    void refill();

    std::int32_t current_char() const noexcept { return static_cast<std::int8_t>(*cursor); }

    std::uint8_t step_to(const std::uint8_t* at);
    template <std::uint8_t bytes>
    void read_text(const std::uint8_t* first);
    template <std::uint8_t bytes>
    void read_more_text();
    void keep_text();
    std::int32_t read_word();
    std::int32_t read_quoted();
    std::int32_t read_number();
    bool skip_comment();
    void skip_block_comment();

    // The two ways in which the grammar reads a token. They differ after a lone slash.
    void expect_next(std::int32_t kind, std::string_view message) {
        if (next_token() != kind) fail(message);
    }

    void expect_current(std::int32_t kind, std::string_view message) {
        if (token != kind) fail(message);
    }

    /// The whole text as a decimal number. An odd byte can pass for a number with other text.
    template <class Number>
    Number to_number(std::string_view digits) {
        Number number = 0;
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        if (error != std::errc() || stop != end) {
            fail(std::string(digits) + " is not a valid decimal integer number");
        }
        return number;
    }

    // Diagnostics at the current token
    [[noreturn]] void fail(std::string_view message);
    void warn(const std::string& message);

    void push_context(std::string_view text, std::uint64_t line, std::uint64_t column) {
        callstack.emplace_back(text, line, column);
    }

    /// Runs the work inside a context of the call stack. The context is popped on the normal path
    /// alone: an exception that is not ours leaves the call stack as it stands. A host that calls
    /// back into the script may have emptied it.
    template <class Work>
    void in_context(std::string_view text, Work&& work) {
        push_context(text, token_start.line, token_start.column - 1);
        std::invoke(std::forward<Work>(work));
        if (!callstack.empty()) callstack.pop_back();
    }

    static constexpr std::uint8_t stop_byte = 0xFF; // which ends every run of bytes

    /// Bytes of the stream, with the one before them in front and the stop byte behind.
    using text_block = std::array<std::uint8_t, 1 + 1024 + 1>;

    CScriptImpl* owner;
    core::input_stream_ptr stream;
    std::map<section_key, CTextPosition> section_heads;
    std::set<std::string> analyzers;
    std::set<std::string> python_namespaces;
    std::map<std::string, std::string> global_constants;
    std::map<std::string, std::string> local_constants;
    std::vector<CTextContext> callstack;
    CTextPosition token_start;
    std::int32_t token = 0;
    std::string_view token_text; // in the block, or in what is kept of an earlier one
    std::string kept_text;
    std::array<text_block, 2> blocks{text_block{' ', stop_byte}}; // by turns
    std::uint8_t* block = blocks.front().data();
    const std::uint8_t* cursor = block;        // the current byte, or the end if there is none
    const std::uint8_t* block_end = block + 1; // its stop byte
    std::uint64_t block_offset = 0;            // in the stream
    std::uint64_t line_number = 1;
    std::uint64_t column_origin = ~std::uint64_t{0}; // the offset at which the column is 0
};

} // namespace engine
