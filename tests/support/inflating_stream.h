#pragma once

#include "core_compress/inflaterinputstream.h"

#include <memory>

namespace support {

/// A clone that has its own state before anybody asks it to go anywhere.
class ready_cloning_stream : public core::InflaterInputStream {
public:
    using InflaterInputStream::InflaterInputStream;

    core::input_stream_ptr clone() const override {
        auto copy = std::make_unique<core::make_smart_enabler<ready_cloning_stream>>(*this);
        const std::uint64_t here = copy->pos_impl();
        static_cast<ready_cloning_stream&>(*copy).seek_inner(here);
        return copy;
    }
};

} // namespace support
