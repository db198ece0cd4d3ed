#pragma once

#include <morvantic/morvantic.h>

#include <optional>
#include <string>

/// One whole file of the installed package, by its path in the package; nothing if there is none.
/// Resources may be of any kind, so their operation stands for the other three here.
inline std::optional<std::string> package_file(const std::string& name) {
    struct file_bytes : engine::CScriptArgumentCallbackOf<file_bytes> {
        std::string content;

        void set_bytes(const unsigned char* bytes, std::size_t size) override {
            if (size != 0) content.assign(reinterpret_cast<const char*>(bytes), size);
        }
    } file;

    const std::wstring wide = engine::to_wide(name);
    const bool is_there = engine::CScriptStorageInterface::get_resource_file(wide.c_str(), &file);
    return is_there ? std::optional(file.content) : std::nullopt;
}
