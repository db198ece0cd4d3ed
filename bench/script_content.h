#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

/// What a reader has found. Two readers that did the same work have equal tallies.
struct tally {
    void add_object(std::string_view type, std::string_view name) noexcept {
        ++objects;
        text_bytes += type.size() + name.size();
    }

    void add_property(std::string_view key, std::string_view value) noexcept {
        ++properties;
        text_bytes += key.size() + value.size();
    }

    void add_function(std::string_view name) noexcept {
        ++functions;
        text_bytes += name.size();
    }

    void add_call(std::uint64_t name_size) noexcept {
        ++calls;
        text_bytes += name_size;
    }

    void add_text(std::uint64_t size) noexcept {
        ++texts;
        text_bytes += size;
    }

    void add_list(std::uint64_t items, std::uint64_t size) noexcept {
        ++lists;
        texts += items;
        text_bytes += size;
    }

    void add_number(std::int64_t value) noexcept {
        ++numbers;
        number_sum += value;
    }

    void add_bool(bool value) noexcept {
        ++bools;
        trues += value;
    }

    std::uint64_t values() const noexcept { return calls + texts + lists + numbers + bools; }

    bool operator==(const tally&) const = default;

    std::uint64_t objects = 0;
    std::uint64_t properties = 0;
    std::uint64_t functions = 0;
    std::uint64_t calls = 0;
    std::uint64_t texts = 0; // the items of lists too
    std::uint64_t lists = 0;
    std::uint64_t numbers = 0;
    std::uint64_t bools = 0;
    std::uint64_t text_bytes = 0; // names included
    std::int64_t number_sum = 0;
    std::uint64_t trues = 0;
};

/// One invented content, like that of real scripts, in three languages. What scripts give names to
/// is spelled in the other two as the host receives it: a constant by its text, an enumeration
/// value by its number. The same size gives the same content.
struct script_content {
    /// At least so many bytes of script.
    explicit script_content(std::size_t script_size);

    std::string script; // with all of it in the section ::App::Script::
    std::string libconfig;
    std::string toml;
    tally expected;
};

} // namespace bench
