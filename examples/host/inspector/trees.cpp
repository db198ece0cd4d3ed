#include "trees.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace inspector {

namespace {

[[noreturn]] void fail_too_deep() { throw std::runtime_error("the tree is too deep"); }

/// Makes nodes of what the parser comes across, so that all entries stay, in their order.
class json_builder : public nlohmann::json_sax<value> {
public:
    node take() { return std::move(m_root); }

    bool null() override { return add(engine::enum_json_null, nullptr); }

    bool boolean(bool item) override { return add(engine::enum_json_bool, item); }

    bool number_integer(number_integer_t item) override {
        return add(engine::enum_json_double, item);
    }

    bool number_unsigned(number_unsigned_t item) override {
        return add(engine::enum_json_double, item);
    }

    /// Whole numbers beyond 64 bits come here too. They stay as they are spelled.
    bool number_float(number_float_t item, const string_t& spelled) override {
        const bool is_whole = spelled.find_first_not_of("-0123456789") == std::string::npos;
        return add(engine::enum_json_double, is_whole ? value(spelled) : value(item));
    }

    bool string(string_t& item) override { return add(engine::enum_json_string, item); }

    bool binary(binary_t&) override { return false; } // of other formats

    bool start_object(std::size_t) override { return open(engine::enum_json_object); }

    bool key(string_t& item) override {
        m_key = item;
        return true;
    }

    bool end_object() override { return close(); }

    bool start_array(std::size_t) override { return open(engine::enum_json_array); }

    bool end_array() override { return close(); }

    bool parse_error(std::size_t, const std::string&,
                     const nlohmann::detail::exception& failure) override {
        throw std::runtime_error(failure.what());
    }

private:
    bool add(engine::EEnumValue type, value content) {
        node& added = make_node(type);
        added.content = std::move(content);
        return true;
    }

    bool open(engine::EEnumValue type) {
        if (m_open.size() == deepest_tree) fail_too_deep();
        m_open.push_back(&make_node(type));
        return true;
    }

    bool close() {
        m_open.pop_back();
        return true;
    }

    /// Below the node that is open. Those that are open stay where they are, since only the last of
    /// them gets more below it.
    node& make_node(engine::EEnumValue type) {
        if (m_open.empty()) {
            m_root.type = type;
            return m_root;
        }
        node& parent = *m_open.back();
        const bool is_list = parent.type == engine::enum_json_array;
        parent.below.push_back({is_list ? std::to_string(parent.below.size()) : m_key, type});
        return parent.below.back();
    }

    node m_root;
    std::string m_key;
    std::vector<node*> m_open;
};

using memory_handle = std::unique_ptr<void, decltype(&std::free)>;
using plist_handle = std::unique_ptr<void, decltype(&plist_free)>;

template <class T>
T got(plist_t from, void (*get)(plist_t, T*)) {
    T result{};
    get(from, &result);
    return result;
}

std::string_view got(plist_t from, const char* (*get)(plist_t, std::uint64_t*)) {
    std::uint64_t size = 0;
    const char* bytes = get(from, &size);
    return {bytes, size};
}

/// What stands between the tags of a value in a property list of XML.
std::string xml_text(plist_t from) {
    char* text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(from, &text, &size);
    const memory_handle owner(text, std::free);
    const std::string xml(text == nullptr ? "" : text, size);
    const std::size_t tag = xml.find('>', xml.find("<plist")) + 1;
    const std::size_t begin = xml.find('>', xml.find('<', tag)) + 1;
    return xml.substr(begin, xml.find('<', begin) - begin);
}

/// Whole seconds since 2001. The library hands out 32 bits of them, and writes all of them.
std::int64_t date_of(plist_t from) {
    constexpr std::int64_t unix_time_of_2001 = 978307200;
    std::tm date{};
    if (strptime(xml_text(from).c_str(), "%Y-%m-%dT%H:%M:%SZ", &date) == nullptr) {
        throw std::runtime_error("a date cannot be read");
    }
    return timegm(&date) - unix_time_of_2001;
}

/// The library hands out negative numbers as the same 64 bits, and writes them with their sign.
value integer_of(plist_t from) {
    const std::uint64_t bits = got(from, plist_get_uint_val);
    const auto number = static_cast<std::int64_t>(bits);
    return number < 0 && xml_text(from).compare(0, 1, "-") != 0 ? value(bits) : value(number);
}

bool begins_with(std::string_view text, std::string_view words) {
    return text.substr(0, words.size()) == words;
}

/// The library goes down into a tree as deep as that is. What could hide something, such as a
/// comment, ends the counting of what is closed, so the tree is never deeper than it seems here.
void check_xml_depth(std::string_view text) {
    std::size_t depth = 0;
    bool is_plain = true;
    for (std::size_t at = text.find('<'); at != std::string_view::npos;
         at = text.find('<', at + 1)) {
        const std::size_t end = text.find_first_of("<>", at + 1);
        const std::string_view tag = text.substr(at, end - at);
        const bool is_whole = end != std::string_view::npos && text[end] == '>';
        const bool may_hide = !is_whole || begins_with(tag, "<!") || begins_with(tag, "<?") ||
                              tag.find_first_of("\"'") != std::string_view::npos;
        const bool opens = begins_with(tag, "<array") || begins_with(tag, "<dict");
        is_plain = is_plain && !(may_hide && (opens || depth != 0));
        const bool is_empty = is_whole && (tag == "<array/" || tag == "<dict/");
        const bool closes = begins_with(tag, "</array") || begins_with(tag, "</dict");
        if (opens && !is_empty && ++depth > deepest_tree) fail_too_deep();
        if (closes && is_plain && depth != 0) --depth;
    }
}

/// Makes nodes of the library's.
class plist_reader {
public:
    explicit plist_reader(std::vector<std::string>& faults) : m_faults(faults) {}

