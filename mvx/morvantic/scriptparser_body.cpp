#include "morvantic/scriptparser.h"

// The grammar of the Script section. Until it is read here, the section stays as it was made.

namespace engine {

void CScriptParser::parse_body(CScriptBody& /*section*/) {}

} // namespace engine
