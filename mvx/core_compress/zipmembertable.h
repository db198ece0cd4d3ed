#pragma once

#include "core_compress/ziparchivesupport.h"

#include <cstddef>
#include <memory_resource>
#include <string_view>
#include <vector>

namespace core::zip {

/// A member as it was listed. The table owns what it refers to.
struct listed_member {
    std::wstring_view name;
    const minizip::internals::member_record* record;
    const ::unz64_file_pos* file_pos;
};

/// The members of an archive, ordered by the 16-bit units of their names. Names and records lie one
/// behind the other in a few large pieces of memory, and are sorted once.
class member_table {
public:
    using const_iterator = std::vector<listed_member>::const_iterator;

    /// Copies the name and what the structures hold.
    void add(std::wstring_view name, const minizip::unz_file_info64& info,
             const minizip::unz64_file_pos& file_pos);

    /// Puts the members in order. Of several with one name the first added stays; returns how many
    /// others there were. Nothing may be looked up before, or added after.
    std::size_t settle();

    /// Null if there is no such member.
    const listed_member* find(std::wstring_view name) const;

    const_iterator begin() const noexcept { return members.begin(); }

    const_iterator end() const noexcept { return members.end(); }

private:
    void sort();
    template <class T>
    const T* keep(const T* first, std::size_t count);

    std::pmr::monotonic_buffer_resource memory;
    std::vector<listed_member> members;
};

} // namespace core::zip
