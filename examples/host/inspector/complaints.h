#pragma once

#include "evidence.h"

#include <cstddef>
#include <ostream>
#include <set>
#include <string>

namespace inspector {

/// What is at fault, each told once.
class complaints {
public:
    explicit complaints(std::ostream& out) : m_out(out) {}

    void add(const std::string& text) {
        ++m_count;
        if (m_told.insert(text).second) m_out << "inspector: " << printable(text) << '\n';
    }

    /// All that were added, so that whoever had a part done can see whether it went well.
    std::size_t count() const { return m_count; }

private:
    std::ostream& m_out;
    std::set<std::string> m_told;
    std::size_t m_count = 0;
};

} // namespace inspector
