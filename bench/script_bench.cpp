// Reading a script from memory to its end, beside two libraries for configuration files that read
// the same content in their own languages, and reading calls nested ever deeper. Each reader makes
// the values out of the text, visits all of them and must find what the content holds. Bytes are
// those of the own text, so readers compare by items: the values. Run with
//
//     script_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
//
// The peers have no part in the nesting: toml++ takes some hundred calls inside one another,
// libconfig less than two thousand.

#include "script_content.h"

#include "support/memory_store.h"

#include "core/bytearrayinputstream.h"
#include "morvantic/script.h"
#include "morvantic/scriptargumentcallbackbase.h"
#include "morvantic/scriptbody.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <libconfig.h++>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <toml++/toml.h>
#include <vector>

namespace {

using bench::script_content;
using bench::tally;

// The engine

/// Keeps what its value adds to a tally.
struct counted_value : engine::CScriptArgumentCallbackOf<counted_value> {
    enum kind_of_value : std::uint8_t { number, boolean, text, list, call };

    void set_int(long long value) override { amount = value; }

    void set_bool(bool value) override { set(boolean, value); }

    void set_string(const char* value) override { set(text, size_of(value)); }

    void set_analyzer(const char* name) override { set(text, size_of(name)); }

    void set_function(const char* name) override { set(call, size_of(name)); }

    void list_begin() override { kind = list; }

    void list_add(const char* value) override {
        ++items;
        amount += size_of(value);
    }

    void set_arguments(engine::CScriptArguments* arguments) override { inner = arguments; }

    void add_to(tally& found) const noexcept {
        switch (kind) {
        case number:
            return found.add_number(amount);
        case boolean:
            return found.add_bool(amount != 0);
        case text:
            return found.add_text(static_cast<std::uint64_t>(amount));
        case list:
            return found.add_list(items, static_cast<std::uint64_t>(amount));
        case call:
            return found.add_call(static_cast<std::uint64_t>(amount));
        }
    }

    kind_of_value kind = number;
    std::uint32_t items = 0;
    std::int64_t amount = 0;                   // the number, or the bytes of text
    engine::CScriptArguments* inner = nullptr; // of the call before

private:
    static std::int64_t size_of(const char* value) noexcept {
        return static_cast<std::int64_t>(std::strlen(value));
    }

    void set(kind_of_value what, std::int64_t value) noexcept {
        kind = what;
        amount = value;
    }
};

class counting_body : public engine::CScriptBody {
public:
    counting_body(const char* where, const char* name, tally& found)
        : CScriptBody(where, name), m_found(found) {}

    void object_begin(const char* name, engine::EObjectType type,
                      engine::CScriptArguments* arguments) override {
        m_found.add_object(engine::CObjectValue::get_obj_name(type), name);
        count(arguments);
    }

    void object_property(const char* key, const char* value) override {
        m_found.add_property(key, value);
    }

    void object_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        m_found.add_function(engine::CFunctionValue::get_func_name(type));
        count(arguments);
    }

    void object_end() override {}

    void global_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        object_function(type, arguments);
    }

private:
    /// Goes into the lists of calls without recursion: they nest deeper than the stack.
    void count(engine::CScriptArguments* arguments) {
        open(arguments);
        while (!m_open.empty()) {
            engine::CScriptArgument* argument = m_open.back()->next();
            if (argument == nullptr) {
                m_open.pop_back();
                continue;
            }
            const auto& value = static_cast<counted_value&>(*argument->argument());
            if (value.inner != nullptr) {
                open(value.inner);
            } else {
                value.add_to(m_found);
            }
        }
    }

    void open(engine::CScriptArguments* arguments) {
        arguments->reset_index();
        m_open.push_back(arguments);
    }

    tally& m_found;
    std::vector<engine::CScriptArguments*> m_open; // from the outside in
};

class counting_script : public engine::CScript {
public:
    using CScript::CScript;

    tally found;

protected:
    engine::CScriptArgument create_argument() override {
        return engine::CScriptArgument(&engine::CScriptArgument::delete_callback,
                                       new counted_value);
    }

    engine::CScriptSection* add_section(const char* where, const char* name) override {
        return __add_section(std::make_unique<counting_body>(where, name, found));
    }
};

