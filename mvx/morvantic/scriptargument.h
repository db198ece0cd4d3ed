#pragma once

#include "morvantic/export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// @file
/// How values reach the host. The engine never decides what a value becomes: it hands each one to a
/// CScriptArgumentCallback, which the host writes. CScriptArgument owns one callback, and
/// CScriptArguments is a list of arguments with a cursor.
///
/// None of the three is locked: an object belongs to one thread at a time.

namespace engine {

class CScriptArguments;
struct CScriptArgumentImpl;

/// What kind of callback it is: a number that the engine stores and the host defines.
enum EType : std::int32_t {};

/// Receives one value of a script, or the bytes of one stored file. The host derives from it, most
/// easily by way of scriptargumentcallbackbase.h, where every operation has an empty body.
///
/// What an operation throws passes through the engine: out of the storage interface to its caller,
/// and out of parsing to CScript::section, which logs a std::exception and gives a null section;
/// anything else passes on. Text and bytes are the engine's and live no longer than the call.
///
/// The reserved operations are never called. They keep the others at their places, so that the
/// interface stays compatible with hosts that are built against it.
class MV_API CScriptArgumentCallback {
public:
    /// Type 0.
    CScriptArgumentCallback() noexcept;

    /// A type of the host's choice, for its own use.
    explicit CScriptArgumentCallback(EType type) noexcept;

    /// Takes over the type.
    CScriptArgumentCallback(CScriptArgumentCallback&& other) noexcept;

    CScriptArgumentCallback& operator=(const CScriptArgumentCallback&) = delete;

    virtual ~CScriptArgumentCallback();

    /// A new callback with the same content, which the caller frees as it would free this one; or
    /// null if there can be none. Called whenever an argument is copied, each insertion into a list
    /// included, so what has been set so far has to go along.
    virtual CScriptArgumentCallback* clone() = 0;

    virtual void reserved_1() = 0; ///< never called
    virtual void reserved_2() = 0; ///< never called
    virtual void reserved_3() = 0; ///< never called

    /// An integer, or an enumeration value by its number in EEnumValue.
    virtual void set_int(long long value) = 0;

    virtual void reserved_4() = 0;  ///< never called
    virtual void reserved_5() = 0;  ///< never called
    virtual void reserved_6() = 0;  ///< never called
    virtual void reserved_7() = 0;  ///< never called
    virtual void reserved_8() = 0;  ///< never called
    virtual void reserved_9() = 0;  ///< never called
    virtual void reserved_10() = 0; ///< never called
    virtual void reserved_11() = 0; ///< never called

    /// The word "true" or "false".
    virtual void set_bool(bool value) = 0;

    virtual void reserved_12() = 0; ///< never called

    /// A string, or a constant by its value.
    virtual void set_string(const char* value) = 0;

    virtual void reserved_13() = 0; ///< never called

    /// A call of a Python function by its full name, "namespace::function". The argument that
    /// follows in the list gets the call's own arguments by set_arguments.
    virtual void set_function(const char* name) = 0;

    virtual void reserved_14() = 0; ///< never called

    /// An analyzer that an earlier statement of the same section has named.
    virtual void set_analyzer(const char* name) = 0;

    virtual void reserved_15() = 0; ///< never called

    /// The whole content of a stored file, once. `bytes` may be null if `size` is 0.
    virtual void set_bytes(const unsigned char* bytes, std::size_t size) = 0;

    /// A list of strings begins; list_add brings each of them, in order, and list_end ends it.
    virtual void list_begin() = 0;

    virtual void reserved_16() = 0; ///< never called

    /// One string of the list.
    virtual void list_add(const char* value) = 0;

    /// The list is complete.
    virtual void list_end() = 0;

    /// The arguments of the call that the argument before this one names. The list is the engine's:
    /// it lives until the operation of CScriptBody returns that receives the outermost list, and
    /// for the arguments of an object until CScriptBody::object_end has returned.
    virtual void set_arguments(CScriptArguments* arguments) = 0;

