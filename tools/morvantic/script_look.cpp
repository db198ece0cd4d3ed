#include "script_look.h"

#include "finding_list.h"
#include "outline.h"
#include "script_names.h"
#include "script_report.h"
#include "token_list.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

using index = token_index;

/// Hands over the place of each code behind "morvantic-check-off:" in comments: codes with commas
/// between them, and then whatever an author has to say.
template <class Work>
void each_code_off(const token_list& list, Work&& work) {
    constexpr std::string_view switch_off = "morvantic-check-off:";
    constexpr std::string_view code_bytes = "abcdefghijklmnopqrstuvwxyz-";
    for (const script_token& comment : list.comments) {
        const std::string_view words = list.text.substr(0, comment.end);
        std::size_t at = words.find(switch_off, comment.begin);
        if (at == std::string_view::npos) continue;
        at += switch_off.size() - 1;
        do {
            const std::size_t begin = words.find_first_not_of(" \t", at + 1);
            if (begin == std::string_view::npos) break;
            at = std::min(words.find_first_not_of(code_bytes, begin), words.size());
            if (at != begin) work(begin, at);
        } while (at < words.size() && words[at] == ',');
    }
}

/// A section's tokens, from behind its opening brace up to its closing one.
struct section_range {
    section_head head;
    index begin = 0;
    index end = 0;
};

struct package_record {
    std::vector<index> names;
    std::vector<index> platforms; // the words behind the dots
    std::vector<index> namespaces;
    index version = none; // the property that was set last
    bool has_extra_fs = false;
};

using words = std::initializer_list<std::string_view>;

class looker {
public:
    looker(std::string_view text, const file_lookup& files) : m_list(text), m_files(files) {}

    std::vector<finding> look() {
        look_at_bytes();
        const script_outline outline = read_outline(m_list.text);
        look_at_sections(outline);
        for (const section_range& section : m_sections) {
            if (section.head == section_head{"App", "Header"}) look_at_header(section);
            if (section.head.name == "Include") look_at_include(section);
        }
        look_at_listed();
        look_at_scripts();
        return m_found.take();
    }

    const app_set& apps() const noexcept { return m_apps; }

private:
    template <class... Arguments>
    void add(std::string_view code, std::size_t begin, std::size_t end,
             const Arguments&... arguments) {
        m_found.add(code, begin, end, arguments...);
    }

    template <class... Arguments>
    void add_at(std::string_view code, index at, const Arguments&... arguments) {
        m_found.add(code, m_list[at].begin, m_list[at].end, arguments...);
    }

    // Bytes and tokens

    void look_at_bytes() {
        if (m_list.text.starts_with("\xEF\xBB\xBF")) add("byte-order-mark", 0, 3);
        for (const script_token& comment : m_list.comments) {
            if (comment.is_open) add("endless-comment", comment.begin, comment.begin + 2);
            const bool is_cut =
                comment.kind == token_line_comment && m_list.text[comment.end - 1] == '\xFF';
            if (is_cut) add("stray-byte", comment.end - 1, comment.end, "0xFF");
        }
        each_code_off(m_list, [&](std::size_t begin, std::size_t end) {
            const std::string_view code = m_list.text.substr(begin, end - begin);
            if (kind_of_code(code) == nullptr) add("code-unknown", begin, end, code);
        });
        for (index at = 0; at != m_list.tokens.size(); ++at) {
            const script_token& token = m_list[at];
            if (token.kind == '/') add("lone-slash", token.begin, token.end);
            if (token.kind == token_end && !is_ascii(token.begin)) {
                add("end-byte", token.begin, token.begin + 1);
            }
            if (is_stray(token)) at = look_at_stray(at);
        }
        // In a line comment or a string it is the same byte.
        const script_token& last = m_list.tokens.back();
        if (last.begin < m_list.text.size() && m_list.text[last.begin] == '"') {
            const std::size_t byte = m_list.text.find('\xFF', last.begin);
            if (byte != std::string_view::npos) add("end-byte", byte, byte + 1);
        }
    }

    bool is_stray(const script_token& token) const {
        return token.kind < 0 && token.kind != token_end && !is_ascii(token.begin);
    }

