#include "trees.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace inspector {

namespace {

[[noreturn]] void fail_too_deep() { throw std::runtime_error("the tree is too deep"); }

engine::EEnumValue json_type(const value& content) {
    if (content.is_null()) return engine::enum_json_null;
    if (content.is_boolean()) return engine::enum_json_bool;
    if (content.is_number()) return engine::enum_json_double;
    if (content.is_string()) return engine::enum_json_string;
    return content.is_array() ? engine::enum_json_array : engine::enum_json_object;
}

node json_node(std::string key, value& content) {
    node result{std::move(key), json_type(content)};
    if (!content.is_structured()) {
        result.content = std::move(content);
        return result;
    }
    for (auto& [name, item] : content.items()) // the entries of a list are named by their numbers
        result.below.push_back(json_node(name, item));
    return result;
}

using memory_handle = std::unique_ptr<void, decltype(&std::free)>;
using plist_handle = std::unique_ptr<void, decltype(&plist_free)>;

node plist_node(std::string key, plist_t from, int depth);

void add_list(node& list, plist_t from, int depth) {
    const std::uint32_t size = plist_array_get_size(from);
    for (std::uint32_t i = 0; i != size; ++i) {
        list.below.push_back(
            plist_node(std::to_string(i), plist_array_get_item(from, i), depth + 1));
    }
}

void add_dictionary(node& dictionary, plist_t from, int depth) {
    plist_dict_iter walk = nullptr;
    plist_dict_new_iter(from, &walk);
    const memory_handle walk_owner(walk, std::free);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(from, walk, &key, &item);
        const memory_handle key_owner(key, std::free);
        if (item == nullptr) return;
        dictionary.below.push_back(plist_node(key, item, depth + 1));
    }
}

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

/// Whole seconds since 2001. The library hands out 32 bits of them, and writes all of them.
std::int64_t date_of(plist_t from) {
    constexpr std::int64_t unix_time_of_2001 = 978307200;
    char* text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(from, &text, &size);
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    const std::string xml(text == nullptr ? "" : text, size);
    std::tm date{};
    const std::size_t begin = xml.find("<date>");
    if (begin == std::string::npos ||
        strptime(xml.c_str() + begin, "<date>%Y-%m-%dT%H:%M:%SZ", &date) == nullptr) {
        throw std::runtime_error("a date cannot be read");
    }
    return timegm(&date) - unix_time_of_2001;
}

/// The library goes down into a tree as deep as that is.
void check_xml_depth(std::string_view text) {
    int depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos;
         at = text.find('<', at + 1)) {
        const std::string_view tag = text.substr(at + 1, 6);
        if (tag.substr(0, 5) == "array" || tag.substr(0, 4) == "dict") ++depth;
        if (tag.substr(0, 6) == "/array" || tag.substr(0, 5) == "/dict") --depth;
        if (depth > deepest_tree) fail_too_deep();
    }
}

node plist_node(std::string key, plist_t from, int depth) {
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
    case PLIST_UINT: // negative numbers too, as the same 64 bits
        set(engine::enum_plist_int, static_cast<std::int64_t>(got(from, plist_get_uint_val)));
        break;
    case PLIST_REAL:
        set(engine::enum_plist_real, got(from, plist_get_real_val));
        break;
    case PLIST_DATE: // seconds since 2001, as in the file
        set(engine::enum_plist_date, date_of(from));
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

bool is_any(engine::EEnumValue type) {
    return type == engine::enum_json_undefined || type == engine::enum_plist_undefined;
}

} // namespace

node read_json(const std::string& text) {
    const auto check_depth = [](int depth, value::parse_event_t, value&) {
        if (depth > deepest_tree) fail_too_deep();
        return true;
    };
    value content = value::parse(text, check_depth);
    return json_node({}, content);
}

node read_plist(const std::string& bytes) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::runtime_error("the property list is too long");
    }
    if (bytes.compare(0, 6, "bplist") != 0) check_xml_depth(bytes);
    plist_t tree = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &tree);
    if (tree == nullptr) throw std::runtime_error("this is no property list");
    const plist_handle owner(tree, plist_free);
    return plist_node({}, tree, 0);
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

value to_value(const node& from) {
    const bool is_list =
        from.type == engine::enum_json_array || from.type == engine::enum_plist_array;
    const bool is_dictionary =
        from.type == engine::enum_json_object || from.type == engine::enum_plist_dict;
    if (!from.content.is_null() || (!is_list && !is_dictionary)) return from.content;
    value result = is_list ? value::array() : value::object();
    for (const node& item : from.below) {
        if (is_list) {
            result.push_back(to_value(item));
        } else {
            result[item.key] = to_value(item);
        }
    }
    return result;
}

} // namespace inspector
