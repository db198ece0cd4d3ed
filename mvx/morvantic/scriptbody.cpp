#include "morvantic/scriptbody.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptbodyimpl.h"

namespace engine {

CScriptBody::CScriptBody(const char* section_namespace, const char* section_name)
    : CScriptSection(section_namespace, section_name),
      impl(core::log_and_rethrow([] { return core::make_impl<CScriptBodyImpl>(); })) {}

CScriptBody::~CScriptBody() = default;

} // namespace engine
