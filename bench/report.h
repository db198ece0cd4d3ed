#pragma once

#include "harness.h"

#include <iosfwd>

namespace bench {

/// A table in Markdown that is read as easily in a terminal.
class table {
public:
    explicit table(std::ostream& target);

    void add(const row& measured, const std::vector<result>& results);

private:
    std::ostream& m_target;
};

/// Day, processor, memory, kernel and compiler; no names of machines and no paths.
std::string circumstances(const settings& how);

/// Puts a text between the two marks of a page, in place of what stands there.
void record(const std::string& page, const std::string& text);

} // namespace bench
