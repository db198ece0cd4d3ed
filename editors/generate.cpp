// Writes the editors' files that hold the words of the script language.
//
//     editor_files [--check] FOLDER
//
// With --check nothing is written; exit status 1 if a file is not what it would be.

#include "morvantic/scriptgrammar.h"
#include "morvantic/scriptvalues.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace {

using json = nlohmann::ordered_json;
using word_list = std::vector<std::string>;

word_list keywords() { return {engine::keyword_words.begin() + 1, engine::keyword_words.end()}; }

/// A vocabulary without its first row, which is for unknown words.
word_list vocabulary(const char* const* names, int placeholder) {
    return {names + 1, names + placeholder};
}

word_list object_types() {
    return vocabulary(engine::CObjectValue::m_value_name, engine::object_placeholder);
}

word_list function_types() {
    return vocabulary(engine::CFunctionValue::m_value_name, engine::function_placeholder);
}

/// The names behind the dots, by their prefixes.
std::map<std::string, word_list> enums() {
    std::map<std::string, word_list> by_prefix;
    for (const std::string& name :
         vocabulary(engine::CEnumValue::m_value_name, engine::enum_placeholder)) {
        const std::size_t dot = name.find('.');
        by_prefix[name.substr(0, dot)].push_back(name.substr(dot + 1));
    }
    return by_prefix;
}

std::string joined(const word_list& words, std::string_view separator) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : std::string(separator)) + word;
    return text;
}

std::string whole_words(const word_list& words) { return "\\b(" + joined(words, "|") + ")\\b"; }

json named_match(const char* name, const std::string& pattern) {
    return {{"name", name}, {"match", pattern}};
}

json capture(const char* name) { return {{"name", name}}; }

std::string textmate_grammar() {
    json patterns = json::array();
    patterns.push_back(named_match("comment.line.double-slash.morvantic", "//.*$"));
    patterns.push_back({{"name", "comment.block.morvantic"}, {"begin", "/\\*"}, {"end", "\\*/"}});
    // A string has no escapes, and may run over lines.
    patterns.push_back(
        {{"name", "string.quoted.double.morvantic"}, {"begin", "\""}, {"end", "\""}});
    patterns.push_back({{"match", "(::)\\s*(\\w+)\\s*(::)\\s*(\\w+)\\s*(::)\\s*(?=\\{)"},
                        {"captures",
                         {{"2", capture("entity.name.namespace.morvantic")},
                          {"4", capture("entity.name.section.morvantic")}}}});
    patterns.push_back(named_match("invalid.illegal.lone-slash.morvantic", "/"));
    patterns.push_back(named_match("keyword.control.morvantic", whole_words(keywords())));
    patterns.push_back(
        named_match("support.class.analyzer.morvantic", whole_words(object_types())));
    patterns.push_back(named_match("support.function.morvantic", whole_words(function_types())));
    for (const auto& [prefix, names] : enums()) {
        patterns.push_back(
            {{"match", "\\b(" + prefix + ")\\s*\\.\\s*(" + joined(names, "|") + ")\\b"},
             {"captures",
              {{"1", capture("support.type.enum.morvantic")},
               {"2", capture("constant.language.enum.morvantic")}}}});
    }
    patterns.push_back({{"match", "\\b([A-Za-z_]\\w*)\\s*::\\s*([A-Za-z_]\\w*)(?=\\s*\\()"},
                        {"captures",
                         {{"1", capture("entity.name.namespace.python.morvantic")},
                          {"2", capture("entity.name.function.python.morvantic")}}}});
    patterns.push_back(named_match("constant.language.boolean.morvantic", "\\b(true|false)\\b"));
    patterns.push_back(named_match("constant.numeric.morvantic", "\\b[0-9]+\\b"));
    patterns.push_back({{"match", "\\b([A-Za-z_]\\w*)\\s*(?==)"},
                        {"captures", {{"1", capture("variable.other.morvantic")}}}});
    const json grammar = {{"name", "Morvantic script"},
                          {"scopeName", "source.morvantic"},
                          {"fileTypes", {"sc"}},
                          {"patterns", std::move(patterns)}};
    return grammar.dump(2) + '\n';
}

/// In lines that are not too long.
std::string vim_keywords(const char* group, const word_list& words) {
    constexpr std::size_t line_width = 80;
    const std::string begin = std::string("syntax keyword ") + group;
    std::string text;
    std::string line = begin;
    for (const std::string& word : words) {
        if (line.size() + 1 + word.size() > line_width) {
            text += line + '\n';
            line = begin;
        }
        line += ' ' + word;
    }
    return text + line + '\n';
}

std::string vim_syntax() {
    std::string text =
        R"(" Words and forms of Morvantic scripts. Generated: change editors/generate.cpp.
if exists("b:current_syntax")
  finish
endif
syntax case match

)";
    text += vim_keywords("morvanticKeyword", keywords());
    text += vim_keywords("morvanticObject", object_types());
    text += vim_keywords("morvanticFunction", function_types());
    text += "syntax keyword morvanticBoolean true false\n";
    for (const auto& [prefix, names] : enums()) {
        text += "syntax match morvanticEnum \"\\<" + prefix + "\\s*\\.\\s*\\%(" +
                joined(names, "\\|") + "\\)\\>\"\n";
    }
    text += R"(syntax match morvanticNumber "\<[0-9]\+\>"
syntax match morvanticSection "::\s*\w\+\s*::\s*\w\+\s*::\ze\s*{"
syntax match morvanticCall "\<\h\w*\s*::\s*\h\w*\ze\s*("
syntax match morvanticError "/"
syntax region morvanticString start=+"+ end=+"+
syntax region morvanticComment start="//" end="$" contains=@Spell
syntax region morvanticComment start="/\*" end="\*/" contains=@Spell

highlight default link morvanticKeyword Keyword
highlight default link morvanticObject Type
highlight default link morvanticFunction Function
highlight default link morvanticBoolean Boolean
highlight default link morvanticEnum Constant
highlight default link morvanticNumber Number
highlight default link morvanticSection Structure
highlight default link morvanticCall Identifier
highlight default link morvanticError Error
highlight default link morvanticString String
highlight default link morvanticComment Comment

let b:current_syntax = "morvantic"
)";
    return text;
}

std::string content_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

int main(int argument_count, char** arguments) {
    const word_list given(arguments + 1, arguments + argument_count);
    const bool checks = given.size() == 2 && given[0] == "--check";
    if (!checks && given.size() != 1) {
        std::cerr << "editor_files [--check] FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = given.back();
    const std::pair<std::filesystem::path, std::string> files[] = {
        {folder / "vscode/syntaxes/morvantic.tmLanguage.json", textmate_grammar()},
        {folder / "vim/syntax/morvantic.vim", vim_syntax()}};
    bool differs = false;
    for (const auto& [path, text] : files) {
        if (checks && content_of(path) != text) {
            std::cerr << path << " is not up to date\n";
            differs = true;
        }
        if (!checks && !(std::ofstream(path, std::ios::binary) << text).flush()) {
            std::cerr << path << " cannot be written\n";
            return 2;
        }
    }
    return differs ? 1 : 0;
}