    /// The type that was given when the callback was made.
    EType type() const noexcept;

private:
    EType m_type;
};

/// Owns one callback, or none, and the function that frees it. Copying clones the callback, move
/// construction takes it along; every assignment clones.
///
/// @code
/// engine::CScriptArgument create_argument() override {
///     return engine::CScriptArgument(&engine::CScriptArgument::delete_callback, new my_value);
/// }
/// @endcode
class MV_API CScriptArgument {
public:
    /// Frees a callback with plain `delete`: the release function for what `new` made.
    static void delete_callback(void* callback) noexcept;

    /// Takes ownership of `callback`, which may be null. `release` must be a function that does not
    /// throw. It is called once for the callback and once for each of its clones, and receives the
    /// CScriptArgumentCallback*: it casts to that first, and only then to the host's own class.
    ///
    /// Throws a std::exception, "Failed to allocate memory."; the callback has then been released.
    CScriptArgument(void (*release)(void*) = &delete_callback,
                    CScriptArgumentCallback* callback = nullptr);

    /// Leaves `other` without a callback, good only for destruction and for argument().
    CScriptArgument(CScriptArgument&& other) noexcept;

    /// Clones the callback. Throws "Failed to allocate memory." if there is no clone, and whatever
    /// clone throws; `other` stays as it is.
    CScriptArgument(const CScriptArgument& other);

    /// Releases the own callback, then clones the other's; throws as the copy constructor does, and
    /// is then as if moved from. `other` must not have been moved from.
    CScriptArgument& operator=(const CScriptArgument& other);

    /// Releases the callback.
    ~CScriptArgument();

    /// The callback, which stays owned by the argument; null if there is none.
    CScriptArgumentCallback* argument() noexcept;

    /// Whether there is a callback.
    bool initialized() const noexcept;

private:
    MV_LOCAL void clear() noexcept;

    std::unique_ptr<CScriptArgumentImpl> impl; // null once moved from, or left by a failed copy
};

/// A list of arguments with a cursor, the form in which the arguments of an object or a function
/// cross the boundary. Arguments are inserted as copies, and slots that were not filled yet are
/// null.
///
/// A list that the engine hands to CScriptBody or to CScriptArgumentCallback::set_arguments has its
/// cursor at the end, belongs to the engine and is destroyed after the call; copy what is to stay.
///
/// @code
/// arguments->reset_index();
/// while (engine::CScriptArgument* argument = arguments->next()) keep(argument->argument());
/// @endcode
class MV_API CScriptArguments {
public:
    /// A list of `n` empty slots. Throws std::bad_alloc.
    explicit CScriptArguments(std::size_t n);

    CScriptArguments(const CScriptArguments&) = delete;
    CScriptArguments& operator=(const CScriptArguments&) = delete;

    /// Releases all arguments.
    ~CScriptArguments();

    /// Puts a copy of the argument into the slot at the cursor and moves on; at the end the list
    /// grows by one slot. Growing copies all arguments once more, so pointers to them end here.
    ///
    /// For building only: a slot that is filled already is overwritten without release, so after
    /// reset_index an insert leaks what stood there. The argument must not stand in this very list.
    /// Throws as copying an argument does; the list then holds what it held before, perhaps with an
    /// empty slot more.
    void insert(CScriptArgument& argument);

    /// The slot at the cursor, which moves on; null at the end.
    CScriptArgument* next() noexcept;

    /// Moves back and gives the slot there. At the start it gives the first slot again and again;
    /// null only if the list has no slots.
    CScriptArgument* prev() noexcept;

    /// The slot at the cursor, which stays; null at the end.
    CScriptArgument* at() const noexcept;

    /// The slot at a position, or null past the end.
    CScriptArgument* at(std::size_t i) const noexcept;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
    /// How many slots there are.
    const std::size_t size() const noexcept;
#pragma GCC diagnostic pop

    /// Puts the cursor at the first slot.
    void reset_index() noexcept;

private:
    MV_LOCAL void clear() noexcept;
    MV_LOCAL void clear(std::size_t n) noexcept;
    MV_LOCAL void realloc(std::size_t n);

    std::size_t index;    // the cursor, and where the next insert goes
    std::size_t count;    // slots in use
    std::size_t capacity; // slots allocated
    CScriptArgument** items;
};

} // namespace engine
