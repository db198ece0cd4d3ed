#include "evidence.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <ostream>

namespace inspector {

namespace {

using marks_of_text = std::map<char32_t, std::wstring>;

/// Text as XML has it. What XML cannot hold, and bytes that are no UTF-8, become U+FFFD.
std::string escaped(std::string_view text, const marks_of_text& marks) {
    std::wstring result;
    for (const wchar_t c : engine::to_wide(text)) {
        const auto code = static_cast<char32_t>(c);
        const bool is_lost =
            code < 0x20 || (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF;
        const auto mark = marks.find(code);
        if (mark != marks.end()) {
            result += mark->second;
        } else {
            result += is_lost ? wchar_t{0xFFFD} : c;
        }
    }
    return engine::to_utf8(result);
}

std::string escaped(std::string_view text) {
    static const marks_of_text marks = {
        {'&', L"&amp;"}, {'<', L"&lt;"},   {'>', L"&gt;"},   {'"', L"&quot;"},
        {'\t', L"&#9;"}, {'\n', L"&#10;"}, {'\r', L"&#13;"},
    };
    return escaped(text, marks);
}

std::string attribute(const char* name, std::string_view text) {
    if (text.empty()) return {};
    return std::string(" ") + name + "=\"" + escaped(text) + '"';
}

std::string line_at(int depth) {
    return '\n' + std::string(static_cast<std::size_t>(depth) * 2, ' ');
}

/// An element that holds a value, and below it whatever `print_below` prints, with the text that it
/// is given in front of each. No white space is added to a value.
template <class Below>
void print_element(std::ostream& out, int depth, const char* name, const std::string& attributes,
                   const value& content, bool has_below, Below&& print_below) {
    out << '<' << name << attributes;
    if (content.is_binary()) out << " encoding=\"base64\"";
    const std::string text = escaped(to_text(content));
    if (text.empty() && !has_below) {
        out << "/>";
        return;
    }
    out << '>' << text;
    const bool has_lines = has_below && text.empty();
    if (has_below) print_below(has_lines ? line_at(depth + 1) : "");
    out << (has_lines ? line_at(depth) : "") << "</" << name << '>';
}

void print(std::ostream& out, const source& found, int depth);
void print(std::ostream& out, const record& found, int depth);
void print(std::ostream& out, const node& found, int depth);

template <class Item>
void print_all(std::ostream& out, const std::vector<Item>& items, const std::string& before,
               int depth) {
    for (const Item& item : items) {
        out << before;
        print(out, item, depth);
    }
}

void print(std::ostream& out, const field& found, int depth) {
    print_element(out, depth, "field", attribute("name", found.name) + attribute("ref", found.ref),
                  found.content, !found.inside.empty(), [&](const std::string& before) {
                      print_all(out, found.inside, before, depth + 1);
                  });
}

void print(std::ostream& out, const record& found, int depth) {
    const std::string attributes =
        attribute("kind", found.kind) + attribute("state", "live") + attribute("id", found.id);
    print_element(out, depth, "record", attributes, {}, !found.fields.empty(),
                  [&](const std::string& before) {
                      for (const field& item : found.fields) {
                          if (item.content.is_null() && item.ref.empty() && item.inside.empty())
                              continue;
                          out << before;
                          print(out, item, depth + 1);
                      }
                  });
}

void print(std::ostream& out, const node& found, int depth) {
    const std::string attributes = " key=\"" + escaped(found.key) + '"' +
                                   attribute("type", engine::CEnumValue::get_enum_name(found.type));
    const bool has_below = !found.below.empty() || !found.inside.empty();
    print_element(out, depth, "node", attributes, found.content, has_below,
                  [&](const std::string& before) {
                      print_all(out, found.below, before, depth + 1);
                      print_all(out, found.inside, before, depth + 1);
                  });
}

void print(std::ostream& out, const source& found, int depth) {
    const std::string attributes = attribute("analyzer", found.analyzer) +
                                   attribute("path", found.path) + attribute("id", found.id) +
                                   attribute("state", found.state ? found.state : "");
    const node none;
    const node& root = found.tree.empty() ? none : found.tree.front();
    print_element(out, depth, "source", attributes, root.content,
                  !found.records.empty() || !root.below.empty() || !root.inside.empty(),
                  [&](const std::string& before) {
                      print_all(out, found.records, before, depth + 1);
                      print_all(out, root.below, before, depth + 1);
                      print_all(out, root.inside, before, depth + 1);
                  });
}

constexpr std::string_view base64_digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

field& record::at(const std::string& name) {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&name](const field& item) { return item.name == name; });
    if (found != fields.end()) return *found;
    fields.push_back({name});
    return fields.back();
}

value record::content(const std::string& name) const {
    for (const field& item : fields) {
        if (item.name == name) return item.content;
    }
    return nullptr;
}

std::string to_text(const value& content) {
    if (content.is_null()) return {};
    if (content.is_string()) return content.get<std::string>();
    if (content.is_binary()) return to_base64(content.get_binary());
    if (is_endless(content)) {
        const double number = content.get<double>();
        return std::isnan(number) ? "NaN" : number < 0 ? "-INF" : "INF";
    }
    if (content.is_number_float()) {
        constexpr double all_whole = 9007199254740992.0; // from there on there are no fractions
        const double number = content.get<double>();
        const bool is_short = std::trunc(number) == number && std::abs(number) < all_whole;
        if (is_short) return std::to_string(static_cast<std::int64_t>(number));
    }
    return content.dump(-1, ' ', false, value::error_handler_t::replace);
}

bool is_endless(const value& content) {
    return content.is_number_float() && !std::isfinite(content.get<double>());
}

std::string printable(std::string_view text) {
    std::wstring shown = engine::to_wide(text);
    const auto is_control = [](wchar_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); };
    std::replace_if(shown.begin(), shown.end(), is_control, wchar_t{0xFFFD});
    return engine::to_utf8(shown);
}

std::string to_base64(const value::binary_t& bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k != 3; ++k)
            group = (group << 8) | (i + k < bytes.size() ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k != 4; ++k)
            text += i + k > bytes.size() ? '=' : base64_digits[(group >> (18 - 6 * k)) & 63];
    }
    return text;
}

std::vector<std::uint8_t> from_base64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    std::uint32_t group = 0;
    int bits = 0;
    for (const char c : text) {
        const std::size_t digit = base64_digits.find(c);
        if (digit == std::string_view::npos) break; // padding
        group = (group << 6) | static_cast<std::uint32_t>(digit);
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes.push_back(static_cast<std::uint8_t>(group >> bits));
    }
    return bytes;
}

std::string to_bytes(const value& content) {
    if (!content.is_binary()) return to_text(content);
    const value::binary_t& bytes = content.get_binary();
    return {bytes.begin(), bytes.end()};
}

value from_bytes(std::string_view bytes) {
    return value::binary(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

void print_begin(std::ostream& out, const std::string& app, const std::string& platform) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<evidence" << attribute("package", app)
        << attribute("platform", platform) << ">\n";
}

void print(std::ostream& out, const source& found) {
    out << "  ";
    print(out, found, 1);
    out << '\n';
}

void print_end(std::ostream& out, const std::vector<std::string>& left_out) {
    for (std::string item : left_out) {
        for (std::size_t at; (at = item.find("--")) != std::string::npos;)
            item.insert(at + 1, " "); // a comment ends at two of them
        out << "  <!-- " << escaped(item, {}) << " -->\n";
    }
    out << "</evidence>\n";
}

} // namespace inspector
