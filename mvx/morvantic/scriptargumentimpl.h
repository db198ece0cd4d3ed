#pragma once

#include "core/recycling.h"

#include <memory>

namespace engine {

class CScriptArgumentCallback;

struct CScriptArgumentImpl : core::recycled {
    CScriptArgumentImpl(void (*release_function)(void*), CScriptArgumentCallback* owned) noexcept
        : release(release_function), callback(owned) {}

    CScriptArgumentImpl(const CScriptArgumentImpl&) = delete;
    CScriptArgumentImpl& operator=(const CScriptArgumentImpl&) = delete;

    /// Releases the callback.
    ~CScriptArgumentImpl();

    /// A second implementation that owns a clone of the callback, if there is one. Throws "Failed
    /// to allocate memory." if there can be none; failures are logged here.
    std::unique_ptr<CScriptArgumentImpl> copy() const;

    void (*release)(void*);
    CScriptArgumentCallback* callback;
};

} // namespace engine
