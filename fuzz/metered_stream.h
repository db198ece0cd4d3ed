#pragma once

#include "fuzz/target.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace fuzz {

/// Units of fuel, which a stream and all of its clones burn together.
using tank = std::shared_ptr<std::uint64_t>;

/// Ends by out_of_fuel whoever reads, or asks for the size, more often than there is fuel.
class metered_stream : public core::input_stream {
public:
    metered_stream(core::input_stream_ptr inner, tank fuel)
        : m_inner(std::move(inner)), m_fuel(std::move(fuel)) {}

    core::input_stream_ptr clone() const override {
        auto copy = std::make_unique<core::make_smart_enabler<metered_stream>>(*this);
        return copy->m_inner ? std::move(copy) : nullptr;
    }

    bool is_seekable() const override { return m_inner->is_seekable(); }

    std::uint64_t read_impl(std::uint8_t* target, std::uint64_t count) override {
        burn();
        return m_inner->read_impl(target, std::min(count, remaining()));
    }

    std::uint64_t size_impl() const override {
        burn();
        return m_inner->size();
    }

    std::uint64_t pos_impl() const override { return m_inner->pos(); }

    void reset_impl() override { m_inner->reset(); }

    bool set_pos_impl(std::uint64_t position) override { return m_inner->set_pos(position); }

protected:
    metered_stream(const metered_stream& source)
        : input_stream(source), m_inner(source.m_inner->clone()), m_fuel(source.m_fuel) {}

private:
    void burn() const {
        if (*m_fuel == 0) throw out_of_fuel();
        --*m_fuel;
    }

    core::input_stream_ptr m_inner;
    tank m_fuel;
};

/// Bytes that arrive in pieces of at most so many.
inline core::input_stream_ptr metered_bytes(std::span<const std::uint8_t> content,
                                            std::uint64_t piece, tank fuel) {
    return std::make_unique<metered_stream>(
        std::make_unique<support::trickle_stream>(bytes(content.begin(), content.end()), piece),
        std::move(fuel));
}

} // namespace fuzz
