#pragma once

#include "morvantic/export.h"

#include <cstdint>

/// @file
/// The closed vocabularies of the script language: platforms as flags, and three tables of names.
/// In a script a value is spelled as its name, across the boundary it travels as its number.
///
/// Nothing here throws, and all of it may be called from any thread at any time, but for a
/// CPlatformType that another thread changes. The names are constants that live as long as the
/// library. A null pointer is the name of nothing.

namespace engine {

/// Platforms that a script applies to; values may be joined.
enum EPlatformTypes : std::uint32_t {
    platform_none = 0,
    platform_android = 1,
    platform_ios = 2,
    platform_windows_phone = 4,
    platform_blackberry = 8,
};

/// Joins platforms, so that they can be asked for or set in one call.
constexpr EPlatformTypes operator|(EPlatformTypes left, EPlatformTypes right) noexcept {
    return static_cast<EPlatformTypes>(static_cast<std::uint32_t>(left) |
                                       static_cast<std::uint32_t>(right));
}

/// Values that scripts spell as a prefix, a dot and a name, such as "plist.Dict".
enum EEnumValue : int {
    enum_unknown = 0,
    enum_platform_android,
    enum_platform_ios,
    enum_platform_windows_phone,
    enum_platform_blackberry,
    enum_plist_array,
    enum_plist_bool,
    enum_plist_data,
    enum_plist_date,
    enum_plist_dict,
    enum_plist_int,
    enum_plist_int128,
    enum_plist_key,
    enum_plist_real,
    enum_plist_string,
    enum_plist_uid,
    enum_plist_undefined,
    enum_json_null,
    enum_json_bool,
    enum_json_double,
    enum_json_string,
    enum_json_array,
    enum_json_object,
    enum_json_undefined,
    enum_javaobj_default,
    enum_javaobj_google_quick_office,
    enum_javaobj_google_maps,
    enum_sqlite_none,
    enum_sqlite_wechat,
    enum_sqlite_threema,
    enum_sqlite_silent_phone,
    enum_sqlite_bbm,
    enum_sqlite_shealth,
    enum_obfs_mem,
    enum_obfs_file,
    enum_fs_raw,
    enum_fs_app,
    enum_fs_extra,
    enum_proto_varint,
    enum_proto_num32,
    enum_proto_num64,
    enum_proto_string,
    enum_placeholder, ///< the number of values; no value itself
};

/// Types of the objects that a script's body makes.
enum EObjectType : int {
    object_unknown = 0,
    object_default_analyzer,
    object_xml_analyzer,
    object_sqlite_analyzer,
    object_json_analyzer,
    object_text_analyzer,
    object_protobuf_analyzer,
    object_ini_analyzer,
    object_vcard_analyzer,
    object_java_object_analyzer,
    object_plist_analyzer,
    object_cookies_analyzer,
    object_cache_analyzer,
    object_obfuscated_analyzer,
    object_smart_analyzer,
    object_zip_analyzer,
    object_media_analyzer,
    object_dyn_dict_analyzer,
    object_flattened_data_analyzer,
    object_content_provider_analyzer,
    object_content_provider_contacts_analyzer,
    object_snss_analyzer,
    object_location_log_analyzer,
    object_user_log_file_analyzer,
    object_device_idle_log_analyzer,
    object_netstat_log_analyzer,
    object_notification_log_analyzer,
    object_wifi_log_analyzer,
    object_badoo_cache_analyzer,
    object_evernote_thumbs_analyzer,
    object_fb_messanger_act_analyzer,
    object_opera_history_analyzer,
    object_puffin_history_log_analyzer,
    object_silk_browser_tabs_analyzer,
    object_strava_activity_analyzer,
    object_uber_cache_analyzer,
    object_uber_ldb_analyzer,
    object_vaulty_analyzer,
    object_whatsapp_backup_analyzer,
    object_xiaomi_notepads_analyzer,
    object_google_fit_cache_analyzer,
    object_generic_analyzer,
    object_placeholder, ///< the number of types; no type itself
};

/// Functions that a script's body calls.
enum EFunctionType : int {
    function_unknown = 0,
    function_add_constant_to_xquery,
    function_add_domain_group_folder,
    function_add_additional_folder,
    function_add_keychain_xml,
    function_set_recreate_filesystem_folders,
    function_set_path_to_id_modifier,
    function_id_on_text,
    function_customizable_id_ref_on_text,
    function_id_ref_on_text,
    function_function_on_text,
    function_extract_to_new_attribute,
    function_analyze_const_text,
    function_analyze_text,
    function_analyze_attribute,
    function_id_on_attribute,
    function_id_ref_on_attribute,
    function_function_on_attribute,
    function_analyze_const_thumbnail,
    function_analyze_object,
    function_analyze_value,
    function_function_on_value,
    function_analyze_const_value,
    function_set_specific,
    function_set_file_function,
    function_set_analyzer,
    function_analyze_column,
    function_analyze_const_column,
    function_analyze_const_columns,
    function_function_on_column,
    function_function_on_columns,
    function_customizable_id_on_column,
    function_id_on_column,
    function_customizable_id_on_columns,
    function_id_on_columns,
    function_customizable_id_ref_on_column,
    function_id_ref_on_column,
    function_customizable_id_ref_on_columns,
    function_id_ref_on_columns,
    function_extract_to_new_column,
    function_add_selected_tables,
    function_set_recovery_filtering_on_columns,
    function_discard_all_non_valid_recovery_lines,
    function_force_functions_on_null_value,
    function_set_instant_initialize,
    function_merge_database_records,
    function_placeholder, ///< the number of functions; no function itself
};

/// A set of platforms, passed by value.
///
/// @code
/// engine::CPlatformType mobile(engine::platform_android | engine::platform_ios);
/// mobile.isA(engine::platform_ios);        // true
/// mobile.unsetType(engine::platform_ios);
/// mobile.getFlags();                       // 1
/// @endcode
class MV_API CPlatformType {
public:
    /// No platform.
    CPlatformType() noexcept;

