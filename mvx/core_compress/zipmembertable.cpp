#include "core_compress/zipmembertable.h"

#include "core/text.h"

#include <algorithm>
#include <memory>

namespace core::zip {

namespace {

constexpr u16_less less;

bool before(const listed_member& left, const listed_member& right) {
    return less(left.name, right.name);
}

} // namespace

template <class T>
const T* member_table::keep(const T* first, std::size_t count) {
    T* kept = std::pmr::polymorphic_allocator<T>(&memory).allocate(count);
    std::uninitialized_copy_n(first, count, kept);
    return kept;
}

void member_table::add(std::wstring_view name, const minizip::unz_file_info64& info,
                       const minizip::unz64_file_pos& file_pos) {
    members.push_back({{keep(name.data(), name.size()), name.size()},
                       keep(info.get(), 1),
                       keep(file_pos.get(), 1)});
}

std::size_t member_table::settle() {
    // Archives are mostly written in the order of their names.
    if (!std::is_sorted(members.begin(), members.end(), before)) {
        std::stable_sort(members.begin(), members.end(), before);
    }
    const auto same_name = [](const listed_member& left, const listed_member& right) {
        return !before(left, right);
    };
    const auto doubles = std::unique(members.begin(), members.end(), same_name);
    const auto dropped = static_cast<std::size_t>(members.end() - doubles);
    members.erase(doubles, members.end());
    return dropped;
}

const listed_member* member_table::find(std::wstring_view name) const {
    const auto found = std::lower_bound(members.begin(), members.end(), name,
                                        [](const listed_member& member, std::wstring_view wanted) {
                                            return less(member.name, wanted);
                                        });
    return found == members.end() || less(name, found->name) ? nullptr : &*found;
}

} // namespace core::zip
