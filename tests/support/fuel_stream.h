#pragma once

#include "support/test_streams.h"

#include <stdexcept>
#include <utility>

namespace support {

/// What a fuel_stream and its clones may spend: one unit for each read and each look at the size.
struct fuel_tank {
    std::uint64_t left = ~std::uint64_t{0};
    std::uint64_t reads = 0;
};

struct out_of_fuel : std::runtime_error {
    out_of_fuel() : std::runtime_error("out of fuel") {}
};

/// Ends a reader that would go on for ever: throws once its tank is dry, and cannot be cloned then.
class fuel_stream : public trickle_stream {
public:
    fuel_stream(bytes content, std::shared_ptr<fuel_tank> tank)
        : trickle_stream(std::move(content), ~std::uint64_t{0}), m_tank(std::move(tank)) {}

    core::input_stream_ptr clone() const override {
        if (m_tank->left == 0) return nullptr;
        return std::make_unique<core::make_smart_enabler<fuel_stream>>(*this);
    }

    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
        burn();
        ++m_tank->reads;
        return trickle_stream::read_impl(buffer, count);
    }

    std::uint64_t size_impl() const override {
        burn();
        return trickle_stream::size_impl();
    }

protected:
    fuel_stream(const fuel_stream&) = default;

private:
    void burn() const {
        if (m_tank->left == 0) throw out_of_fuel();
        --m_tank->left;
    }

    std::shared_ptr<fuel_tank> m_tank;
};

} // namespace support