    /// The given platforms.
    CPlatformType(EPlatformTypes platforms) noexcept;

    CPlatformType(const CPlatformType&) noexcept = default;
    CPlatformType(CPlatformType&&) noexcept = default;
    CPlatformType& operator=(const CPlatformType& other) noexcept;
    CPlatformType& operator=(CPlatformType&& other) noexcept;

    /// The flags, joined.
    unsigned int getFlags() const noexcept;

    /// Adds the given platforms.
    void setType(EPlatformTypes platforms) noexcept;

    /// Removes the given platforms.
    void unsetType(EPlatformTypes platforms) noexcept;

    /// Whether any of the given platforms is in the set. The empty set has none but
    /// platform_none.
    bool isA(EPlatformTypes platforms) const noexcept;

    /// The platform of a name such as "platform.iOS"; platform_none for any other name, the other
    /// values of EEnumValue included.
    static EPlatformTypes from_string(const char* name) noexcept;

private:
    std::uint32_t flags;
};

/// Names of EEnumValue.
class MV_API CEnumValue {
public:
    CEnumValue() noexcept = default;
    CEnumValue(const CEnumValue&) noexcept = default;

    /// Changes nothing.
    CEnumValue& operator=(const CEnumValue& other) noexcept;

    /// The name of a value, or "Unknown" from enum_placeholder on. The value must not be negative.
    static const char* get_enum_name(EEnumValue value) noexcept;

    /// The number as a value, or enum_unknown from enum_placeholder on. A negative number comes
    /// back as it is.
    static EEnumValue get_enum_type(int number) noexcept;

    /// The value of exactly this name, or enum_unknown.
    static EEnumValue get_enum_type(const char* name) noexcept;

    /// The names, each at its value. The last one, "Placeholder", only marks the size.
    static const char* const m_value_name[];
};

/// Names of EObjectType.
class MV_API CObjectValue {
public:
    CObjectValue() noexcept = default;
    CObjectValue(const CObjectValue&) noexcept = default;

    /// Changes nothing.
    CObjectValue& operator=(const CObjectValue& other) noexcept;

    /// The name of a type, or "Unknown" from object_placeholder on. The value must not be negative.
    static const char* get_obj_name(EObjectType type) noexcept;

    /// The type of exactly this name, or object_unknown.
    static EObjectType get_obj_type(const char* name) noexcept;

    /// The names, each at its value. The last one, "Placeholder", only marks the size.
    static const char* const m_value_name[];
};

/// Names of EFunctionType.
class MV_API CFunctionValue {
public:
    CFunctionValue() noexcept = default;
    CFunctionValue(const CFunctionValue&) noexcept = default;

    /// Changes nothing.
    CFunctionValue& operator=(const CFunctionValue& other) noexcept;

    /// The name of a function, or "Unknown" from function_placeholder on. The value must not be
    /// negative.
    static const char* get_func_name(EFunctionType type) noexcept;

    /// The function of exactly this name, or function_unknown.
    static EFunctionType get_func_type(const char* name) noexcept;

    /// The names, each at its value. The last one, "Placeholder", only marks the size.
    static const char* const m_value_name[];
};

} // namespace engine
