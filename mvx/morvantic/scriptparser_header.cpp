#include "morvantic/scriptparser.h"

// The grammar of the Header section. Until it is read here, the section stays as it was made.

namespace engine {

void CScriptParser::parse_header(CScriptHeader& /*section*/) {}

} // namespace engine
