#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace engine {

struct CScriptStorageInterfaceImpl {
    CScriptStorageInterfaceImpl() { take_snapshot(); }

    void take_snapshot();

    std::uint64_t m_index = 0; // of the next name
    std::vector<std::wstring> m_names;
};

} // namespace engine
