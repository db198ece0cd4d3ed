#include "json_writer.h"

#include <nlohmann/json.hpp>

namespace tool {

namespace {

std::string json_text(std::string_view text) {
    using json = nlohmann::json;
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

json_writer& json_writer::key(std::string_view name) {
    place();
    m_text += json_text(name) + ": ";
    m_behind_key = true;
    return *this;
}

void json_writer::text(std::string_view value) {
    place();
    m_text += json_text(value);
}

void json_writer::number(long long value) {
    place();
    m_text += std::to_string(value);
}

void json_writer::boolean(bool value) {
    place();
    m_text += value ? "true" : "false";
}

void json_writer::null() {
    place();
    m_text += "null";
}

void json_writer::begin(char bracket, json_layout layout) {
    place();
    m_text += bracket;
    const bool in_a_line = !m_open.empty() && m_open.back().on_one_line;
    m_open.push_back({in_a_line || layout == json_one_line, false});
    ++m_depth;
}

void json_writer::end(char bracket) {
    --m_depth;
    const open_value ended = m_open.back();
    m_open.pop_back();
    if (ended.has_items && !ended.on_one_line) break_line();
    m_text += bracket;
}

/// Goes where the next key or value belongs.
void json_writer::place() {
    if (std::exchange(m_behind_key, false) || m_open.empty()) return;
    open_value& around = m_open.back();
    const bool is_first = !std::exchange(around.has_items, true);
    if (!is_first) m_text += around.on_one_line ? ", " : ",";
    if (!around.on_one_line) break_line();
}

void json_writer::break_line() {
    m_text += '\n';
    m_text.append(2 * m_depth, ' ');
}

} // namespace tool
