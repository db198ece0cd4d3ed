#include "script_content.h"

#include "morvantic/scriptvalues.h"

#include <iterator>
#include <random>
#include <utility>
#include <vector>

namespace bench {

namespace {

// The model

enum value_kind {
    value_number,
    value_enum,
    value_bool,
    value_text,
    value_constant,
    value_analyzer,
    value_list,
    value_call,
};

struct value {
    value_kind kind;
    long long number = 0;
    std::string text = {}; // of a call its name
    std::vector<std::string> items = {};
    std::vector<value> arguments = {};
};

struct function {
    std::string name;
    std::vector<value> arguments;
};

struct object {
    std::string comment;
    std::string name;
    std::string type;
    std::vector<std::pair<std::string, std::string>> properties;
    std::vector<value> arguments;
    std::string constant; // its text, empty if there is none
    std::vector<function> functions;
};

constexpr char constant_name[] = "table";

// Vocabulary

/// A function or an object type, with a letter for each argument: t text, k the object's constant,
/// n number, b bool, l list of strings, a analyzer, p place in the file system, e enumeration value
/// of another kind, c call.
struct shape {
    const char* name;
    const char* arguments;
};

constexpr shape global_functions[] = {
    {"addConstantToXQuery", "tt"},
    {"addAdditionalFolder", "ptb"},
    {"addDomainGroupFolder", "t"},
    {"setPathToIdModifier", "c"},
};

constexpr shape object_functions[] = {
    {"functionOnColumn", "ktc"},
    {"functionOnColumn", "ktc"},
    {"functionOnValue", "tec"},
    {"idOnColumn", "ktt"},
    {"idRefOnColumn", "ktt"},
    {"customizableIdRefOnColumn", "kttc"},
    {"customizableIdOnColumns", "kltc"},
    {"analyzeColumn", "kta"},
    {"analyzeConstColumns", "klpta"},
    {"extractToNewColumn", "kttc"},
    {"addSelectedTables", "l"},
    {"setRecoveryFilteringOnColumns", "kl"},
    {"setSpecific", "e"},
    {"setFileFunction", "c"},
    {"discardAllNonValidRecoveryLines", "b"},
    {"setInstantInitialize", "b"},
};

constexpr shape object_types[] = {
    {"SqliteAnalyzer", "pt"},  {"SqliteAnalyzer", "pl"}, {"PlistAnalyzer", "pt"},
    {"JsonAnalyzer", "pt"},    {"XmlAnalyzer", "pt"},    {"ObfuscatedAnalyzer", "plec"},
    {"ProtobufAnalyzer", "t"}, {"MediaAnalyzer", ""},    {"SmartAnalyzer", "aa"},
};

constexpr shape python_functions[] = {
    {"default::unix_time", "n"},    {"default::apple_time", ""},    {"default::yes_no", ""},
    {"default::path_segment", "n"}, {"default::phone_number", "t"}, {"default::strip_prefix", "l"},
    {"default::app_file", "pt"},    {"default::join_values", "tb"}, {"default::open_archive", "ct"},
    {"default::unscramble", "cn"},
};

constexpr const char* words[] = {
    "chat",  "message", "member", "attachment", "activity", "track",   "person",   "picture",
    "vault", "account", "entry",  "note",       "call",     "session", "location", "created_at",
    "seen",  "sender",  "uid",    "sequence",   "state",    "title",   "kind",     "avatar",
};

constexpr const char* folders[] = {"databases/", "files/", "Library/", "cache/upload/"};
constexpr const char* endings[] = {".db", ".sqlite", ".plist", ".json", "/*.part"};
constexpr const char* properties[] = {"recover", "wal", "optional", "encoding", "message"};
constexpr long long numbers[] = {1, -1, 0, 1000, 1000000, 978307200};

/// Invents a content, the same for the same seed.
class author {
public:
    explicit author(unsigned seed) : random(seed) {}

    bool once_in(std::size_t n) { return below(n) == 0; }

    function global_function() { return called(pick(global_functions)); }