/// A text as the one installed script, which is opened without being copied.
struct installed_text {
    explicit installed_text(const std::string& text) : scripts({{L"bench.sc", text}}) {
        scripts.store.open = [](const std::string& content) {
            return std::make_unique<core::CShallowByteArrayInputStream>(
                reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
        };
    }

    support::installed_scripts scripts;
};

tally read_installed() {
    counting_script script(L"bench.sc");
    script.init();
    script.section("App", "Script");
    return script.found;
}

// libconfig

void count(const libconfig::Setting& values, tally& found);

void count_list(const libconfig::Setting& items, tally& found) {
    std::uint64_t size = 0;
    for (int i = 0; i != items.getLength(); ++i)
        size += std::strlen(items[i].c_str());
    found.add_list(static_cast<std::uint64_t>(items.getLength()), size);
}

void count_value(const libconfig::Setting& value, tally& found) {
    switch (value.getType()) {
    case libconfig::Setting::TypeInt:
        return found.add_number(static_cast<int>(value));
    case libconfig::Setting::TypeBoolean:
        return found.add_bool(value);
    case libconfig::Setting::TypeString:
        return found.add_text(std::strlen(value.c_str()));
    case libconfig::Setting::TypeArray:
        return count_list(value, found);
    case libconfig::Setting::TypeGroup:
        found.add_call(std::strlen(value["call"].c_str()));
        return count(value["arguments"], found);
    default:
        throw std::runtime_error("libconfig made something else of a value");
    }
}

void count(const libconfig::Setting& values, tally& found) {
    for (int i = 0; i != values.getLength(); ++i)
        count_value(values[i], found);
}

void count_statements(const libconfig::Setting& statements, tally& found) {
    for (int i = 0; i != statements.getLength(); ++i) {
        const libconfig::Setting& statement = statements[i];
        const char* word = nullptr;
        count(statement["arguments"], found);
        if (statement.lookupValue("function", word)) {
            found.add_function(word);
            continue;
        }
        const char* name = "";
        statement.lookupValue("name", name);
        found.add_object(statement["object"].c_str(), name);
        if (statement.exists("properties")) {
            const libconfig::Setting& properties = statement["properties"];
            for (int j = 0; j != properties.getLength(); ++j)
                found.add_property(properties[j].getName(), properties[j].c_str());
        }
        if (statement.exists("statements")) count_statements(statement["statements"], found);
    }
}

tally read_libconfig(const std::string& text) {
    libconfig::Config config;
    config.readString(text);
    tally found;
    count_statements(config.getRoot()["statements"], found);
    return found;
}

// toml++

void count(const toml::array& values, tally& found);

void count_list(const toml::array& items, tally& found) {
    std::uint64_t size = 0;
    for (const toml::node& item : items)
        size += item.ref<std::string>().size();
    found.add_list(items.size(), size);
}

void count_value(const toml::node& value, tally& found) {
    switch (value.type()) {
    case toml::node_type::integer:
        return found.add_number(value.ref<std::int64_t>());
    case toml::node_type::boolean:
        return found.add_bool(value.ref<bool>());
    case toml::node_type::string:
        return found.add_text(value.ref<std::string>().size());
    case toml::node_type::array:
        return count_list(*value.as_array(), found);
    case toml::node_type::table:
        found.add_call(value.as_table()->at("call").ref<std::string>().size());
        return count(*value.as_table()->at("arguments").as_array(), found);
    default:
        throw std::runtime_error("toml++ made something else of a value");
    }
}

void count(const toml::array& values, tally& found) {
    for (const toml::node& value : values)
        count_value(value, found);
}

void count_statements(const toml::array& statements, tally& found) {
    for (const toml::node& entry : statements) {
        const toml::table& statement = *entry.as_table();
        count(*statement.at("arguments").as_array(), found);
        if (const toml::node* word = statement.get("function")) {
            found.add_function(word->ref<std::string>());
            continue;
        }
        found.add_object(statement.at("object").ref<std::string>(),
                         statement["name"].value_or(std::string_view()));
        if (const toml::table* properties = statement["properties"].as_table()) {
            for (const auto& [key, value] : *properties)
                found.add_property(key, value.ref<std::string>());
        }
        if (const toml::array* inner = statement["statements"].as_array()) {
            count_statements(*inner, found);
        }
    }
}

tally read_toml(const std::string& text) {
    const toml::table root = toml::parse(text);
    tally found;
    count_statements(*root["statements"].as_array(), found);
    return found;
}

// Measuring

/// The content for the state's argument, made once.
const script_content& content_for(const benchmark::State& state) {
    static std::map<std::size_t, script_content> made;
    const auto size = static_cast<std::size_t>(state.range(0));
    return made.try_emplace(size, size).first->second;
}

/// Times `read`, which reads the text to its end.
template <class Read>
void measure(benchmark::State& state, const std::string& text, const tally& expected, Read read) {
    for (auto _ : state) {
        if (read() != expected) throw std::runtime_error("The reader found something else.");
    }
    const auto times = static_cast<std::uint64_t>(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size() * times));
    state.SetItemsProcessed(static_cast<std::int64_t>(expected.values() * times));
    state.SetComplexityN(static_cast<std::int64_t>(expected.values()));
}

void script_engine(benchmark::State& state) {
    const script_content& content = content_for(state);
    const installed_text installed(content.script);
    measure(state, content.script, content.expected, [] { return read_installed(); });
}

void script_libconfig(benchmark::State& state) {
    const script_content& content = content_for(state);
    measure(state, content.libconfig, content.expected,
            [&] { return read_libconfig(content.libconfig); });
}

void script_toml(benchmark::State& state) {
    const script_content& content = content_for(state);
    measure(state, content.toml, content.expected, [&] { return read_toml(content.toml); });
}

/// So many calls, each the only argument of the one before.
void nesting_engine(benchmark::State& state) {
    const auto levels = static_cast<std::size_t>(state.range(0));
    const std::string_view name = "default::f";
    std::string text = "::App::Script::{ func setSpecific(";
    tally expected;
    expected.add_function("setSpecific");
    for (std::size_t i = 0; i != levels; ++i) {
        text.append(name) += '(';
        expected.add_call(name.size());
    }
    text.append(levels, ')') += "); }\n";
    const installed_text installed(text);
    measure(state, text, expected, [] { return read_installed(); });
}

void script_sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)->Range(1000, 10'000'000)->Complexity(benchmark::oN);
    benchmark->Unit(benchmark::kMicrosecond);
}

void nesting_depths(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)->Range(1000, 1'000'000)->Complexity(benchmark::oN);
    benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(script_engine)->Apply(script_sizes);
BENCHMARK(script_libconfig)->Apply(script_sizes);
BENCHMARK(script_toml)->Apply(script_sizes);
BENCHMARK(nesting_engine)->Apply(nesting_depths);

} // namespace
