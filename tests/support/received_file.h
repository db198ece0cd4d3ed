#pragma once

#include <cstddef>
#include <morvantic/morvantic.h>
#include <string>

namespace support {

/// Receives a file.
struct received_file : engine::CScriptArgumentCallbackOf<received_file> {
    void set_bytes(const unsigned char* data, std::size_t size) override {
        ++calls;
        content.assign(data, data + size);
    }

    int calls = 0;
    std::string content;
};

} // namespace support
