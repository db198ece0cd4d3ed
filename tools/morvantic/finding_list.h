#pragma once

#include "finding.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// Findings of a look at a text, as they are made.
class finding_list {
public:
    /// Each argument stands where the message has a "%".
    template <class... Arguments>
    void add(std::string_view code, std::size_t begin, std::size_t end,
             const Arguments&... arguments) {
        const finding_kind* kind = kind_of_code(code);
        std::string message = kind->message;
        std::size_t from = 0;
        [[maybe_unused]] const auto put = [&](std::string_view argument) {
            const std::size_t gap = message.find('%', from);
            message.replace(gap, 1, argument);
            from = gap + argument.size();
        };
        (put(arguments), ...);
        m_found.push_back({kind, std::move(message), begin, end});
    }

    /// In the order of the text.
    std::vector<finding> take() {
        std::stable_sort(
            m_found.begin(), m_found.end(),
            [](const finding& left, const finding& right) { return left.begin < right.begin; });
        return std::move(m_found);
    }

private:
    std::vector<finding> m_found;
};

} // namespace tool