    object next_object() {
        const auto& [type, arguments] = pick(object_types);
        object made;
        if (once_in(3)) made.comment = "The rest is kept in " + path();
        made.type = type;
        for (std::size_t i = below(3), at = below(std::size(properties)); i != 0; --i) {
            const char* key = properties[(at + i) % std::size(properties)];
            made.properties.emplace_back(key, once_in(2) ? word() : "");
        }
        made.arguments = values(arguments);
        if (arguments[0] != '\0') {
            made.constant = constant = word();
            for (std::size_t i = 2 + below(10); i != 0; --i)
                made.functions.push_back(called(pick(object_functions)));
        }
        if (!once_in(4)) {
            made.name = word() + "_" + std::to_string(analyzers.size());
            analyzers.push_back(made.name);
        }
        return made;
    }

private:
    std::size_t below(std::size_t n) { return random() % n; }

    template <class T, std::size_t size>
    const T& pick(const T (&choice)[size]) {
        return choice[below(size)];
    }

    std::string word() { return pick(words); }

    std::string path() {
        std::string made = pick(folders);
        made += word();
        return made += pick(endings);
    }

    std::string text() {
        if (once_in(4)) return path();
        std::string made = word();
        if (once_in(2)) return made;
        made += "_";
        return made += word();
    }

    function called(const shape& what) { return {what.name, values(what.arguments)}; }

    std::vector<value> values(const char* shapes) {
        std::vector<value> made;
        for (; *shapes != '\0'; ++shapes)
            made.push_back(one_value(*shapes));
        return made;
    }

    value one_value(char kind) {
        switch (kind) {
        case 'n':
            return {value_number, once_in(2) ? pick(numbers) : static_cast<int>(below(100000))};
        case 'b':
            return {value_bool, once_in(2)};
        case 'p':
            return {value_enum, engine::enum_fs_raw + static_cast<int>(below(3))};
        case 'e':
            return {value_enum, engine::enum_plist_array + static_cast<int>(below(20))};
        case 'l':
            return list();
        case 'c':
            return call();
        case 'a':
            if (!analyzers.empty()) return {value_analyzer, 0, analyzers[below(analyzers.size())]};
            break;
        case 'k':
            return {value_constant, 0, constant};
        }
        return {value_text, 0, text()};
    }

    value list() {
        value made{value_list};
        for (std::size_t i = 1 + below(4); i != 0; --i)
            made.items.push_back(text());
        return made;
    }

    value call() {
        function made = called(pick(python_functions));
        return {value_call, 0, std::move(made.name), {}, std::move(made.arguments)};
    }