    /// Bytes side by side, such as those of one character, are one mistake. Gives the last of them.
    index look_at_stray(index at) {
        const std::size_t begin = m_list[at].begin;
        std::string bytes;
        for (;; ++at) {
            const std::size_t most = 4;
            std::array<char, 8> byte{};
            std::snprintf(byte.data(), byte.size(), "0x%02X", m_list[at].kind + 0x100);
            if (m_list[at].end - begin <= most)
                bytes += (bytes.empty() ? "" : " ") + std::string(byte.data());
            const script_token& next = m_list[at + 1];
            if (!is_stray(next) || next.begin != m_list[at].end) break;
        }
        const bool is_mark = begin == 0 && m_list.text.starts_with("\xEF\xBB\xBF");
        if (!is_mark) add("stray-byte", begin, m_list[at].end, bytes);
        return at;
    }

    bool is_ascii(std::size_t at) const {
        return at >= m_list.text.size() || static_cast<signed char>(m_list.text[at]) >= 0;
    }

    // Sections

    void look_at_sections(const script_outline& outline) {
        std::set<section_head> known;
        for (const section_place& place : outline.places) {
            const section_head& head = place.head;
            const std::size_t end = place.body - 1;
            if (!known.insert(head).second) {
                add("section-repeated", place.begin, end,
                    "::" + head.where + "::" + head.name + "::");
                continue;
            }
            const bool is_header = head == section_head{"App", "Header"};
            if (!is_header && head.name != "Include" && head.name != "Script") {
                add("section-unread", place.begin, end);
                continue;
            }
            m_sections.push_back({head, m_list.at_offset(place.body), m_list.at_offset(place.end)});
            m_heads.emplace(head, place);
        }
        m_is_whole = outline.places.empty()
                         ? m_list.end() == 0
                         : m_list.at_offset(outline.places.back().end) + 1 == m_list.end();
        if (!m_is_whole || known.contains({"App", "Header"})) return; // or the engine tells
        if (outline.places.empty()) return add("header-missing", 0, 0);
        const section_place& first = outline.places.front();
        add("header-missing", first.begin, first.body - 1);
    }

    // Header and Include

    /// Behind an item that a block does not know, as the engine goes on there.
    index behind_unknown(index at, index block_end) {
        const bool is_property =
            m_list.spelled(at).front() >= 'a' && m_list.spelled(at).front() <= 'z';
        if (!m_list.is(at + 1, is_property ? '=' : '{')) {
            m_is_cut = true;
            return block_end;
        }
        if (!is_property) return behind_braces(at + 2);
        const index semicolon = m_list.next_semicolon(at + 2);
        if (semicolon == m_list.end()) {
            add_at("endless-property", at, m_list.spelled(at));
        } else if (semicolon > block_end || has_more_than_values(at + 2, semicolon)) {
            add_at("swallowing-property", at, m_list.spelled(at));
        }
        return std::min(semicolon + 1, block_end);
    }

    bool has_more_than_values(index at, index end) const {
        for (; at != end; ++at) {
            if (m_list.is(at, '=') || m_list.is(at, '{') || m_list.is(at, '}')) return true;
        }
        return false;
    }

    /// From behind an opening brace to behind its closing one.
    index behind_braces(index at) const {
        for (std::size_t depth = 1; at < m_list.end(); ++at) {
            if (m_list.is(at, '{')) ++depth;
            if (m_list.is(at, '}') && --depth == 0) return at + 1;
        }
        return at;
    }

    /// Goes through the items of a block: `known(at, end)` gives the place behind an item that it
    /// knows, or `none`.
    template <class Known>
    void each_item(index begin, index end, Known&& known) {
        for (index at = begin; at < end;) {
            if (!m_list.is(at, token_word)) {
                ++at; // the engine tells
                continue;
            }
            const index behind = known(at, end);
            at = behind != none ? behind : behind_unknown(at, end);
        }
    }

    /// Behind the semicolon of a property; its values are handed over one by one.
    template <class Value>
    index each_value(index at, index end, Value&& value) const {
        for (; at < end && !m_list.is(at, ';'); ++at)
            value(at);
        return at + 1;
    }

    /// The same where its values do not matter. The name of a constant is noted.
    index behind_property(index at, index end) {
        if (m_list.is_word(at, "const")) m_globals.insert(m_list.spelled(at + 1));
        return each_value(at + 1, end, [](index) {});
    }

    bool is_one_of(index at, words known) const {
        return std::any_of(known.begin(), known.end(),
                           [&](std::string_view word) { return m_list.is_word(at, word); });
    }

