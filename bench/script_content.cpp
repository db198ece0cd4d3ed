#include "script_content.h"

#include "morvantic/scriptvalues.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

// Each piece is written twice: as script, and plainly as TOML has it. Lua and libconfig differ from
// TOML in their brackets alone, as long as no text has any.

namespace bench {

namespace {

struct piece {
    std::string script;
    std::string plain;
};

// The Header and Include sections; the number of the script takes the place of each "%".

constexpr const char* script_preamble = R"(::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "net.example.app%", "net.example.app%.beta";
        platforms = platform.Android, platform.iOS;
        versionMin = "5.0";
        namespaces = "Chats", "People";
    }
}

::App::Include::{
    crypto = Python {
        path = "python/app%_crypto.py";
        versionMin = "3.6.2";
        dependencies = "Default.py";
    }

    XQuery { path = "xquery/app%/messages.xq"; index = 1; }
    XQuery { path = "xquery/app%/people.xq"; index = 2; }
}

::App::Script::{
)";

constexpr const char* plain_preamble = R"(header = { engineVersion = 1000000, packages = [
    { names = ["net.example.app%", "net.example.app%.beta"], platforms = [1, 2], versionMin = "5.0", namespaces = ["Chats", "People"] }] }
include = { modules = [
    { name = "crypto", path = "python/app%_crypto.py", versionMin = "3.6.2", dependencies = ["Default.py"] }], queries = [
    { path = "xquery/app%/messages.xq", index = 1 },
    { path = "xquery/app%/people.xq", index = 2 }] }
statements = [
)";

std::string numbered(std::string text, unsigned number) {
    for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at))
        text.replace(at, 1, std::to_string(number));
    return text;
}

// Vocabulary

/// A function or an object type, with a letter for each argument: t text, k the object's constant,
/// n number, b bool, l list of strings, a analyzer, p place in the file system, e enumeration value
/// of another kind, c call.
struct shape {
    const char* name;
    const char* arguments;
};

constexpr shape global_functions[] = {{"addConstantToXQuery", "tt"},
                                      {"addAdditionalFolder", "ptb"},
                                      {"addDomainGroupFolder", "t"},
                                      {"setPathToIdModifier", "c"}};

constexpr shape object_functions[] = {{"functionOnColumn", "ktc"},
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
                                      {"setInstantInitialize", "b"},
                                      {"discardAllNonValidRecoveryLines", "b"}};

constexpr shape object_types[] = {
    {"SqliteAnalyzer", "pt"},  {"SqliteAnalyzer", "pl"}, {"PlistAnalyzer", "pt"},
    {"JsonAnalyzer", "pt"},    {"XmlAnalyzer", "pt"},    {"ObfuscatedAnalyzer", "plec"},
    {"ProtobufAnalyzer", "t"}, {"MediaAnalyzer", ""},    {"SmartAnalyzer", "aa"}};

constexpr shape python_functions[] = {
    {"default::unix_time", "n"},    {"default::apple_time", ""},    {"default::yes_no", ""},
    {"default::path_segment", "n"}, {"default::phone_number", "t"}, {"default::strip_prefix", "l"},
    {"default::app_file", "pt"},    {"default::join_values", "tb"}, {"crypto::open_archive", "ct"},
    {"crypto::unscramble", "cn"}};

constexpr const char* words[] = {
    "chat",  "message", "member", "attachment", "activity", "track",   "person",   "picture",
    "vault", "account", "entry",  "note",       "call",     "session", "location", "created_at",
    "seen",  "sender",  "uid",    "sequence",   "state",    "title",   "kind",     "avatar"};

constexpr const char* folders[] = {"databases/", "files/", "Library/", "cache/upload/"};
constexpr const char* endings[] = {".db", ".sqlite", ".plist", ".json", "/*.part"};
constexpr const char* properties[] = {"recover", "wal", "optional", "encoding", "message"};
constexpr long long numbers[] = {1, -1, 0, 1000, 1000000, 978307200};

// The author

std::string quoted(const std::string& text) { return '"' + text + '"'; }

piece alike(const std::string& text) { return {text, text}; }

piece enumeration(int number) {
    const auto named = static_cast<engine::EEnumValue>(number);
    return {engine::CEnumValue::get_enum_name(named), std::to_string(number)};
}

class author {
public:
    explicit author(unsigned seed) : m_random(seed) {}

    piece statement() { return once_in(5) ? global_function() : object(); }

    std::size_t statements = 0; // so far

private:
    bool once_in(std::size_t n) { return below(n) == 0; }

    std::size_t below(std::size_t n) { return m_random() % n; }

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

    piece text() {
        if (once_in(4)) return alike(quoted(path()));
        std::string made = word();
        if (once_in(2)) made += "_" + word();
        return alike(quoted(made));
    }

    /// Without brackets.
    template <class Make>
    piece list(std::size_t count, Make make) {
        piece made;
        for (std::size_t i = 0; i != count; ++i) {
            const piece item = make(i);
            made.script += (i == 0 ? "" : ", ") + item.script;
            made.plain += (i == 0 ? "" : ", ") + item.plain;
        }
        return made;
    }

