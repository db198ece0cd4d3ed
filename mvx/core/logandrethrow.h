#pragma once

#include "core/debug.h"

#include <concepts>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

// What happens to a failure on its way: each pattern stands here once.

namespace core {

/// Runs the work. What it throws is logged as "[EXC] " and its text, and thrown on unchanged.
template <std::invocable Work>
decltype(auto) log_and_rethrow(Work&& work, source_place place = source_place::here()) {
    try {
        return std::invoke(std::forward<Work>(work));
    } catch (...) {
        log_current_exception(place);
        throw;
    }
}

/// Throws, and logs itself as log_and_rethrow would: for a failure that is logged where it is born.
template <class Exception = exception>
[[noreturn]] void throw_logged(const std::string& message,
                               source_place place = source_place::here()) {
    log_and_rethrow([&] { throw Exception(message); }, place);
    __builtin_unreachable();
}

/// Runs the work. A std::exception ends here: its text is logged at level Error, and the result is
/// an empty one. Anything else passes.
template <std::invocable Work>
std::invoke_result_t<Work> log_and_swallow(Work&& work, source_place place = source_place::here()) {
    try {
        return std::invoke(std::forward<Work>(work));
    } catch (const std::exception& failure) {
        const char* text = failure.what();
        error_logger{place} << text;
    }
    return std::invoke_result_t<Work>();
}

/// As log_and_swallow, for what is not a std::exception too: that is logged as
/// "Unknown Exception.".
template <std::invocable Work>
std::invoke_result_t<Work> log_and_swallow_all(Work&& work,
                                               source_place place = source_place::here()) {
    try {
        return log_and_swallow(std::forward<Work>(work), place);
    } catch (...) {
        error_logger{place} << "Unknown Exception.";
    }
    return std::invoke_result_t<Work>();
}

/// Runs a clone operation: one that fails is logged and gives an empty pointer.
template <std::invocable Work>
std::invoke_result_t<Work> logged_clone(Work&& work, source_place place = source_place::here()) {
    return log_and_swallow(std::forward<Work>(work), place);
}

/// Makes the implementation object behind an exported class.
template <class Impl, class... Args>
std::unique_ptr<Impl> make_impl(Args&&... args) {
    std::unique_ptr<Impl> impl(new (std::nothrow) Impl(std::forward<Args>(args)...));
    if (!impl) throw exception("Failed to allocate memory.");
    return impl;
}

} // namespace core
