#include "morvantic/scriptparser.h"

#include "morvantic/scriptbody.h"

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

/// Makes the value in its place, from what makes a T.
template <class T, class Source>
void add_value(CScriptParser::value_list& values, CScriptParser::EArgumentTypes type,
               core::variant_kind kind, Source&& source) {
    if (values.capacity() == 0) values.reserve(4); // as most calls have no more
    values.emplace_back(
        type, core::basic_variant(kind, std::in_place_type<T>, std::forward<Source>(source)));
}

template <class Source>
void add_text(CScriptParser::value_list& values, CScriptParser::EArgumentTypes type,
              Source&& text) {
    add_value<std::string>(values, type, core::variant_text, std::forward<Source>(text));
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
    const std::string word(token_text);
    const EObjectType type = object_type_of(word);
    if (type != object_unknown) {
        in_context(word, [&] { arguments = parse_typed_object(body, "", type); });
        return;
    }
    // Any other word is taken for an analyzer's name, a misspelled type too.
    in_context(word, [&] {
        add_analyzer_name(word);
        expect_next('=', "Expected '=' after object declaration");
        expect_next(token_identifier, "Expected identifier after object declaration");
        const std::string type_word(token_text);
        const EObjectType named_type = object_type_of(type_word);
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
    call.type = function_type_of(token_text);
    if (call.type == function_unknown) {
        fail("Unknown function type \"" + std::string(token_text) + "\"");
    }
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
        std::string name;
        value_list outer; // the list around the call, so far
    };

    std::vector<open_call> calls;
    value_list values;
    next_token();
    bool value_wanted = token != ')';
    for (;;) {
        if (value_wanted) {
            std::string called;
            if (!parse_value(values, called)) {
                calls.push_back({std::move(called), std::exchange(values, {})});
                next_token();
                value_wanted = token != ')';
                continue;
            }
        }
        while (token == ')') {
            if (calls.empty()) return values;
            open_call closed = std::move(calls.back());
            calls.pop_back();
            next_token();
            add_text(values, argument_string, std::move(closed.name));
            add_value<value_list>(closed.outer, argument_function, core::variant_nested_list,
                                  std::move(values));
            values = std::move(closed.outer);
        }
        if (token != ',') fail("Expected ')' or ',' to end or continue\"");
        next_token();
        value_wanted = true;
    }
}

/// Adds a value, with the token behind it current; or false and the name of a call, with its
/// opening parenthesis current.
bool CScriptParser::parse_value(value_list& values, std::string& called) {
    switch (token) {
    case token_identifier:
        return parse_named_value(values, called);
    case token_string:
        next_token();
        add_text(values, argument_string, token_text); // which survives a ',' or ')'
        break;
    case '-':
        expect_next(token_number, "Expected decimal integer number after minus");
        kept_text = "-" + std::string(token_text);
        token_text = kept_text;
        parse_integer(values);
        break;
    case token_number:
        parse_integer(values);
        break;
    case token_bool: {
        const bool is_true = token_text == "true";
        next_token();
        add_value<bool>(values, argument_bool, core::variant_bool, is_true);
        break;
    }
    case '{':
        parse_string_list_value(values);
        break;
    default:
        fail("Unknown argument\"");
    }
    return true;
}

/// platform.Android, ns::call(...), messages, greeting
bool CScriptParser::parse_named_value(value_list& values, std::string& called) {
    std::string name(token_text);
    next_token();
    if (token == '.') {
        parse_enum(values, std::move(name));
        return true;
    }
    if (token == ':') {
        expect_next(':', "Expected second ':' after namespace declaration for function");
        expect_next(token_identifier,
                    "Expected identifier after namespace declaration for function");
        if (!python_namespaces.contains(name)) {
            fail("Unknown Python namespace \"" + name + "\"");
        }
        name.append("::").append(token_text);
        next_token();
    }
    // A word that a stray byte makes of a string may have the colons too.
    if (name.find("::") != std::string::npos) {
        expect_current('(', "Expected '(' after function declaration");
        called = std::move(name);
        return false;
    }
    if (analyzers.contains(name)) {
        add_text(values, argument_analyzer, std::move(name));
    } else if (local_constants.contains(name) || global_constants.contains(name)) {
        add_text(values, argument_constant, std::move(name));
    } else {
        fail("Unknown identifier \"" + name + "\"");
    }
    return true;
}

/// Behind the prefix and the dot.
void CScriptParser::parse_enum(value_list& values, std::string name) {
    expect_next(token_identifier, "Expected identifier after enum declaration");
    name.append(".").append(token_text);
    const EEnumValue number = enum_value_of(name);
    if (number == enum_unknown) warn("Unknown enum type \"" + name + "\"");
    next_token();
    add_value<long long>(values, argument_enum, core::variant_integer, number);
}

void CScriptParser::parse_integer(value_list& values) {
    const auto number = to_number<long long>(token_text);
    next_token();
    add_value<long long>(values, argument_integer, core::variant_integer, number);
}

/// {"a", "b"}
void CScriptParser::parse_string_list_value(value_list& values) {
    string_list strings;
    // An empty list leaves its brace current, which no argument list takes: it cannot be written.
    if (next_token() != '}') {
        strings = parse_string_list('}', true);
        next_token();
    }
    add_value<string_list>(values, argument_string_list, core::variant_text_list,
                           std::move(strings));
}

/// "a", "b" and the closing character, which stays current.
CScriptParser::string_list CScriptParser::parse_string_list(char close, bool allow_empty) {
    string_list strings;
    for (;;) {
        expect_current(token_string, "Expected string");
        if (!allow_empty && token_text.empty()) fail("Expected not empty string");
        strings.emplace_back(token_text);
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
