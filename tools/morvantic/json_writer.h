#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

enum json_layout : unsigned char {
    json_lines,    // an item a line
    json_one_line, // with all that is in it
};

/// Writes JSON piece by piece, so that neither size nor depth of a value is limited: a value tree
/// would be printed by recursion.
class json_writer {
public:
    /// The value is to stand `depth` levels deep in another one.
    explicit json_writer(std::size_t depth = 0) : m_depth(depth) {}

    /// What has been written since the last call.
    std::string take() { return std::exchange(m_text, {}); }

    /// In an object, in front of each value.
    json_writer& key(std::string_view name);

    /// Text that is not UTF-8 is replaced.
    void text(std::string_view value);
    void number(long long value);
    void boolean(bool value);
    void null();

    /// Goes where a value belongs that another writer has written for this depth: it is to follow
    /// what take() gives.
    void skip_value() { place(); }

    void begin_object(json_layout layout = json_lines) { begin('{', layout); }

    void end_object() { end('}'); }

    void begin_array(json_layout layout = json_lines) { begin('[', layout); }

    void end_array() { end(']'); }

private:
    struct open_value {
        bool on_one_line;
        bool has_items;
    };

    void begin(char bracket, json_layout layout);
    void end(char bracket);
    void place();
    void break_line();

    std::string m_text;
    std::vector<open_value> m_open; // objects and arrays
    std::size_t m_depth;
    bool m_behind_key = false;
};

} // namespace tool
