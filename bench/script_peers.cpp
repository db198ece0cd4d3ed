#include "script_peers.h"

#include <libconfig.h++>
#include <lua.hpp>
#include <memory>
#include <stdexcept>
#include <toml++/toml.h>

namespace bench {

namespace {

constexpr const char* counted_value = "statements";

/// Counts the value on top of the stack and takes it away.
void count(lua_State* state, tally& found) { // NOLINT(misc-no-recursion)
    switch (lua_type(state, -1)) {
    case LUA_TNUMBER:
        found.add_number(lua_tointeger(state, -1));
        break;
    case LUA_TBOOLEAN:
        found.add_number(lua_toboolean(state, -1));
        break;
    case LUA_TSTRING:
        found.add_text(lua_tostring(state, -1));
        break;
    default:
        luaL_checkstack(state, 3, nullptr);
        for (lua_pushnil(state); lua_next(state, -2) != 0;)
            count(state, found);
    }
    lua_pop(state, 1);
}

void count(const libconfig::Setting& value, tally& found) { // NOLINT(misc-no-recursion)
    switch (value.getType()) {
    case libconfig::Setting::TypeInt:
        return found.add_number(static_cast<int>(value));
    case libconfig::Setting::TypeBoolean:
        return found.add_number(static_cast<bool>(value));
    case libconfig::Setting::TypeString:
        return found.add_text(value.c_str());
    default:
        for (int i = 0; i != value.getLength(); ++i)
            count(value[i], found);
    }
}

void count(const toml::node& value, tally& found) { // NOLINT(misc-no-recursion)
    switch (value.type()) {
    case toml::node_type::integer:
        return found.add_number(value.ref<std::int64_t>());
    case toml::node_type::boolean:
        return found.add_number(value.ref<bool>());
    case toml::node_type::string:
        return found.add_text(value.ref<std::string>());
    case toml::node_type::array:
        for (const toml::node& item : *value.as_array())
            count(item, found);
        return;
    case toml::node_type::table:
        for (const auto& [key, item] : *value.as_table())
            count(item, found);
        return;
    default:
        throw std::runtime_error("toml++ made something else of a value");
    }
}

} // namespace

void read_by_lua(const std::string& text, tally* found) {
    // One state for all texts, as in a host.
    static const std::unique_ptr<lua_State, void (*)(lua_State*)> owner(luaL_newstate(), lua_close);
    lua_State* state = owner.get();
    require(luaL_loadbufferx(state, text.data(), text.size(), "bench", "t") == LUA_OK,
            "Lua refuses a text");
    if (found == nullptr) return lua_pop(state, 1);
    require(lua_pcall(state, 0, 0, 0) == LUA_OK, "Lua cannot run a text");
    lua_getglobal(state, counted_value);
    count(state, *found);
}

void read_by_libconfig(const std::string& text, tally* found) {
    libconfig::Config config;
    config.readString(text);
    if (found != nullptr) count(config.lookup(counted_value), *found);
}

void read_by_toml(const std::string& text, tally* found) {
    const toml::table root = toml::parse(text);
    if (found != nullptr) count(root.at(counted_value), *found);
}

} // namespace bench
