#include "morvantic/scriptargumentimpl.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptargument.h"

namespace engine {

namespace {

CScriptArgumentCallback* clone_of(CScriptArgumentCallback& callback) {
    return core::log_and_rethrow([&] {
        CScriptArgumentCallback* clone = callback.clone();
        if (clone == nullptr) throw core::exception("Failed to allocate memory.");
        return clone;
    });
}

} // namespace

CScriptArgumentImpl::~CScriptArgumentImpl() {
    if (callback == nullptr) return;
    release(callback);
    callback = nullptr;
}

std::unique_ptr<CScriptArgumentImpl> CScriptArgumentImpl::copy() const {
    return core::log_and_rethrow([&] {
        auto made = core::make_impl<CScriptArgumentImpl>(release, nullptr);
        if (callback != nullptr) made->callback = clone_of(*callback);
        return made;
    });
}

} // namespace engine