    void look_at_header(const section_range& section) {
        each_item(section.begin, section.end, [&](index at, index end) {
            if (m_list.is_word(at, "Package")) return read_package(at, end);
            if (!is_one_of(at, {"const", "engineVersion"})) return none;
            if (m_list.is_word(at, "engineVersion")) add_at("version-ignored", at, "engineVersion");
            return behind_property(at, end);
        });
    }

    index read_package(index at, index end) {
        if (!m_list.is(at + 1, '{')) {
            m_is_cut = true;
            return end;
        }
        const index behind = std::min(behind_braces(at + 2), end);
        package_record record;
        each_item(at + 2, behind - 1, [&](index item, index block_end) {
            if (!is_one_of(item, {"const", "names", "namespaces", "platforms", "versionMin",
                                  "versionMax", "hasExtraFS"})) {
                return none;
            }
            note_version(item, record);
            // The values of the last one count, but for platforms.
            if (m_list.is_word(item, "names")) record.names.clear();
            if (m_list.is_word(item, "namespaces")) record.namespaces.clear();
            return each_value(item + 1, block_end, [&](index value) {
                const bool is_string = m_list.is(value, token_string);
                if (m_list.is_word(item, "hasExtraFS") && m_list.is(value, token_bool)) {
                    record.has_extra_fs = m_list.spelled(value) == "true";
                }
                if (is_string && m_list.is_word(item, "names")) record.names.push_back(value);
                if (is_string && m_list.is_word(item, "namespaces")) {
                    record.namespaces.push_back(value);
                }
                if (m_list.is_word(item, "platforms") && m_list.is(value, token_word) &&
                    m_list.is(value - 1, '.')) {
                    record.platforms.push_back(value);
                }
            });
        });
        look_at_apps(record);
        m_packages.push_back(std::move(record));
        return behind;
    }

    void note_version(index item, package_record& record) {
        if (!is_one_of(item, {"versionMin", "versionMax"})) return;
        const bool is_other =
            record.version != none && m_list.spelled(record.version) != m_list.spelled(item);
        add_at(is_other ? "version-overwritten" : "version-ignored", item, m_list.spelled(item));
        record.version = item;
    }

    void look_at_apps(const package_record& record) {
        for (const index name : record.names) {
            std::string hidden;
            for (const index platform : record.platforms) {
                const auto pair = std::pair(m_list.spelled(name), m_list.spelled(platform));
                if (m_apps.contains(pair)) hidden += (hidden.empty() ? "" : ", ") + pair.second;
            }
            // One with files on extra storage is still found by who asks for those.
            if (!hidden.empty() && !record.has_extra_fs)
                add_at("app-repeated", name, m_list.spelled(name), hidden);
        }
        for (const index name : record.names) {
            for (const index platform : record.platforms)
                m_apps.emplace(m_list.spelled(name), m_list.spelled(platform));
        }
    }

    void look_at_include(const section_range& section) {
        m_has_include = true;
        std::set<std::string> modules;
        each_item(section.begin, section.end, [&](index at, index end) {
            if (m_list.is_word(at, "XQuery")) return read_files(at, end, "XQuery");
            if (m_list.is_word(at, "const")) return behind_property(at, end);
            if (m_list.is_word(at, "Python")) return none;
            // Any other word is a module, or the engine says that it is none.
            if (!m_list.is(at + 1, '=') || !m_list.is_word(at + 2, "Python")) {
                m_is_cut = true;
                return end;
            }
            const bool is_default = m_list.is_word(at, "default");
            if (is_default) add_at("default-redefined", at);
            const bool is_dropped = is_default || !modules.insert(m_list.spelled(at)).second;
            return read_files(at + 2, end, is_dropped ? nullptr : "Python");
        });
    }

    /// `kind` is null for a block that the engine reads and drops.
    index read_files(index at, index end, const char* kind) {
        if (!m_list.is(at + 1, '{')) {
            m_is_cut = true;
            return end;
        }
        const index behind = std::min(behind_braces(at + 2), end);
        const bool is_python = m_list.is_word(at, "Python");
        each_item(at + 2, behind - 1, [&](index item, index block_end) {
            const bool names_files =
                is_one_of(item, {"path"}) || (is_python && is_one_of(item, {"dependencies"}));
            if (!names_files && !is_one_of(item, {"const"}) &&
                !is_one_of(item, {is_python ? "versionMin" : "index"})) {
                return none;
            }
            return each_value(item + 1, block_end, [&](index value) {
                if (names_files && kind != nullptr && m_list.is(value, token_string)) {
                    look_for_file(value, kind);
                }
            });
        });
        return behind;
    }

