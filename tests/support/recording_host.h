#pragma once

#include "support/memory_store.h"

#include "morvantic/script.h"
#include "morvantic/scriptargumentcallbackbase.h"
#include "morvantic/scriptbody.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// A value as one word: 5, true, "text", @analyzer, {"a" "b"}, or the name of a call.
struct recorded_value : engine::CScriptArgumentCallbackOf<recorded_value> {
    void set_int(long long value) override { word = std::to_string(value); }

    void set_bool(bool value) override { word = value ? "true" : "false"; }

    void set_string(const char* value) override { word = quoted(value); }

    void set_function(const char* name) override { word = name; }

    void set_analyzer(const char* name) override { word = std::string("@") + name; }

    void list_begin() override { word = "{"; }

    void list_add(const char* value) override { word += quoted(value) + " "; }

    void list_end() override { word.back() = '}'; }

    void set_arguments(engine::CScriptArguments* arguments) override { list = arguments; }

    static std::string quoted(const char* text) { return "\"" + std::string(text) + "\""; }

    std::string word;
    engine::CScriptArguments* list = nullptr;
};

/// A list in parentheses, inner lists behind the names of their calls. Nests without recursion.
inline std::string spelled(engine::CScriptArguments* arguments) {
    std::string text = "(";
    arguments->reset_index();
    std::vector<engine::CScriptArguments*> open{arguments};
    while (!open.empty()) {
        engine::CScriptArgument* argument = open.back()->next();
        if (argument == nullptr) {
            text += ")";
            open.pop_back();
            continue;
        }
        const auto& value = static_cast<recorded_value&>(*argument->argument());
        if (value.list != nullptr) {
            text += "(";
            value.list->reset_index();
            open.push_back(value.list);
            continue;
        }
        if (text.back() != '(') text += ", ";
        text += value.word;
    }
    return text;
}

/// Writes each call as one line.
class recording_body : public engine::CScriptBody {
public:
    recording_body(const char* where, const char* name, std::string& transcript)
        : CScriptBody(where, name), m_transcript(transcript) {}

    void object_begin(const char* name, engine::EObjectType type,
                      engine::CScriptArguments* arguments) override {
        note(std::string("begin ") + name + " " + engine::CObjectValue::get_obj_name(type) +
             spelled(arguments));
    }

    void object_property(const char* key, const char* value) override {
        note(std::string("property ") + key + "=" + value);
    }

    void object_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        note(std::string("call ") + engine::CFunctionValue::get_func_name(type) +
             spelled(arguments));
    }

    void object_end() override { note("end"); }

    void global_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        note(std::string("func ") + engine::CFunctionValue::get_func_name(type) +
             spelled(arguments));
    }

private:
    void note(const std::string& line) {
        m_transcript += line + "\n";
        if (line == throw_at) throw std::runtime_error("host fault");
    }

    std::string& m_transcript;

public:
    std::string throw_at;
};

/// A script whose Script sections are written to `transcript`.
class recording_script : public engine::CScript {
public:
    using CScript::CScript;

    std::string transcript;
    std::string throw_at;

protected:
    engine::CScriptArgument create_argument() override {
        return engine::CScriptArgument(&engine::CScriptArgument::delete_callback,
                                       new recorded_value);
    }

    engine::CScriptSection* add_section(const char* where, const char* name) override {
        if (get_name(name) != engine::section_script) return CScript::add_section(where, name);
        auto body = std::make_unique<recording_body>(where, name, transcript);
        body->throw_at = throw_at;
        return __add_section(std::move(body));
    }
};

/// A text as an installed script, with its outline read.
struct recorded_text {
    explicit recorded_text(const std::string& text)
        : scripts({{L"demo.sc", text}}), script(L"demo.sc") {
        script.init();
    }

    installed_scripts scripts;
    recording_script script;
};

} // namespace support
