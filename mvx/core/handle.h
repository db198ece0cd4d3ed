#pragma once

#include <memory>

namespace core {

/// Frees with a function of a C library.
template <auto Release>
struct releases_with {
    template <class T>
    void operator()(T* object) const noexcept {
        static_cast<void>(Release(object));
    }
};

/// Sole owner of what a C library hands out.
template <class T, auto Release>
using handle = std::unique_ptr<T, releases_with<Release>>;

} // namespace core
