#pragma once

#include <morvantic/morvantic.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A host that keeps what the engine delivers of Script sections, to print, compare or walk it
// later. One header that needs nothing else: copy it.
//
//     recorder::recording_script script(name);
//     script.init();
//     script.section("App", "Include"); // makes Python functions known
//     auto* body = dynamic_cast<recorder::recording_body*>(script.section("Mail", "Script"));
//     if (body == nullptr) return; // its text is faulty
//     for (const recorder::call& made : body->calls()) std::cout << spelled(made) << '\n';
//
// A section whose text is faulty has the calls so far when it is asked for once more.
//
// A script may nest calls a million deep, so nothing here recurses on values. Copies of a list
// share it, so each level of nesting costs the same, however deep it is.

namespace recorder {

class value_list;

enum value_kind : unsigned char {
    value_none,      // nothing was delivered
    value_int,       // an integer or the number of an enum value
    value_bool,      // number is 0 or 1
    value_text,      // a string or the value of a constant
    value_texts,     // a list of strings, in `texts`
    value_analyzer,  // its name in `text`
    value_call,      // of the Python function in `text`, with its arguments
    value_arguments, // of a call; part of that call's value once the list is complete
};

struct value;
inline bool operator==(const value_list& left, const value_list& right);

/// The arguments of a call, shared by all copies and never changed. Copies of one list belong to
/// one thread at a time.
class value_list {
public:
    /// No list at all, which is not the same as an empty one.
    value_list() = default;
    explicit value_list(std::vector<value> values);
    value_list(const value_list&) = default;
    value_list(value_list&&) noexcept = default;

    value_list& operator=(value_list other) noexcept {
        std::swap(m_node, other.m_node);
        return *this;
    }

    ~value_list();

    explicit operator bool() const noexcept { return m_node != nullptr; }

    /// There must be a list.
    const std::vector<value>& values() const noexcept;

    bool shares_with(const value_list& other) const noexcept { return m_node == other.m_node; }

private:
    struct node;

    /// Lets go of the node of this list, into a chain of such if nobody else has it.
    void give_up_to(std::shared_ptr<node>& chain) noexcept;

    std::shared_ptr<node> m_node;
};

struct value {
    value_kind kind = value_none;
    long long number = 0;
    std::string text{};
    std::vector<std::string> texts{};
    value_list arguments{};
};

struct value_list::node {
    std::vector<value> values;
    std::shared_ptr<node> next; // while it is taken down
};

inline value_list::value_list(std::vector<value> values)
    : m_node(std::make_shared<node>(node{std::move(values), nullptr})) {}

inline const std::vector<value>& value_list::values() const noexcept { return m_node->values; }

inline void value_list::give_up_to(std::shared_ptr<node>& chain) noexcept {
    if (m_node.use_count() != 1) return m_node.reset();
    m_node->next = std::move(chain);
    chain = std::move(m_node);
}

/// Takes down level by level, by a chain through the nodes themselves.
inline value_list::~value_list() {
    std::shared_ptr<node> chain;
    give_up_to(chain);
    while (chain) {
        const std::shared_ptr<node> first = std::move(chain);
        chain = std::move(first->next);
        for (value& item : first->values)
            item.arguments.give_up_to(chain);
    }
}

/// Visits all values in the order of the text. The visitor has three operations: leaf(value) for
/// all that is no call with arguments, call_begin(value), and call_end() behind the call's values.
template <class Visitor>
void walk(const value_list& list, Visitor&& visitor) {
    struct place {
        const std::vector<value>* values;
        std::size_t next;
    };

    if (!list) return;
    std::vector<place> open{{&list.values(), 0}};
    for (;;) {
        place& here = open.back();
        if (here.next == here.values->size()) {
            open.pop_back();
            if (open.empty()) return;
            visitor.call_end();
            continue;
        }
        const value& item = (*here.values)[here.next++];
        if (!item.arguments) {
            visitor.leaf(item);
            continue;
        }
        visitor.call_begin(item);
        open.push_back({&item.arguments.values(), 0});
    }
}

inline bool operator==(const value_list& left, const value_list& right) {
    struct pair_of_lists {
        const value_list* left;
        const value_list* right;
    };

    std::vector<pair_of_lists> pending{{&left, &right}};
    while (!pending.empty()) {
        const pair_of_lists lists = pending.back();
        pending.pop_back();
        if (lists.left->shares_with(*lists.right)) continue;
        if (!*lists.left || !*lists.right) return false;
        const std::vector<value>& ours = lists.left->values();
        const std::vector<value>& theirs = lists.right->values();
        if (ours.size() != theirs.size()) return false;
        for (std::size_t i = 0; i != ours.size(); ++i) {
            const value& mine = ours[i];
            const value& other = theirs[i];
            if (mine.kind != other.kind || mine.number != other.number || mine.text != other.text ||
                mine.texts != other.texts) {
                return false;
            }
            pending.push_back({&mine.arguments, &other.arguments});
        }
    }
    return true;
}

inline bool operator!=(const value_list& left, const value_list& right) { return !(left == right); }

/// The text in double quotes and on one line: control characters, backslashes and double quotes
/// are written as "\x0a". All other bytes stay.
inline std::string quoted(const std::string& text) {
    constexpr char digits[] = "0123456789abcdef";
    std::string result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F && c != '"' && c != '\\') {
            result += c;
            continue;
        }
        result += "\\x";
        result += digits[byte >> 4];
        result += digits[byte & 15];
    }
    return result + '"';
}

