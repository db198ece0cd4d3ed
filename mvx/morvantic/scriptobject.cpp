#include "morvantic/scriptobject.h"

namespace engine {

CScriptObject::~CScriptObject() = default;

bool CScriptObject::add_constant(const std::string& name, const std::string& value) {
    return constants.emplace(name, value).second;
}

} // namespace engine