    piece arguments(const std::string& shapes) {
        return list(shapes.size(), [&](std::size_t i) { return argument(shapes[i]); });
    }

    piece argument(char kind) {
        switch (kind) {
        case 'n':
            if (once_in(2)) return alike(std::to_string(pick(numbers)));
            return alike(std::to_string(below(100000)));
        case 'b':
            return alike(once_in(2) ? "true" : "false");
        case 'p':
            return enumeration(engine::enum_fs_raw + static_cast<int>(below(3)));
        case 'e':
            return enumeration(engine::enum_plist_array + static_cast<int>(below(20)));
        case 'k':
            return {"table", quoted(m_constant)};
        case 'l': {
            const piece items = list(1 + below(4), [&](std::size_t) { return text(); });
            return {"{" + items.script + "}", "[" + items.plain + "]"};
        }
        case 'c':
            return called("call", pick(python_functions));
        default:
            if (kind != 'a' || m_analyzers.empty()) return text();
            const std::string& name = m_analyzers[below(m_analyzers.size())];
            return {name, quoted(name)};
        }
    }

    /// A call with its arguments.
    piece called(const std::string& key, const shape& what) {
        const piece values = arguments(what.arguments);
        return {what.name + ("(" + values.script) + ")",
                "{ " + key + " = \"" + what.name + "\", args = [" + values.plain + "] }"};
    }

    piece global_function() {
        ++statements;
        const piece made = called("func", pick(global_functions));
        return {"    func " + made.script + ";\n", "    " + made.plain};
    }

    /// Its constant, and what is called with it.
    piece body() {
        m_constant = word();
        piece made{"\n        const table = " + quoted(m_constant) + ";\n\n", ", statements = ["};
        const char* separator = "\n        ";
        for (std::size_t left = 2 + below(10); left != 0; --left) {
            ++statements;
            const piece next = called("func", pick(object_functions));
            made.script += "        " + next.script + ";\n";
            made.plain += separator + next.plain;
            separator = ",\n        ";
        }
        return {made.script + "    ", made.plain + "]"};
    }

    piece object() {
        ++statements;
        const shape& what = pick(object_types);
        const std::string comment = once_in(3) ? "The rest is kept in " + path() + "\n    " : "";
        const std::size_t first = below(std::size(properties));
        const piece pairs = list(below(3), [&](std::size_t i) {
            const std::string key = properties[(first + i) % std::size(properties)];
            const std::string of_key = once_in(2) ? word() : "";
            return piece{quoted(key) + (of_key.empty() ? "" : " " + of_key),
                         key + " = " + quoted(of_key)};
        });
        const piece values = arguments(what.arguments);
        const piece inner = *what.arguments != '\0' ? body() : piece{};
        std::string name;
        if (!once_in(4)) {
            name = word() + "_" + std::to_string(m_analyzers.size());
            m_analyzers.push_back(name);
        }
        return {"\n    " + (comment.empty() ? "" : "// " + comment) +
                    (name.empty() ? "" : name + " = ") + what.name + "<" + pairs.script + ">(" +
                    values.script + ") {" + inner.script + "}\n",
                "\n    " + (comment.empty() ? "" : "# " + comment) + "{ object = \"" + what.name +
                    "\"" + (name.empty() ? "" : ", name = " + quoted(name)) +
                    (pairs.plain.empty() ? "" : ", properties = { " + pairs.plain + " }") +
                    ", args = [" + values.plain + "]" + inner.plain + " }"};
    }

    std::mt19937 m_random;
    std::vector<std::string> m_analyzers; // so far
    std::string m_constant;               // of the object at hand
};

std::string with_brackets(std::string plain, const char* brackets) {
    std::replace(plain.begin(), plain.end(), '[', brackets[0]);
    std::replace(plain.begin(), plain.end(), ']', brackets[1]);
    return plain;
}

std::string with_lua_comments(std::string plain) {
    for (std::size_t at = plain.find("# "); at != std::string::npos; at = plain.find("# ", at))
        plain.replace(at, 1, "--");
    return plain;
}

} // namespace

std::string make_content(language which, unsigned seed, std::size_t script_size,
                         std::size_t statements) {
    author invented(seed);
    piece made{numbered(script_preamble, seed), numbered(plain_preamble, seed)};
    const char* separator = "";
    while (made.script.size() < script_size || invented.statements < statements) {
        const piece next = invented.statement();
        made.script += next.script;
        made.plain += separator + next.plain;
        separator = ",\n";
    }
    made.plain += "\n]\n";
    switch (which) {
    case in_script:
        return made.script + "}\n";
    case in_lua:
        return with_brackets(with_lua_comments(made.plain), "{}");
    case in_libconfig:
        return with_brackets(made.plain, "()");
    case in_toml:
        break;
    }
    return made.plain;
}

} // namespace bench