/// The text as it stands if it is a plain word, name or path, else in double quotes.
inline std::string word(const std::string& text) {
    constexpr char plain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-/:";
    const bool is_plain = !text.empty() && text.find_first_not_of(plain) == std::string::npos;
    return is_plain ? text : quoted(text);
}

/// A value as a script has it, but for constants, which arrive as their strings, and enum values,
/// which arrive as their numbers. Of a call the name alone.
inline std::string spelled(const value& item) {
    switch (item.kind) {
    case value_int:
        return std::to_string(item.number);
    case value_bool:
        return item.number != 0 ? "true" : "false";
    case value_text:
        return quoted(item.text);
    case value_texts: {
        std::string list;
        for (const std::string& text : item.texts)
            list += (list.empty() ? "" : ", ") + quoted(text);
        return "{" + list + "}";
    }
    case value_analyzer:
    case value_call:
        return word(item.text);
    default:
        return {};
    }
}

/// All values in parentheses: ("a", -1, ns::call(true, other::call()), {"x", "y"})
inline std::string spelled(const value_list& list) {
    struct speller {
        std::string text = "(";
        bool is_first = true; // of its list

        void leaf(const value& item) {
            if (!is_first) text += ", ";
            is_first = false;
            text += spelled(item);
        }

        void call_begin(const value& item) {
            leaf(item);
            text += '(';
            is_first = true;
        }

        void call_end() {
            text += ')';
            is_first = false;
        }
    } spelling;

    walk(list, spelling);
    return spelling.text + ')';
}

/// Receives one value. Its clones share what it has received.
class recorded_value final : public engine::CScriptArgumentCallbackOf<recorded_value> {
public:
    void set_int(long long number) override { keep({value_int, number}); }

    void set_bool(bool is_true) override { keep({value_bool, is_true ? 1 : 0}); }

    void set_string(const char* text) override { keep({value_text, 0, text}); }

    void set_function(const char* name) override { keep({value_call, 0, name}); }

    void set_analyzer(const char* name) override { keep({value_analyzer, 0, name}); }

    void list_begin() override { m_texts.clear(); }

    void list_add(const char* text) override { m_texts.emplace_back(text); }

    void list_end() override { keep({value_texts, 0, {}, std::move(m_texts)}); }

    void set_arguments(engine::CScriptArguments* arguments) override;

    const value& get() const {
        static const value nothing;
        return m_value ? *m_value : nothing;
    }

private:
    void keep(value received) { m_value = std::make_shared<const value>(std::move(received)); }

    std::shared_ptr<const value> m_value;
    std::vector<std::string> m_texts; // of a list that has not ended
};

