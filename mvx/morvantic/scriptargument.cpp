#include "morvantic/scriptargument.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptargumentimpl.h"

#include <algorithm>
#include <utility>

namespace engine {

namespace {

std::unique_ptr<CScriptArgumentImpl> copy_of(const std::unique_ptr<CScriptArgumentImpl>& impl) {
    return impl ? impl->copy() : nullptr;
}

constexpr std::size_t growth_step = 5;

/// An argument in a list, which alone frees it.
struct listed_argument final : core::recycled, CScriptArgument {
    explicit listed_argument(const CScriptArgument& source) : CScriptArgument(source) {}
};

void free_listed(CScriptArgument* argument) noexcept {
    delete static_cast<listed_argument*>(argument);
}

} // namespace

CScriptArgumentCallback::CScriptArgumentCallback() noexcept : m_type{} {}

CScriptArgumentCallback::CScriptArgumentCallback(EType type) noexcept : m_type(type) {}

CScriptArgumentCallback::CScriptArgumentCallback(CScriptArgumentCallback&& other) noexcept
    : m_type(other.m_type) {}

CScriptArgumentCallback::~CScriptArgumentCallback() = default;

EType CScriptArgumentCallback::type() const noexcept { return m_type; }

void CScriptArgument::delete_callback(void* callback) noexcept {
    delete static_cast<CScriptArgumentCallback*>(callback);
}

CScriptArgument::CScriptArgument(void (*release)(void*), CScriptArgumentCallback* callback) {
    try {
        impl = core::log_and_rethrow(
            [&] { return core::make_impl<CScriptArgumentImpl>(release, callback); });
    } catch (...) {
        if (callback != nullptr) release(callback);
        throw;
    }
}

CScriptArgument::CScriptArgument(CScriptArgument&& other) noexcept = default;

CScriptArgument::CScriptArgument(const CScriptArgument& other) : impl(copy_of(other.impl)) {}

CScriptArgument& CScriptArgument::operator=(const CScriptArgument& other) {
    return core::log_and_rethrow([&]() -> CScriptArgument& {
        if (impl == other.impl) return *this;
        clear();
        impl = copy_of(other.impl);
        return *this;
    });
}

CScriptArgument::~CScriptArgument() = default;

CScriptArgumentCallback* CScriptArgument::argument() noexcept {
    return impl ? impl->callback : nullptr;
}

bool CScriptArgument::initialized() const noexcept { return impl && impl->callback != nullptr; }

void CScriptArgument::clear() noexcept { impl.reset(); }

CScriptArguments::CScriptArguments(std::size_t n)
    : index(0), count(n), capacity(n), items(n == 0 ? nullptr : new CScriptArgument*[n]()) {}

CScriptArguments::~CScriptArguments() { clear(); }

void CScriptArguments::insert(CScriptArgument& argument) {
    if (index >= count) realloc(count + 1);
    // The slot is not freed: after reset_index an insert loses what stood there.
    items[index] = new listed_argument(argument);
    ++index;
}

CScriptArgument* CScriptArguments::next() noexcept {
    return index < count ? items[index++] : nullptr;
}

CScriptArgument* CScriptArguments::prev() noexcept {
    if (index > 0) --index;
    return at();
}

CScriptArgument* CScriptArguments::at() const noexcept { return at(index); }

CScriptArgument* CScriptArguments::at(std::size_t i) const noexcept {
    return i < count ? items[i] : nullptr;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"

const std::size_t CScriptArguments::size() const noexcept { return count; }

#pragma GCC diagnostic pop

void CScriptArguments::reset_index() noexcept { index = 0; }

void CScriptArguments::clear() noexcept { clear(capacity); }

void CScriptArguments::clear(std::size_t n) noexcept {
    if (items == nullptr) return;
    for (std::size_t i = 0; i != n; ++i)
        free_listed(items[i]);
    delete[] items;
    items = nullptr;
}

void CScriptArguments::realloc(std::size_t n) {
    if (capacity < n) {
        // Complete before anything changes here, since a clone may throw.
        CScriptArguments grown(std::max(capacity + growth_step, n));
        for (std::size_t i = 0; i != count; ++i) {
            if (items[i] == nullptr) continue;
            grown.items[i] = new listed_argument(*items[i]);
        }
        std::swap(items, grown.items);
        std::swap(capacity, grown.capacity);
    }
    count = n;
}

} // namespace engine
