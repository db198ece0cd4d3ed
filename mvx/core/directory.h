#pragma once

#include "core/inputstream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace core {

class directory;
class file_info;

using directory_ptr = std::unique_ptr<directory>;
using file_info_ptr = std::unique_ptr<file_info>;

/// One entry of a directory. The directory must outlive it.
class file_info {
public:
    explicit file_info(const directory* entry_owner) noexcept : owner(entry_owner) {}

    file_info& operator=(const file_info&) = delete;
    virtual ~file_info();

    /// Path relative to the directory.
    virtual std::wstring path() const = 0;

    /// Size of the content in bytes.
    virtual std::uint64_t size() const = 0;

    // Seconds since 1970-01-01 UTC.
    virtual std::uint64_t creation_time() const = 0;
    virtual std::uint64_t modification_time() const = 0;
    virtual std::uint64_t access_time() const = 0;

    /// The entry's content. Empty without a directory, or if the directory cannot open it.
    input_stream_ptr open() const;

protected:
    file_info(const file_info&) = default;

    const directory* owner;
};

namespace internals {

/// An iteration in progress: live while `index` is below `count`.
class _const_iterator_impl {
public:
    _const_iterator_impl() = default;
    _const_iterator_impl(const _const_iterator_impl&) = delete;
    _const_iterator_impl& operator=(const _const_iterator_impl&) = delete;
    virtual ~_const_iterator_impl();

    virtual void decrement();
    virtual void increment();
    virtual file_info_ptr dereference() = 0;

    bool live() const noexcept { return index < count; }

protected:
    std::uint64_t index = 0;
    std::uint64_t count = 0;
};

} // namespace internals

/// A place in an iteration; may be empty. The directory must outlive it.
///
///     for (core::const_iterator entry = folder.search(true); entry; ++entry) use(*entry);
class const_iterator {
public:
    const_iterator() noexcept = default;

    explicit const_iterator(std::unique_ptr<internals::_const_iterator_impl> iteration) noexcept
        : impl(std::move(iteration)) {}

    explicit operator bool() const noexcept { return impl && impl->live(); }

    const_iterator& operator++();
    const_iterator& operator--();

    /// The entry here; empty if the iteration is not live.
    file_info_ptr operator*() const;

private:
    std::unique_ptr<internals::_const_iterator_impl> impl;
};

/// A place where files are kept. Paths are relative to it.
class directory {
public:
    directory& operator=(const directory&) = delete;
    virtual ~directory();

    virtual directory_ptr clone() const = 0;
    virtual bool exists(const std::wstring& path) const = 0;

    /// Empty if there is no such file or it cannot be opened.
    virtual input_stream_ptr open(const std::wstring& path) const = 0;

    /// Empty if there is no such entry.
    virtual file_info_ptr get_info(const std::wstring& path) const = 0;

    virtual const_iterator search(bool recursive) const;
    virtual directory_ptr subdirectory(const std::wstring& path) const;

    // By the dynamic type alone; a subclass compares contents with its own kind.
    virtual bool operator==(const directory& other) const;
    virtual bool operator!=(const directory& other) const;
    virtual bool operator<(const directory& other) const;

    bool exists(const file_info* entry) const;
    input_stream_ptr open(const file_info* entry) const;

protected:
    explicit directory(input_stream_ptr source_stream = nullptr) noexcept;
    /// The copy reads through a clone of the source.
    directory(const directory& original);

    input_stream_ptr source;
};

} // namespace core
