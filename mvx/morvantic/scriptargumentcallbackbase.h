#pragma once

#include "morvantic/scriptargument.h"

/// @file
/// Two conveniences for hosts, made of this header alone.

namespace engine {

/// A callback that ignores every value: a host overrides the operations that it wants, and clone.
class CScriptArgumentCallbackBase : public CScriptArgumentCallback {
public:
    /// Type 0.
    CScriptArgumentCallbackBase() noexcept = default;

    /// A type of the host's choice, for its own use.
    explicit CScriptArgumentCallbackBase(EType type) noexcept : CScriptArgumentCallback(type) {}

    /// Takes over the type.
    CScriptArgumentCallbackBase(const CScriptArgumentCallbackBase& other) noexcept
        : CScriptArgumentCallback(other.type()) {}

    CScriptArgumentCallbackBase& operator=(const CScriptArgumentCallbackBase&) = delete;

    void reserved_1() override {}

    void reserved_2() override {}

    void reserved_3() override {}

    void set_int(long long /*value*/) override {}

    void reserved_4() override {}

    void reserved_5() override {}

    void reserved_6() override {}

    void reserved_7() override {}

    void reserved_8() override {}

    void reserved_9() override {}

    void reserved_10() override {}

    void reserved_11() override {}

    void set_bool(bool /*value*/) override {}

    void reserved_12() override {}

    void set_string(const char* /*value*/) override {}

    void reserved_13() override {}

    void set_function(const char* /*name*/) override {}

    void reserved_14() override {}

    void set_analyzer(const char* /*name*/) override {}

    void reserved_15() override {}

    void set_bytes(const unsigned char* /*bytes*/, std::size_t /*size*/) override {}

    void list_begin() override {}

    void reserved_16() override {}

    void list_add(const char* /*value*/) override {}

    void list_end() override {}

    void set_arguments(CScriptArguments* /*arguments*/) override {}
};

/// The same, and clone besides, by the copy constructor of `Derived`. The class that is named must
/// be the most derived one. Its clones are made by `new`, so the default release function frees
/// them.
///
/// @code
/// struct text_value : engine::CScriptArgumentCallbackOf<text_value> {
///     std::string text;
///     void set_string(const char* value) override { text = value; }
/// };
/// @endcode
template <class Derived>
class CScriptArgumentCallbackOf : public CScriptArgumentCallbackBase {
public:
    using CScriptArgumentCallbackBase::CScriptArgumentCallbackBase;

    CScriptArgumentCallback* clone() override {
        return new Derived(static_cast<const Derived&>(*this));
    }
};

} // namespace engine