/// Copies a list of the engine, in which a call and its arguments stand side by side. All of its
/// arguments must hold a recorded_value.
inline value_list recorded(engine::CScriptArguments& arguments) {
    std::vector<value> values;
    values.reserve(arguments.size());
    arguments.reset_index();
    while (engine::CScriptArgument* argument = arguments.next()) {
        const value& item = static_cast<recorded_value&>(*argument->argument()).get();
        if (item.kind == value_arguments && !values.empty() && values.back().kind == value_call) {
            values.back().arguments = item.arguments;
        } else {
            values.push_back(item);
        }
    }
    return value_list(std::move(values));
}

inline void recorded_value::set_arguments(engine::CScriptArguments* arguments) {
    keep({value_arguments, 0, {}, {}, recorded(*arguments)});
}

enum call_kind : unsigned char {
    call_object_begin,
    call_object_property,
    call_object_function,
    call_object_end,
    call_global_function,
};

/// One call of the engine to a CScriptBody.
struct call {
    call_kind kind = call_object_begin;
    std::string name{}; // of the object, perhaps empty; of a property its key
    std::string text{}; // of a property its value, perhaps empty
    engine::EObjectType object_type = engine::object_unknown;
    engine::EFunctionType function_type = engine::function_unknown;
    value_list arguments{};
};

inline bool operator==(const call& left, const call& right) {
    return left.kind == right.kind && left.name == right.name && left.text == right.text &&
           left.object_type == right.object_type && left.function_type == right.function_type &&
           left.arguments == right.arguments;
}

inline bool operator!=(const call& left, const call& right) { return !(left == right); }

/// A call as one line:
///
///     begin mails = SqliteAnalyzer(36, "mail.db")
///     property "recover" pages
///     call setInstantInitialize(true)
///     end
///     func setPathToIdModifier(default::path_segment(-1))
inline std::string spelled(const call& made) {
    switch (made.kind) {
    case call_object_begin:
        return "begin " + (made.name.empty() ? "" : word(made.name) + " = ") +
               engine::CObjectValue::get_obj_name(made.object_type) + spelled(made.arguments);
    case call_object_property:
        return "property " + quoted(made.name) + (made.text.empty() ? "" : " " + word(made.text));
    case call_object_function:
        return std::string("call ") + engine::CFunctionValue::get_func_name(made.function_type) +
               spelled(made.arguments);
    case call_object_end:
        return "end";
    case call_global_function:
        return std::string("func ") + engine::CFunctionValue::get_func_name(made.function_type) +
               spelled(made.arguments);
    }
    return {};
}

/// Keeps the calls of one Script section in their order, those before an error too.
class recording_body : public engine::CScriptBody {
public:
    using CScriptBody::CScriptBody;

    const std::vector<call>& calls() const noexcept { return m_calls; }

    void object_begin(const char* name, engine::EObjectType type,
                      engine::CScriptArguments* arguments) override {
        record({call_object_begin, name, {}, type, {}, recorded(*arguments)});
    }

    void object_property(const char* key, const char* text) override {
        record({call_object_property, key, text});
    }

    void object_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        record({call_object_function, {}, {}, {}, type, recorded(*arguments)});
    }

    void object_end() override { record({call_object_end}); }

    void global_function(engine::EFunctionType type, engine::CScriptArguments* arguments) override {
        record({call_global_function, {}, {}, {}, type, recorded(*arguments)});
    }

protected:
    /// Whoever overrides it sees each call as it is made.
    virtual void record(call made) { m_calls.push_back(std::move(made)); }

private:
    std::vector<call> m_calls;
};

/// A script whose Script sections are recording bodies. Every argument has to hold a
/// recorded_value, so create_argument is not to be overridden.
class recording_script : public engine::CScript {
public:
    using CScript::CScript;

protected:
    engine::CScriptArgument create_argument() final {
        return engine::CScriptArgument(&engine::CScriptArgument::delete_callback,
                                       new recorded_value);
    }

    engine::CScriptSection* add_section(const char* where, const char* name) override {
        if (get_name(name) != engine::section_script) return CScript::add_section(where, name);
        return __add_section(make_body(where, name)); // NOLINT
    }

    virtual std::unique_ptr<recording_body> make_body(const char* where, const char* name) {
        return std::make_unique<recording_body>(where, name);
    }
};

} // namespace recorder
