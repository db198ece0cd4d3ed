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
    if (!std::is_sorted(members.begin(), members.end(), before)) sort();
    const auto same_name = [](const listed_member& left, const listed_member& right) {
        return !before(left, right);
    };
    const auto doubles = std::unique(members.begin(), members.end(), same_name);
    const auto dropped = static_cast<std::size_t>(members.end() - doubles);
    members.erase(doubles, members.end());
    members.shrink_to_fit();
    return dropped;
}

/// Most comparisons are decided by the units behind what all names begin with, which lie at hand;
/// the names themselves are spread over memory.
void member_table::sort() {
    struct keyed_member {
        std::uint64_t key;
        listed_member member;
    };

    std::wstring_view common = members.front().name;
    for (const listed_member& member : members) {
        const auto differs =
            std::mismatch(common.begin(), common.end(), member.name.begin(), member.name.end());
        common = {common.begin(), differs.first};
    }
    std::vector<keyed_member> keyed;
    keyed.reserve(members.size());
    for (const listed_member& member : members)
        keyed.push_back({leading_units(member.name.substr(common.size())), member});
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const keyed_member& left, const keyed_member& right) {
                         if (left.key != right.key) return left.key < right.key;
                         return before(left.member, right.member);
                     });
    std::transform(keyed.begin(), keyed.end(), members.begin(),
                   [](const keyed_member& sorted) { return sorted.member; });
}

const listed_member* member_table::find(std::wstring_view name) const {
    const auto found = std::lower_bound(members.begin(), members.end(), name,
                                        [](const listed_member& member, std::wstring_view wanted) {
                                            return less(member.name, wanted);
                                        });
    return found == members.end() || less(name, found->name) ? nullptr : &*found;
}

} // namespace core::zip