    void look_for_file(index at, const char* kind) {
        if (!m_files || m_list.spelled(at).empty()) return;
        switch (m_files(m_list.spelled(at), kind)) {
        case answer_missing:
            return add_at("file-missing", at, m_list.spelled(at));
        case answer_other_kind:
            return add_at("file-kind", at, m_list.spelled(at), kind);
        case answer_there:
            return;
        }
    }

    // Script sections

    void look_at_listed() {
        std::set<std::string> listed;
        for (const package_record& record : m_packages) {
            for (const index at : record.namespaces) {
                listed.insert(m_list.spelled(at));
                if (m_is_whole && !m_heads.contains({m_list.spelled(at), "Script"})) {
                    add_at("missing-section", at, m_list.spelled(at), m_list.spelled(at), "Script");
                }
            }
        }
        if (m_is_cut || !m_heads.contains({"App", "Header"})) return;
        for (const auto& [head, place] : m_heads) {
            if (head.name == "Script" && !listed.contains(head.where)) {
                add("section-unlisted", place.begin, place.body - 1, head.where);
            }
        }
    }

    void look_at_scripts() {
        std::map<std::string, script_names> names;
        for (const section_range& section : m_sections) {
            if (section.head.name != "Script") continue;
            const auto& read =
                names.emplace(section.head.where, read_names(m_list, section.begin, section.end));
            for (const name_use& module : read.first->second.modules)
                look_at_module(module);
        }
        std::set<std::vector<std::string>> orders;
        for (const package_record& record : m_packages) {
            std::vector<std::string> order;
            for (const index at : record.namespaces) {
                const std::string where = m_list.spelled(at);
                if (names.contains(where)) order.push_back(where);
            }
            orders.insert(std::move(order));
        }
        for (const auto& [where, section] : names)
            orders.insert({where}); // listed or not
        look_at_names(m_list, names, orders, m_globals, m_found);
    }

    void look_at_module(const name_use& module) {
        if (module.name == "default") {
            look_for_default(module.at);
        } else if (!m_has_include) {
            add_at("include-missing", module.at, module.name);
        }
    }

    /// The module that is always there needs its file all the same. Told once.
    void look_for_default(index at) {
        if (!m_files || std::exchange(m_default_told, true)) return;
        if (m_files("Default.py", "Python") != answer_there)
            add_at("file-missing", at, "Default.py");
    }

    token_list m_list;
    const file_lookup& m_files;
    finding_list m_found;
    std::vector<section_range> m_sections; // those that are read
    std::map<section_head, section_place> m_heads;
    std::vector<package_record> m_packages;
    app_set m_apps;
    std::set<std::string> m_globals; // of Header and Include
    bool m_has_include = false;
    bool m_default_told = false;
    bool m_is_whole = false; // the engine's first pass comes to the end of the text
    bool m_is_cut = false;   // the engine does not come to the end of a Header or Include section
};

} // namespace

std::vector<finding> look_at(std::string_view text, const file_lookup& files) {
    return looker(text, files).look();
}

std::set<std::string> codes_off(std::string_view text) {
    std::set<std::string> codes;
    each_code_off(token_list(text), [&](std::size_t begin, std::size_t end) {
        codes.emplace(text.substr(begin, end - begin));
    });
    return codes;
}

app_set apps_of(std::string_view text) {
    const file_lookup no_files;
    looker looks(text, no_files);
    looks.look();
    return looks.apps();
}

std::string app_list(const app_set& apps) {
    const std::vector<std::string> known = platform_words();
    std::ostringstream text;
    for (const auto& [app, platform] : apps) {
        // Of any other platform no host will ask.
        if (std::find(known.begin(), known.end(), platform) == known.end()) continue;
        const bool is_plain =
            !app.empty() && app.find_first_of(" \t\r\n#\"\\") == std::string::npos;
        if (is_plain) {
            text << app;
        } else {
            text << std::quoted(app);
        }
        text << ' ' << platform << '\n';
    }
    return text.str();
}

bool is_endless(const finding_kind& kind) {
    const std::string_view code = kind.code;
    return code == "endless-comment" || code == "endless-property";
}

bool is_endless(const std::vector<finding>& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const finding& found) { return is_endless(*found.kind); });
}

} // namespace tool
