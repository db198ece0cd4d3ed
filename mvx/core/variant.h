#pragma once

#include "core/logandrethrow.h"
#include "core/recycling.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace core {

/// Coarse kind of a variant's value.
enum variant_kind : std::int32_t {
    variant_unknown = 0,
    variant_bool = 1,
    variant_integer = 2,
    variant_floating = 3,
    variant_text = 4,
    variant_text_list = 5,
    variant_bytes = 6,
    variant_nested_list = 7, // never computed, only given
};

class basic_variant;

namespace internals {

/// Lists whose elements pair something with a variant, and so may nest.
template <class T>
inline constexpr bool is_nested_list = false;
template <class Tag>
inline constexpr bool is_nested_list<std::vector<std::pair<Tag, basic_variant>>> = true;

/// The kind of a type by its hash; an assertion and variant_unknown for any other.
variant_kind kind_of_type(std::uint64_t type_hash);

template <class T>
std::uint64_t hash_of() noexcept {
    static const std::uint64_t hash = typeid(T).hash_code();
    return hash;
}

} // namespace internals

/// A value of any copyable type, with its exact type as a hash and a coarse kind. Casts go by the
/// exact type first and by the kind second. Lists of variants may nest to any depth: nothing here
/// recurses on them. No shared state; a copy clones its value.
class basic_variant {
public:
    basic_variant() noexcept = default;

    /// A kind of 0 is replaced by that of the type; any other is kept, whatever the type.
    template <class T>
    basic_variant(variant_kind given_kind, T value)
        : basic_variant(given_kind, std::in_place_type<T>, std::move(value)) {}

    /// Makes the value where it stays, from what makes a T.
    template <class T, class Source>
    basic_variant(variant_kind given_kind, std::in_place_type_t<T>, Source&& source)
        : content(std::make_unique<holder<T>>(std::in_place, std::forward<Source>(source))),
          type_hash(internals::hash_of<T>()),
          m_kind(given_kind != variant_unknown ? given_kind : internals::kind_of_type(type_hash)) {}

    basic_variant(const basic_variant& other);

    basic_variant(basic_variant&& other) noexcept
        : content(std::move(other.content)), type_hash(other.type_hash), m_kind(other.m_kind) {}

    basic_variant& operator=(const basic_variant& other);
    basic_variant& operator=(basic_variant&& other) noexcept;
    virtual ~basic_variant();

    variant_kind kind() const noexcept { return m_kind; }

    template <class T>
    bool is() const noexcept {
        return content && type_hash == internals::hash_of<T>();
    }

    bool is_numeric() const noexcept {
        return m_kind == variant_bool || m_kind == variant_integer || m_kind == variant_floating;
    }

    /// The value in another type. Throws "Failed to cast to type: " and the type's name, logged. A
    /// number cast to another numeric type is its stored bytes read anew, with no conversion.
    template <class T>
    T cast() const;

    /// The value itself, null unless it is exactly of this type. Lives in the variant.
    template <class T>
    T* held() noexcept;
    template <class T>
    const T* held() const noexcept;

    /// As held, but throws as cast does.
    template <class T>
    T& get();
    template <class T>
    const T& get() const;

private:
    struct placeholder : recycled {
        placeholder() = default;
        placeholder(const placeholder&) = delete;
        placeholder& operator=(const placeholder&) = delete;
        virtual ~placeholder() = default;
        virtual std::unique_ptr<placeholder> clone() const = 0;
    };

    template <class T>
    struct holder;

    template <class T>
    static T copy_of(const T& source);
    template <class List>
    static List copy_of_list(const List& source);
    template <class List>
    static void empty_list(List& list) noexcept;

    [[noreturn]] static void fail_cast(const std::type_info& wanted);
    bool cast_into(bool& target) const;
    bool cast_into(long long& target) const;
    bool cast_into(std::string& target) const;
    bool cast_into(std::vector<std::string>& target) const;
    template <class T>
    bool cast_into(T& target) const;
    bool reread_number(void* target, std::size_t size) const noexcept;

    std::unique_ptr<placeholder> content;
    std::uint64_t type_hash = 0;
    variant_kind m_kind = variant_unknown;
};

template <class T>
struct basic_variant::holder final : placeholder {
    template <class Source>
    holder(std::in_place_t, Source&& source) : value(std::forward<Source>(source)) {}

    ~holder() override {
        if constexpr (internals::is_nested_list<T>) empty_list(value);
    }

    std::unique_ptr<placeholder> clone() const override {
        return std::make_unique<holder<T>>(std::in_place, copy_of(value));
    }

    T value;
};

template <class T>
T* basic_variant::held() noexcept {
    return is<T>() ? &static_cast<holder<T>*>(content.get())->value : nullptr;
}

template <class T>
const T* basic_variant::held() const noexcept {
    return is<T>() ? &static_cast<const holder<T>*>(content.get())->value : nullptr;
}

template <class T>
T basic_variant::cast() const {
    return log_and_rethrow([&] {
        T target{};
        if (!cast_into(target)) fail_cast(typeid(T));
        return target;
    });
}

template <class T>
T& basic_variant::get() {
    return const_cast<T&>(std::as_const(*this).get<T>());
}

template <class T>
const T& basic_variant::get() const {
    const T* exact = held<T>();
    if (exact == nullptr) log_and_rethrow([] { fail_cast(typeid(T)); });
    return *exact;
}

template <class T>
bool basic_variant::cast_into(T& target) const {
    const T* exact = held<T>();
    if (exact != nullptr) target = copy_of(*exact);
    return exact != nullptr;
}

template <class T>
T basic_variant::copy_of(const T& source) {
    if constexpr (internals::is_nested_list<T>) {
        return copy_of_list(source);
    } else {
        return source;
    }
}

/// Copies level by level, with the levels still to come in a list of their own.
template <class List>
List basic_variant::copy_of_list(const List& source) {
    List copy;
    std::vector<std::pair<const List*, List*>> pending{{&source, &copy}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        to->reserve(from->size()); // so that what is noted below stays where it is
        for (const auto& [tag, variant] : *from) {
            const List* nested = variant.template held<List>();
            if (nested == nullptr) {
                to->emplace_back(tag, variant);
                continue;
            }
            to->emplace_back(tag, basic_variant(variant_nested_list, List()));
            to->back().second.m_kind = variant.kind();
            pending.emplace_back(nested, to->back().second.template held<List>());
        }
    }
    return copy;
}

/// Empties a list without letting one destructor run inside another, and without allocating: what
/// is left of a list waits inside a child of the list that is looked at next.
template <class List>
void basic_variant::empty_list(List& list) noexcept {
    List current;
    current.swap(list);
    while (!current.empty()) {
        basic_variant hand = std::move(current.back().second);
        current.pop_back();
        for (List* nested = hand.template held<List>(); nested != nullptr && !nested->empty();
             nested = hand.template held<List>()) {
            current.swap(*nested);
            if (nested->empty()) break;
            std::swap(current.back().second, hand);
        }
    }
}

} // namespace core
