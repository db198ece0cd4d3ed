#pragma once

#include "evidence.h"

#include <string>
#include <vector>

namespace inspector {

/// The tree of a JSON text or property list. Throws std::exception if it is none. What is wrong
/// with single values goes to `faults`, and they are missing then.
node read_json(const std::string& text);
node read_plist(const std::string& bytes, std::vector<std::string>& faults);

/// The nodes at a path of keys and "*", if they are of the type.
std::vector<node*> nodes_at(node& root, const std::string& path, engine::EEnumValue type);

/// Whether a node is a list or dictionary, and no function has put a value in its place.
bool is_structured(const node& item);

/// A node with all below it as one value: lists are arrays, dictionaries are objects.
value to_value(const node& from);

} // namespace inspector
