#include "core/directory.h"

#include "core/debug.h"

#include <typeinfo>
#include <utility>

namespace core {

file_info::~file_info() = default;

input_stream_ptr file_info::open() const { return owner == nullptr ? nullptr : owner->open(this); }

namespace internals {

_const_iterator_impl::~_const_iterator_impl() = default;

void _const_iterator_impl::decrement() { --index; }

void _const_iterator_impl::increment() { ++index; }

} // namespace internals

const_iterator& const_iterator::operator++() {
    if (impl) impl->increment();
    return *this;
}

const_iterator& const_iterator::operator--() {
    if (impl) impl->decrement();
    return *this;
}

file_info_ptr const_iterator::operator*() const { return *this ? impl->dereference() : nullptr; }

directory::directory(input_stream_ptr source_stream) noexcept : source(std::move(source_stream)) {}

directory::directory(const directory& original)
    : source(original.source ? original.source->clone() : nullptr) {}

directory::~directory() = default;

const_iterator directory::search(bool /*recursive*/) const {
    assertion("!\"Not implemented\"");
    return {};
}

directory_ptr directory::subdirectory(const std::wstring& /*path*/) const {
    assertion("!\"Not implemented\"");
    return nullptr;
}

bool directory::operator==(const directory& other) const {
    return typeid(*this).hash_code() == typeid(other).hash_code();
}

bool directory::operator!=(const directory& other) const { return !directory::operator==(other); }

bool directory::operator<(const directory& other) const {
    return typeid(*this).hash_code() < typeid(other).hash_code();
}

bool directory::exists(const file_info* entry) const {
    return entry != nullptr && exists(entry->path());
}

input_stream_ptr directory::open(const file_info* entry) const {
    return entry == nullptr ? nullptr : open(entry->path());
}

} // namespace core
