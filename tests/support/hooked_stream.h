#pragma once

#include "support/test_streams.h"

#include <functional>

namespace support {

/// Lets a test act in front of each read. Its clones are plain.
class hooked_stream : public trickle_stream {
public:
    using trickle_stream::trickle_stream;

    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
        if (before_read) before_read(*this);
        return trickle_stream::read_impl(buffer, count);
    }

    std::function<void(trickle_stream&)> before_read;
};

} // namespace support
