#include "script_names.h"

namespace tool {

namespace {

class names_reader {
public:
    explicit names_reader(const token_list& list) : m_list(list) {}

    script_names read(token_index begin, token_index end) {
        for (token_index at = begin; at < end; ++at)
            take(at);
        return std::move(m_names);
    }

private:
    void take(token_index at) {
        switch (m_list[at].kind) {
        case '{':
            if (m_parentheses == 0) ++m_braces;
            break;
        case '}':
            if (m_parentheses == 0 && m_braces != 0) --m_braces;
            break;
        case '(':
            ++m_parentheses;
            break;
        case ')':
            if (m_parentheses != 0) --m_parentheses;
            break;
        case token_word:
            if (m_parentheses != 0) {
                take_value(at);
            } else {
                take_definition(at);
            }
            break;
        default:
            break;
        }
    }

    void take_definition(token_index at) {
        if (m_list.is_word(at, "const") && m_list.is(at + 1, token_word)) {
            const std::string name = m_list.spelled(at + 1);
            m_names.defined.insert(name);
            if (m_braces == 0) {
                m_names.globals.emplace(name, at);
            } else {
                m_names.locals.push_back({name, at + 1});
            }
        } else if (m_list.is(at + 1, '=')) {
            m_names.defined.insert(m_list.spelled(at));
        }
    }

    void take_value(token_index at) {
        const std::int32_t before = m_list[at - 1].kind;
        if (before == '.' || before == ':' || m_list.is(at + 1, '.')) return;
        (m_list.is(at + 1, ':') ? m_names.modules : m_names.uses)
            .push_back({m_list.spelled(at), at});
    }

    const token_list& m_list;
    script_names m_names;
    std::size_t m_braces = 0;
    std::size_t m_parentheses = 0;
};

class names_looker {
public:
    names_looker(const token_list& list, const std::map<std::string, script_names>& names,
                 const std::set<std::string>& globals, finding_list& found)
        : m_list(list), m_names(names), m_globals(globals), m_found(found) {}

    void look(const std::vector<std::string>& order) {
        std::map<std::string, std::size_t> first; // the section that defines a constant first
        for (std::size_t i = 0; i != order.size(); ++i) {
            for (const auto& [global, place] : m_names.at(order[i]).globals)
                first.emplace(global, i);
        }
        for (std::size_t i = 0; i != order.size(); ++i) {
            const script_names& user = m_names.at(order[i]);
            for (const name_use& local : user.locals) {
                const auto definer = first.find(local.name);
                const bool is_known =
                    definer != first.end() && (definer->second < i || user.defines_before(local));
                if (is_known || m_globals.contains(local.name)) {
                    tell("constant-shadows", local);
                }
            }
            for (const name_use& use : user.uses) {
                const auto definer = first.find(use.name);
                if (definer == first.end() || definer->second <= i) continue;
                if (user.defined.contains(use.name) || m_globals.contains(use.name)) continue;
                tell("section-order", use, "::" + order[definer->second] + "::Script::");
            }
        }
    }

private:
    template <class... Arguments>
    void tell(const char* code, const name_use& use, const Arguments&... arguments) {
        if (!m_told.insert(use.at).second) return;
        m_found.add(code, m_list[use.at].begin, m_list[use.at].end, use.name, arguments...);
    }

    const token_list& m_list;
    const std::map<std::string, script_names>& m_names;
    const std::set<std::string>& m_globals;
    finding_list& m_found;
    std::set<token_index> m_told;
};

} // namespace

bool script_names::defines_before(const name_use& use) const {
    const auto found = globals.find(use.name);
    return found != globals.end() && found->second < use.at;
}

script_names read_names(const token_list& list, token_index begin, token_index end) {
    return names_reader(list).read(begin, end);
}

void look_at_names(const token_list& list, const std::map<std::string, script_names>& names,
                   const std::set<std::vector<std::string>>& orders,
                   const std::set<std::string>& globals, finding_list& found) {
    names_looker looker(list, names, globals, found);
    for (const std::vector<std::string>& order : orders)
        looker.look(order);
}

} // namespace tool
