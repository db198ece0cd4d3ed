#pragma once

#include "support/test_streams.h"

#include <limits>
#include <stdexcept>

/// A stream of a package that fails once its budget of bytes is spent: reads give nothing, or
/// throw. Before that it may be slow to answer, with reads that give nothing in between.
class faulty_stream : public support::trickle_stream {
public:
    static constexpr std::uint64_t without_end = std::numeric_limits<std::uint64_t>::max();

    enum failure { dries_up, throws_exception, throws_number };

    faulty_stream(support::bytes content, std::uint64_t budget, failure how = dries_up)
        : trickle_stream(std::move(content), without_end), m_budget(budget), m_how(how) {}

    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
        if (m_dry_left > 0) {
            --m_dry_left;
            return 0;
        }
        m_dry_left = dry_reads_between;
        if (m_budget == 0 && m_how == throws_exception) throw std::runtime_error("disk on fire");
        if (m_budget == 0 && m_how == throws_number) throw 7;
        const std::uint64_t got = trickle_stream::read_impl(buffer, std::min(count, m_budget));
        m_budget -= got;
        return got;
    }

    unsigned dry_reads_between = 0;

private:
    std::uint64_t m_budget;
    failure m_how;
    unsigned m_dry_left = 0;
};
