#pragma once

#include "fuzz/metered_stream.h"

#include "core/directory.h"

#include <algorithm>
#include <map>
#include <string>

namespace fuzz {

/// The content of a member that was opened: whole, in pieces and by a clone it is the same.
inline bytes read_member(core::input_stream& member) {
    constexpr std::size_t whole = 65536;
    const std::uint64_t size = member.size();
    bytes content = read_all(member, whole);
    require(content.size() == size, "a member has its size");
    const auto copy = member.clone();
    require(copy != nullptr, "a member can be cloned");
    copy->set_pos(size); // a clone that inflates has to be sought first
    for (core::input_stream* stream : {&member, copy.get()}) {
        stream->set_pos(0);
        require(read_all(*stream, 1 + content.size() / 100) == content, "pieces are the whole");
    }
    return content;
}

/// Null also if the local header breaks off.
inline core::input_stream_ptr opened(const core::file_info& info) {
    try {
        return info.open();
    } catch (const core::exception&) {
        return nullptr;
    }
}

/// Opens all that is listed, with so much fuel for each. Gives what was read.
inline std::map<std::wstring, bytes> read_members(const core::directory& folder, const tank& fuel,
                                                  std::uint64_t each) {
    std::map<std::wstring, bytes> contents;
    for (core::const_iterator entry = folder.search(true); entry; ++entry) {
        const core::file_info_ptr info = *entry;
        require(info != nullptr && folder.exists(info.get()), "what is listed is there");
        static_cast<void>(info->modification_time());
        *fuel = each;
        fenced([&] {
            const core::input_stream_ptr member = opened(*info);
            if (member) contents.emplace(info->path(), read_member(*member));
        });
    }
    return contents;
}

} // namespace fuzz
