#include "rows.h"

#include "data.h"
#include "script_content.h"
#include "script_peers.h"
#include "support/memory_store.h"

#include "core/bytearrayinputstream.h"
#include "morvantic/script.h"
#include "morvantic/scriptargumentcallbackbase.h"
#include "morvantic/scriptbody.h"
#include "morvantic/scriptparser.h"

#include <cmath>

// Reading scripts from memory to their ends, with a host that counts what it is given.

namespace bench {

namespace {

using texts = std::vector<std::string>;

// The host

/// Keeps what its value adds to a tally.
struct counted_value : engine::CScriptArgumentCallbackOf<counted_value> {
    void set_int(long long value) override { counted.add_number(value); }

    void set_bool(bool value) override { counted.add_number(value); }

    void set_string(const char* value) override { counted.add_text(value); }

    void set_analyzer(const char* name) override { counted.add_text(name); }

    void set_function(const char* name) override { counted.add_text(name); }

    void list_add(const char* value) override { counted.add_text(value); }

    void set_arguments(engine::CScriptArguments* arguments) override { inner = arguments; }

    tally counted;
    engine::CScriptArguments* inner = nullptr; // of the call before
};

class counting_body : public engine::CScriptBody {
public:
    counting_body(const char* where, const char* name, tally& found)
        : CScriptBody(where, name), m_found(found) {}

    void object_begin(const char* name, engine::EObjectType type,
                      engine::CScriptArguments* arguments) override {
        m_found.add_text(engine::CObjectValue::get_obj_name(type));
        if (*name != '\0') m_found.add_text(name);
        count(arguments);
    }

    void object_property(const char* /*key*/, const char* value) override {
        m_found.add_text(value);
    }

    void object_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        m_found.add_text(engine::CFunctionValue::get_func_name(type));
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
            m_found.add(value.counted);
            if (value.inner != nullptr) open(value.inner);
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
    counting_script(const std::wstring& name, tally& found)
        : CScript(name.c_str()), m_found(found) {}

protected:
    engine::CScriptArgument create_argument() override {
        return engine::CScriptArgument(&engine::CScriptArgument::delete_callback,
                                       new counted_value);
    }

    engine::CScriptSection* add_section(const char* where, const char* name) override {
        if (get_name(name) != engine::section_script) return CScript::add_section(where, name);
        return __add_section(std::make_unique<counting_body>(where, name, m_found));
    }

private:
    tally& m_found;
};

void read_sections(const std::wstring& name, tally& found) {
    counting_script script(name, found);
    script.init();
    for (const char* section : {"Header", "Include", "Script"})
        require(script.section("App", section) != nullptr, "the engine refuses a script");
}

void read_tokens(const std::wstring& name, tally& /*found*/) {
    engine::CScriptParser parser(nullptr, name);
    while (parser.next_token() != engine::token_eof) {}
}

/// A store of texts, which are opened without being copied. It is in its place only while it is
/// used: there is one such place in the process.
class text_store {
public:
    explicit text_store(const texts& content) {
        support::memory_store::texts files;
        for (const std::string& text : content)
            files.emplace(names.emplace_back(L"script" + std::to_wstring(files.size()) + L".sc"),
                          text);
        auto store = std::make_unique<support::memory_store>(std::move(files));
        store->load();
        store->open = [](const std::string& text) {
            return std::make_unique<core::CShallowByteArrayInputStream>(
                reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        };
        m_slot = std::move(store);
    }

    template <class Read>
    tally read_all(Read read) {
        tally found;
        m_slot.swap(engine::storage_test_seam::package());
        for (const std::wstring& name : names)
            read(name, found);
        m_slot.swap(engine::storage_test_seam::package());
        return found;
    }

    std::vector<std::wstring> names;

private:
    engine::storage_test_seam::slot m_slot;
};

/// Reads all texts; `units` are what is in them.
work reading(const texts& content, double units, void (*read)(const std::wstring&, tally&)) {
    return {units, [store = std::make_shared<text_store>(content), read](proof* found) {
                const tally counted = store->read_all(read);
                if (found != nullptr) counted.add_to(*found);
            }};
}

// The texts

/// The 600 scripts, or the same content in another language: 1 to 40 KB of script each, 6.6 MB in
/// all.
texts corpus(language which) {
    constexpr std::size_t count = 600;
    static constexpr const char* names[] = {"scripts.sc", "scripts.lua", "scripts.cfg",
                                            "scripts.toml"};
    return data::texts(names[which], [which] {
        texts made;
        for (unsigned i = 0; i != count; ++i) {
            const double part = static_cast<double>(i) / (count - 1);
            const auto size = static_cast<std::size_t>(1000 + 39000 * std::pow(part, 3));
            made.push_back(make_content(which, i, size, 0));
        }
        return made;
    });
}

double bytes_of(const texts& content) {
    double sum = 0;
    for (const std::string& text : content)
        sum += static_cast<double>(text.size());
    return sum;
}

/// One script with so many statements.
texts long_script(std::size_t statements) {
    return data::texts("statements" + std::to_string(statements),
                       [=] { return texts{make_content(in_script, 1, 0, statements)}; });
}

/// So many calls, each the only argument of the one before.
texts nested_script(std::size_t levels) {
    std::string text = make_content(in_script, 1, 0, 0);
    text.insert(text.rfind('}'), "func setSpecific(");
    std::string calls;
    for (std::size_t i = 0; i != levels; ++i)
        calls += "default::f(";
    text.insert(text.rfind('}'), calls.append(levels, ')') + ");\n");
    return {text};
}

// The rows

work by_engine(void (*read)(const std::wstring&, tally&)) {
    const texts content = corpus(in_script);
    return reading(content, bytes_of(content), read);
}

/// Per byte of script, for each language: the content is the same.
std::function<work()> by_peer(language which, void (*read)(const std::string&, tally*)) {
    return [=] {
        return work{bytes_of(corpus(in_script)), [content = corpus(which), read](proof* found) {
                        tally counted;
                        for (const std::string& text : content)
                            read(text, found != nullptr ? &counted : nullptr);
                        if (found != nullptr) counted.add_to(*found);
                    }};
    };
}

row parsing() {
    return {"parse",
            "byte",
            {{"engine", [] { return by_engine(read_sections); }},
             {"Lua's loader", by_peer(in_lua, read_by_lua), 0.43},
             {"libconfig++", by_peer(in_libconfig, read_by_libconfig)},
             {"toml++", by_peer(in_toml, read_by_toml)}},
            0,
            55};
}

/// The cost of a unit where there are many beside that where there are few.
row growing(const char* name, const char* unit, texts (*make)(std::size_t)) {
    const auto with = [make](std::size_t units) {
        return [=] { return reading(make(units), static_cast<double>(units), read_sections); };
    };
    return {name, unit, {{"of 100k", with(100'000)}, {"of 1k", with(1000), most_growth}},
            0,    0,    false};
}

} // namespace

std::vector<row> script_rows() {
    return {parsing(),
            {"tokens", "byte", {{"engine", [] { return by_engine(read_tokens); }}}, 0, 12},
            growing("growth_parse", "statement", long_script),
            growing("growth_nesting", "level", nested_script)};
}

} // namespace bench