    std::mt19937 random;
    std::vector<std::string> analyzers; // so far
    std::string constant;               // of the object at hand
};

// Counting

void count(const std::vector<value>& values, tally& found) {
    for (const value& one : values) {
        std::uint64_t size = 0;
        switch (one.kind) {
        case value_number:
        case value_enum:
            found.add_number(one.number);
            break;
        case value_bool:
            found.add_bool(one.number != 0);
            break;
        case value_text:
        case value_constant:
        case value_analyzer:
            found.add_text(one.text.size());
            break;
        case value_list:
            for (const std::string& item : one.items)
                size += item.size();
            found.add_list(one.items.size(), size);
            break;
        case value_call:
            found.add_call(one.text.size());
            count(one.arguments, found);
            break;
        }
    }
}

void count(const function& counted, tally& found) {
    found.add_function(counted.name);
    count(counted.arguments, found);
}

void count(const object& counted, tally& found) {
    found.add_object(counted.type, counted.name);
    count(counted.arguments, found);
    for (const auto& [key, text] : counted.properties)
        found.add_property(key, text);
    for (const function& each : counted.functions)
        count(each, found);
}

// Spelling

/// How a language writes lists and calls, and whether it has names for values.
struct notation {
    bool has_names;
    const char* before_list;
    const char* after_list;
    const char* before_call;
    const char* before_arguments;
    const char* after_call;
};

constexpr notation in_script{true, "{", "}", "", "(", ")"};
constexpr notation in_libconfig{false, "[", "]", "{ call = \"", "\"; arguments = (", "); }"};
constexpr notation in_toml{false, "[", "]", "{ call = \"", "\", arguments = [", "] }"};

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string spelled(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : ", ") + quoted(item);
    return text;
}

std::string spelled(const std::vector<value>& values, const notation& how);

std::string spelled(const value& one, const notation& how) {
    switch (one.kind) {
    case value_bool:
        return one.number != 0 ? "true" : "false";
    case value_number:
        return std::to_string(one.number);
    case value_enum:
        if (!how.has_names) return std::to_string(one.number);
        return engine::CEnumValue::get_enum_name(static_cast<engine::EEnumValue>(one.number));
    case value_text:
        return quoted(one.text);
    case value_constant:
        return how.has_names ? constant_name : quoted(one.text);
    case value_analyzer:
        return how.has_names ? one.text : quoted(one.text);
    case value_list:
        return how.before_list + spelled(one.items) + how.after_list;
    case value_call:
        break;
    }
    return how.before_call + one.text + how.before_arguments + spelled(one.arguments, how) +
           how.after_call;
}

std::string spelled(const std::vector<value>& values, const notation& how) {
    std::string text;
    for (const value& one : values) {
        if (!text.empty()) text += ", ";
        text += spelled(one, how);
    }
    return text;
}

std::string script_function(const function& spelt) {
    return spelt.name + "(" + spelled(spelt.arguments, in_script) + ");\n";
}

std::string script_object(const object& spelt) {
    std::string pairs;
    for (const auto& [key, text] : spelt.properties) {
        pairs += (pairs.empty() ? "" : ", ") + quoted(key) + (text.empty() ? "" : " ") + text;
    }
    std::string out = "\n";
    if (!spelt.comment.empty()) out += "    // " + spelt.comment + "\n";
    out += "    " + spelt.name + (spelt.name.empty() ? "" : " = ") + spelt.type;
    out += "<" + pairs + ">(" + spelled(spelt.arguments, in_script) + ") {";
    if (!spelt.functions.empty()) out += "\n";
    if (!spelt.constant.empty()) {
        out += std::string("        const ") + constant_name + " = " + quoted(spelt.constant) +
               ";\n\n";
    }
    for (const function& each : spelt.functions)
        out += "        " + script_function(each);
    return out + (spelt.functions.empty() ? "}\n" : "    }\n");
}

std::string libconfig_function(const function& spelt) {
    return "{ function = \"" + spelt.name + "\"; arguments = (" +
           spelled(spelt.arguments, in_libconfig) + "); }";
}

std::string libconfig_object(const object& spelt) {
    std::string out;
    if (!spelt.comment.empty()) out += "    # " + spelt.comment + "\n";
    out += "    {\n        object = " + quoted(spelt.type) + ";\n";
    if (!spelt.name.empty()) out += "        name = " + quoted(spelt.name) + ";\n";
    if (!spelt.properties.empty()) {
        out += "        properties = { ";
        for (const auto& [key, text] : spelt.properties)
            out += key + " = " + quoted(text) + "; ";
        out += "};\n";
    }
    out += "        arguments = (" + spelled(spelt.arguments, in_libconfig) + ");\n";
    const char* separator = "        statements = (\n            ";
    for (const function& each : spelt.functions) {
        out += separator + libconfig_function(each);
        separator = ",\n            ";
    }
    return out + (spelt.functions.empty() ? "    }" : "\n        );\n    }");
}

std::string toml_function(const function& spelt) {
    return "function = \"" + spelt.name + "\"\narguments = [" + spelled(spelt.arguments, in_toml) +
           "]\n";
}

std::string toml_object(const object& spelt) {
    std::string out = "\n";
    if (!spelt.comment.empty()) out += "# " + spelt.comment + "\n";
    out += "[[statements]]\nobject = " + quoted(spelt.type) + "\n";
    if (!spelt.name.empty()) out += "name = " + quoted(spelt.name) + "\n";
    if (!spelt.properties.empty()) {
        const char* separator = "properties = { ";
        for (const auto& [key, text] : spelt.properties) {
            out += separator + key + " = " + quoted(text);
            separator = ", ";
        }
        out += " }\n";
    }
    out += "arguments = [" + spelled(spelt.arguments, in_toml) + "]\n";
    for (const function& each : spelt.functions)
        out += "\n[[statements.statements]]\n" + toml_function(each);
    return out;
}

} // namespace

script_content::script_content(std::size_t script_size) {
    author invented(1);
    script = "::App::Script::{\n";
    const char* separator = "statements = (\n";
    while (script.size() < script_size) {
        libconfig += separator;
        separator = ",\n";
        if (invented.once_in(5)) {
            const function made = invented.global_function();
            count(made, expected);
            script += "    func " + script_function(made);
            libconfig += "    " + libconfig_function(made);
            toml += "\n[[statements]]\n" + toml_function(made);
        } else {
            const object made = invented.next_object();
            count(made, expected);
            script += script_object(made);
            libconfig += libconfig_object(made);
            toml += toml_object(made);
        }
    }
    script += "}\n";
    libconfig += "\n);\n";
}

} // namespace bench
