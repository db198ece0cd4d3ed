#pragma once

#include "morvantic/scriptparser.h"
#include "morvantic/scriptsection.h"

#include <memory>
#include <string>
#include <vector>

namespace engine {

class CScript;

struct CScriptImpl {
    CScriptImpl(CScript* script, const std::wstring& script_name)
        : owner(script), parser(this, script_name) {}

    CScript* owner;
    CScriptParser parser;
    std::vector<std::unique_ptr<CScriptSection>> sections; // in order of creation; destroyed first
};

} // namespace engine