    node read(std::string key, plist_t from, std::size_t depth) const {
        if (depth > deepest_tree) fail_too_deep();
        node result{std::move(key)};
        const auto set = [&result](engine::EEnumValue type, value content = nullptr) {
            result.type = type;
            result.content = std::move(content);
        };
        switch (plist_get_node_type(from)) {
        case PLIST_BOOLEAN:
            set(engine::enum_plist_bool, got(from, plist_get_bool_val) != 0);
            break;
        case PLIST_UINT:
            set(engine::enum_plist_int, integer_of(from));
            break;
        case PLIST_REAL:
            set(engine::enum_plist_real, got(from, plist_get_real_val));
            break;
        case PLIST_DATE:
            set(engine::enum_plist_date, date_or_fault(result.key, from));
            break;
        case PLIST_STRING:
            set(engine::enum_plist_string, got(from, plist_get_string_ptr));
            break;
        case PLIST_DATA:
            set(engine::enum_plist_data, from_bytes(got(from, plist_get_data_ptr)));
            break;
        case PLIST_UID:
            set(engine::enum_plist_uid, got(from, plist_get_uid_val));
            break;
        case PLIST_ARRAY:
            set(engine::enum_plist_array);
            add_list(result, from, depth);
            break;
        case PLIST_DICT:
            set(engine::enum_plist_dict);
            add_dictionary(result, from, depth);
            break;
        default:
            set(engine::enum_plist_undefined);
            break;
        }
        return result;
    }

private:
    void add_list(node& list, plist_t from, std::size_t depth) const {
        const std::uint32_t size = plist_array_get_size(from);
        for (std::uint32_t i = 0; i != size; ++i) {
            list.below.push_back(read(std::to_string(i), plist_array_get_item(from, i), depth + 1));
        }
    }

    void add_dictionary(node& dictionary, plist_t from, std::size_t depth) const {
        plist_dict_iter walk = nullptr;
        plist_dict_new_iter(from, &walk);
        const memory_handle walk_owner(walk, std::free);
        for (;;) {
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(from, walk, &key, &item);
            const memory_handle key_owner(key, std::free);
            if (item == nullptr) return;
            dictionary.below.push_back(read(key, item, depth + 1));
        }
    }

    value date_or_fault(const std::string& key, plist_t from) const {
        try {
            return date_of(from);
        } catch (const std::exception& failure) {
            m_faults.push_back(key + ": " + failure.what());
            return nullptr;
        }
    }

    std::vector<std::string>& m_faults;
};

bool is_list(const node& item) {
    return item.type == engine::enum_json_array || item.type == engine::enum_plist_array;
}

bool is_dictionary(const node& item) {
    return item.type == engine::enum_json_object || item.type == engine::enum_plist_dict;
}

bool is_any(engine::EEnumValue type) {
    return type == engine::enum_json_undefined || type == engine::enum_plist_undefined;
}

} // namespace

node read_json(const std::string& text) {
    json_builder builder;
    value::sax_parse(text, &builder);
    return builder.take();
}

node read_plist(const std::string& bytes, std::vector<std::string>& faults) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::runtime_error("the property list is too long");
    }
    const auto size = static_cast<std::uint32_t>(bytes.size());
    plist_t tree = nullptr;
    if (plist_is_binary(bytes.data(), size) != 0) {
        plist_from_bin(bytes.data(), size, &tree);
    } else {
        check_xml_depth(bytes);
        plist_from_xml(bytes.data(), size, &tree);
    }
    if (tree == nullptr) throw std::runtime_error("this is no property list");
    const plist_handle owner(tree, plist_free);
    return plist_reader(faults).read({}, tree, 0);
}

std::vector<node*> nodes_at(node& root, const std::string& path, engine::EEnumValue type) {
    std::vector<node*> found{&root};
    for (std::size_t begin = 0; begin < path.size() && !found.empty();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string key = path.substr(begin, end - begin);
        std::vector<node*> next;
        for (node* item : found) {
            for (node& child : item->below) {
                if (key == "*" || child.key == key) next.push_back(&child);
            }
        }
        found = std::move(next);
        begin = end + 1;
    }
    const auto is_other = [type](const node* item) { return !is_any(type) && item->type != type; };
    found.erase(std::remove_if(found.begin(), found.end(), is_other), found.end());
    return found;
}

bool is_structured(const node& item) {
    return !item.is_replaced && (is_list(item) || is_dictionary(item));
}

value to_value(const node& from) {
    if (!is_structured(from)) return from.content;
    value result = is_list(from) ? value::array() : value::object();
    for (const node& item : from.below) {
        if (is_list(from)) {
            result.push_back(to_value(item));
        } else {
            result[item.key] = to_value(item);
        }
    }
    return result;
}

} // namespace inspector
