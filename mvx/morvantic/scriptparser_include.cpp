#include "morvantic/scriptparser.h"

// The grammar of the Include section. Until it is read here, the section stays as it was made.

namespace engine {

void CScriptParser::parse_include(CScriptInclude& /*section*/) {}

} // namespace engine
