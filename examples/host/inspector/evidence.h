#pragma once

#include <morvantic/morvantic.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

/// What a host finds in the stores of an app, and prints as the document that queries read.
namespace inspector {

/// A value of a store: null where it is missing, binary for bytes.
using value = nlohmann::json;

struct source;

/// A column of a record.
struct field {
    std::string name;
    value content{};
    std::string ref{};            // "kind:value" of the record that is meant
    std::vector<source> inside{}; // what was found in the value
};

struct record {
    std::string kind;
    std::string id{}; // "kind:value"
    std::vector<field> fields{};

    /// The field of that name, made if need be.
    field& at(const std::string& name);

    /// The value in it; missing if there is no such field.
    value content(const std::string& name) const;
};

/// A value of a tree, or a list or dictionary with others below it.
struct node {
    std::string key;
    engine::EEnumValue type = engine::enum_unknown;
    value content{};
    std::vector<node> below{};
    std::vector<source> inside{};
    bool is_replaced = false; // a function has put the content in place of what was below
};

/// No tree may be deeper, so that what walks trees may recurse.
constexpr std::size_t deepest_tree = 200;

/// A file, or a value in one, that an analyzer has read.
struct source {
    std::string analyzer;
    std::string path{};
    std::string id{};
    const char* state = nullptr; // if not all is well
    std::vector<record> records{};
    std::vector<node> tree{}; // its root, if there is a tree
};

/// A value as text, as scripts mean it where they join values or fill in a path. Bytes are base64.
/// Numbers are spelled as in XML Schema: 3 for 3.0, and INF, -INF, NaN for those without end.
std::string to_text(const value& content);

/// Whether a value is a number without end, which JSON has no form for.
bool is_endless(const value& content);

/// Text of a foreign origin for a terminal: control characters become U+FFFD.
std::string printable(std::string_view text);

std::string to_base64(const value::binary_t& bytes);
std::vector<std::uint8_t> from_base64(std::string_view text);

/// The bytes of a text or of bytes.
std::string to_bytes(const value& content);
value from_bytes(std::string_view bytes);

void print_begin(std::ostream& out, const std::string& app, const std::string& platform);
void print(std::ostream& out, const source& found);

/// Names what the document does not have, though the script asks for it.
void print_end(std::ostream& out, const std::vector<std::string>& left_out);

} // namespace inspector
