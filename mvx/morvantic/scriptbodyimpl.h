#pragma once

#include "morvantic/scriptobject.h"

namespace engine {

struct CScriptBodyImpl : CScriptObject {};

} // namespace engine
