#include "morvantic/scriptparser.h"

#include "morvantic/scriptbody.h"

#include <optional>

// The Script section: what is to be done, pushed into the host's body statement by statement.
//
//     const table = "messages";
//     func addConstantToXQuery("title", table);
//     messages = SqliteAnalyzer<"wal" recover, "strict">(fs.App, {"a.db", "b.db"}) {
//         const table = "chats";
//         analyzeColumn(table, -1, true, default::unix_time(1000), messages);
//     }
//
// Calls nest without limit, so neither values nor the host's arguments are made by recursion.

namespace engine {

namespace {

CScriptParser::value text_value(CScriptParser::EArgumentTypes type, std::string text) {
    return {type, core::basic_variant(core::variant_text, std::move(text))};
}

} // namespace

void CScriptParser::parse_body(CScriptBody& body) {
    analyzers.clear();
    while (next_token() != '}') {
        expect_current(token_identifier, "Expected identifier");
        const EKeyword keyword = keyword_from_string(token_text);
        if (keyword == keyword_const) {
            in_context("Constant definition", [&] { add_global_constant(parse_constant()); });
        } else if (keyword == keyword_func) {
            nested_lists nested;
            parse_global_function(body, nested);
        } else {
            parse_object(body);
        }
    }
}

/// func addDomainGroupFolder("group");
void CScriptParser::parse_global_function(CScriptBody& body, nested_lists& nested) {
    arguments_ptr arguments; // outlives the context
    in_context("Global function", [&] {
        next_token();
        function_call call = parse_function_declaration();
        arguments = build_arguments(std::move(call.values), nested);
        body.global_function(call.type, arguments.get());
    });
}

/// messages = SqliteAnalyzer<>() { ... }
/// SqliteAnalyzer<>() { ... }
void CScriptParser::parse_object(CScriptBody& body) {
    arguments_ptr arguments; // outlives the contexts
    const std::string word = token_text;
    const EObjectType type = CObjectValue::get_obj_type(word.c_str());
    if (type != object_unknown) {
        in_context(word, [&] { arguments = parse_typed_object(body, "", type); });
        return;
    }
    // Any other word is taken for an analyzer's name, a misspelled type too.
    in_context(word, [&] {
        add_analyzer_name(word);
        expect_next('=', "Expected '=' after object declaration");
        expect_next(token_identifier, "Expected identifier after object declaration");
        const std::string type_word = token_text;
        const EObjectType named_type = CObjectValue::get_obj_type(type_word.c_str());
        if (named_type == object_unknown) fail("Unknown object type \"" + type_word + "\"");
        in_context(type_word, [&] { arguments = parse_typed_object(body, word, named_type); });
    });
}

/// <"wal" recover, "strict">(fs.App, "a.db") { statements }
CScriptParser::arguments_ptr
CScriptParser::parse_typed_object(CScriptBody& body, const std::string& name, EObjectType type) {
    expect_next('<', "Expected '<' after object declaration");
    next_token();
    const pair_list properties = token == '>' ? pair_list() : parse_pair_list('>');
    expect_next('(', "Expected '(' after object declaration");
    nested_lists nested; // of the object and all of its statements, until its end
    arguments_ptr arguments = build_arguments(parse_argument_list(), nested);

    body.object_begin(name.c_str(), type, arguments.get());
    for (const auto& [key, word] : properties) {
        body.object_property(key.c_str(), word.c_str());
    }
    expect_next('{', "Expected '{' after object declaration");
    while (next_token() != '}')
        parse_object_statement(body, nested);
    body.object_end();

    nested.clear();
    local_constants.clear();
    return arguments;
}

void CScriptParser::parse_object_statement(CScriptBody& body, nested_lists& nested) {
    // The kind of the token is not looked at: a keyword may stand in the text from before.
    const EKeyword keyword = keyword_from_string(token_text);
    if (keyword == keyword_const) {
        in_context("Constant definition", [&] { add_local_constant(parse_constant()); });
    } else if (keyword == keyword_func) {
        parse_global_function(body, nested);
    } else {
        function_call call = parse_function_declaration();
        const arguments_ptr arguments = build_arguments(std::move(call.values), nested);
        body.object_function(call.type, arguments.get());
    }
}

/// setAnalyzer(messages);
CScriptParser::function_call CScriptParser::parse_function_declaration() {
    expect_current(token_identifier, "Expected identifier in function declarations");
    function_call call;
    call.type = CFunctionValue::get_func_type(token_text.c_str());
    if (call.type == function_unknown) fail("Unknown function type \"" + token_text + "\"");
    in_context(token_text, [&] {
        expect_next('(', "Expected '(' after object declaration");
        call.values = parse_argument_list();
        expect_next(';', "Expected ';' after object declaration");
    });
    return call;
}

/// ("a", -1, ns::call(true, other::call()), {"x", "y"})
///
/// Begins at the opening parenthesis, ends at the closing one without consuming it.
CScriptParser::value_list CScriptParser::parse_argument_list() {
    struct open_call {
        std::string name; // empty for the outermost list
        value_list values;
    };

    std::vector<open_call> calls(1);
    next_token();
    bool value_wanted = token != ')';
    for (;;) {
        if (value_wanted) {
            std::string called;
            std::optional<value> simple = parse_value(called);
            if (simple) {
                calls.back().values.push_back(*std::move(simple));
            } else {
                calls.push_back({std::move(called), {}});
                next_token();
                value_wanted = token != ')';
                continue;
            }
        }
        while (token == ')') {
            open_call closed = std::move(calls.back());
            if (calls.size() == 1) return std::move(closed.values);
            calls.pop_back();
            next_token();
            closed.values.push_back(text_value(argument_string, std::move(closed.name)));
            calls.back().values.emplace_back(
                argument_function,
                core::basic_variant(core::variant_nested_list, std::move(closed.values)));
        }
        if (token != ',') fail("Expected ')' or ',' to end or continue\"");
        next_token();
        value_wanted = true;
    }
}

/// A value, with the token behind it current; or nothing and the name of a call, with its opening
/// parenthesis current.
std::optional<CScriptParser::value> CScriptParser::parse_value(std::string& called) {
    switch (token) {
    case token_identifier:
        return parse_named_value(called);
    case token_string: {
        next_token();
        return text_value(argument_string, token_text); // which survives a ',' or ')'
    }
    case '-':
        expect_next(token_number, "Expected decimal integer number after minus");
        token_text.insert(0, 1, '-');
        return parse_integer();
    case token_number:
        return parse_integer();
    case token_bool: {
        const bool is_true = token_text == "true";
        next_token();
        return value(argument_bool, core::basic_variant(core::variant_bool, is_true));
    }
    case '{':
        return parse_string_list_value();
    default:
        fail("Unknown argument\"");
    }
}

/// platform.Android, ns::call(...), messages, greeting
std::optional<CScriptParser::value> CScriptParser::parse_named_value(std::string& called) {
    std::string name = token_text;
    next_token();
    if (token == '.') return parse_enum(name);
    if (token == ':') {
        expect_next(':', "Expected second ':' after namespace declaration for function");
        expect_next(token_identifier,
                    "Expected identifier after namespace declaration for function");
        if (!python_namespaces.contains(name)) {
            fail("Unknown Python namespace \"" + name + "\"");
        }
        name += "::" + token_text;
        next_token();
    }
    // A word that a stray byte makes of a string may have the colons too.
    if (name.find("::") != std::string::npos) {
        expect_current('(', "Expected '(' after function declaration");
        called = std::move(name);
        return std::nullopt;
    }
    if (analyzers.contains(name)) return text_value(argument_analyzer, std::move(name));
    if (local_constants.contains(name) || global_constants.contains(name)) {
        return text_value(argument_constant, std::move(name));
    }
    fail("Unknown identifier \"" + name + "\"");
}

CScriptParser::value CScriptParser::parse_enum(const std::string& prefix) {
    expect_next(token_identifier, "Expected identifier after enum declaration");
    const std::string name = prefix + "." + token_text;
    const EEnumValue number = CEnumValue::get_enum_type(name.c_str());
    if (number == enum_unknown) warn("Unknown enum type \"" + name + "\"");
    next_token();
    return {argument_enum,
            core::basic_variant(core::variant_integer, static_cast<long long>(number))};
}

CScriptParser::value CScriptParser::parse_integer() {
    const auto number = to_number<long long>(token_text);
    next_token();
    return {argument_integer, core::basic_variant(core::variant_integer, number)};
}

/// {"a", "b"}
CScriptParser::value CScriptParser::parse_string_list_value() {
    string_list strings;
    // An empty list leaves its brace current, which no argument list takes: it cannot be written.
    if (next_token() != '}') {
        strings = parse_string_list('}', true);
        next_token();
    }
    return {argument_string_list, core::basic_variant(core::variant_text_list, std::move(strings))};
}

/// "a", "b" and the closing character, which stays current.
CScriptParser::string_list CScriptParser::parse_string_list(char close, bool allow_empty) {
    string_list strings;
    for (;;) {
        expect_current(token_string, "Expected string");
        if (!allow_empty && token_text.empty()) fail("Expected not empty string");
        strings.push_back(token_text);
        if (next_token() == close) return strings;
        expect_list_separator(close);
    }
}

/// "wal" recover, "strict" and the closing character, which stays current.
CScriptParser::pair_list CScriptParser::parse_pair_list(char close) {
    pair_list pairs;
    for (;;) {
        expect_current(token_string, "Expected string");
        if (token_text.empty()) fail("Expected not empty string");
        std::pair<std::string, std::string>& pair = pairs.emplace_back(token_text, "");
        next_token();
        if (token == token_identifier) {
            pair.second = token_text;
            next_token();
        }
        if (token == close) return pairs;
        expect_list_separator(close);
    }
}

void CScriptParser::expect_list_separator(char close) {
    if (token != ',') {
        fail("Expected '" + std::string(1, close) + "' or ',' to end or continue");
    }
    expect_next(token_string, "Expected string");
}

} // namespace engine
