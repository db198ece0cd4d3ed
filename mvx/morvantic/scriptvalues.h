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
    platform_none = 0,          ///< no platform
    platform_android = 1,       ///< Android
    platform_ios = 2,           ///< iOS
    platform_windows_phone = 4, ///< Windows Phone
    platform_blackberry = 8,    ///< BlackBerry
};

/// Joins platforms, so that they can be asked for or set in one call.
constexpr EPlatformTypes operator|(EPlatformTypes left, EPlatformTypes right) noexcept {
    return static_cast<EPlatformTypes>(static_cast<std::uint32_t>(left) |
                                       static_cast<std::uint32_t>(right));
}

/// Values that scripts spell as a prefix, a dot and a name, such as "plist.Dict".
enum EEnumValue : int {
    enum_unknown = 0,                 ///< "Unknown"
    enum_platform_android,            ///< "platform.Android"
    enum_platform_ios,                ///< "platform.iOS"
    enum_platform_windows_phone,      ///< "platform.WindowsPhone"
    enum_platform_blackberry,         ///< "platform.Blackberry"
    enum_plist_array,                 ///< "plist.Array"
    enum_plist_bool,                  ///< "plist.Bool"
    enum_plist_data,                  ///< "plist.Data"
    enum_plist_date,                  ///< "plist.Date"
    enum_plist_dict,                  ///< "plist.Dict"
    enum_plist_int,                   ///< "plist.Int"
    enum_plist_int128,                ///< "plist.Int128"
    enum_plist_key,                   ///< "plist.Key"
    enum_plist_real,                  ///< "plist.Real"
    enum_plist_string,                ///< "plist.String"
    enum_plist_uid,                   ///< "plist.Uid"
    enum_plist_undefined,             ///< "plist.Undefined"
    enum_json_null,                   ///< "json.Null"
    enum_json_bool,                   ///< "json.Bool"
    enum_json_double,                 ///< "json.Double"
    enum_json_string,                 ///< "json.String"
    enum_json_array,                  ///< "json.Array"
    enum_json_object,                 ///< "json.Object"
    enum_json_undefined,              ///< "json.Undefined"
    enum_javaobj_default,             ///< "javaobj.Default"
    enum_javaobj_google_quick_office, ///< "javaobj.GoogleQuickOffice"
    enum_javaobj_google_maps,         ///< "javaobj.GoogleMaps"
    enum_sqlite_none,                 ///< "sqlite.None"
    enum_sqlite_wechat,               ///< "sqlite.WeChat"
    enum_sqlite_threema,              ///< "sqlite.Threema"
    enum_sqlite_silent_phone,         ///< "sqlite.SilentPhone"
    enum_sqlite_bbm,                  ///< "sqlite.BBM"
    enum_sqlite_shealth,              ///< "sqlite.SHealth"
    enum_obfs_mem,                    ///< "obfs.Mem"
    enum_obfs_file,                   ///< "obfs.File"
    enum_fs_raw,                      ///< "fs.Raw"
    enum_fs_app,                      ///< "fs.App"
    enum_fs_extra,                    ///< "fs.Extra"
    enum_proto_varint,                ///< "proto.Varint"
    enum_proto_num32,                 ///< "proto.Num32"
    enum_proto_num64,                 ///< "proto.Num64"
    enum_proto_string,                ///< "proto.String"
    enum_placeholder,                 ///< the number of values; no value itself
};

/// Types of the objects that a script's body makes.
enum EObjectType : int {
    object_unknown = 0,                        ///< "Unknown"
    object_default_analyzer,                   ///< "DefaultAnalyzer"
    object_xml_analyzer,                       ///< "XmlAnalyzer"
    object_sqlite_analyzer,                    ///< "SqliteAnalyzer"
    object_json_analyzer,                      ///< "JsonAnalyzer"
    object_text_analyzer,                      ///< "TextAnalyzer"
    object_protobuf_analyzer,                  ///< "ProtobufAnalyzer"
    object_ini_analyzer,                       ///< "IniAnalyzer"
    object_vcard_analyzer,                     ///< "VCardAnalyzer"
    object_java_object_analyzer,               ///< "JavaObjectAnalyzer"
    object_plist_analyzer,                     ///< "PlistAnalyzer"
    object_cookies_analyzer,                   ///< "CookiesAnalyzer"
    object_cache_analyzer,                     ///< "CacheAnalyzer"
    object_obfuscated_analyzer,                ///< "ObfuscatedAnalyzer"
    object_smart_analyzer,                     ///< "SmartAnalyzer"
    object_zip_analyzer,                       ///< "ZipAnalyzer"
    object_media_analyzer,                     ///< "MediaAnalyzer"
    object_dyn_dict_analyzer,                  ///< "DynDictAnalyzer"
    object_flattened_data_analyzer,            ///< "FlattenedDataAnalyzer"
    object_content_provider_analyzer,          ///< "ContentProviderAnalyzer"
    object_content_provider_contacts_analyzer, ///< "ContentProviderContactsAnalyzer"
    object_snss_analyzer,                      ///< "SnssAnalyzer"
    object_location_log_analyzer,              ///< "LocationLogAnalyzer"
    object_user_log_file_analyzer,             ///< "UserLogFileAnalyzer"
    object_device_idle_log_analyzer,           ///< "DeviceIdleLogAnalyzer"
    object_netstat_log_analyzer,               ///< "NetstatLogAnalyzer"
    object_notification_log_analyzer,          ///< "NotificationLogAnalyzer"
    object_wifi_log_analyzer,                  ///< "WifiLogAnalyzer"
    object_badoo_cache_analyzer,               ///< "BadooCacheAnalyzer"
    object_evernote_thumbs_analyzer,           ///< "EvernoteThumbsAnalyzer"
    object_fb_messanger_act_analyzer,          ///< "FbMessangerActAnalyzer"
    object_opera_history_analyzer,             ///< "OperaHistoryAnalyzer"
    object_puffin_history_log_analyzer,        ///< "PuffinHistoryLogAnalyzer"
    object_silk_browser_tabs_analyzer,         ///< "SilkBrowserTabsAnalyzer"
    object_strava_activity_analyzer,           ///< "StravaActivityAnalyzer"
    object_uber_cache_analyzer,                ///< "UberCacheAnalyzer"
    object_uber_ldb_analyzer,                  ///< "UberLdbAnalyzer"
    object_vaulty_analyzer,                    ///< "VaultyAnalyzer"
    object_whatsapp_backup_analyzer,           ///< "WhatsAppBackupAnalyzer"
    object_xiaomi_notepads_analyzer,           ///< "XiaomiNotepadsAnalyzer"
    object_google_fit_cache_analyzer,          ///< "GoogleFitCacheAnalyzer"
    object_generic_analyzer,                   ///< "GenericAnalyzer"
    object_placeholder,                        ///< the number of types; no type itself
};

/// Functions that a script's body calls.
enum EFunctionType : int {
    function_unknown = 0,                          ///< "Unknown"
    function_add_constant_to_xquery,               ///< "addConstantToXQuery"
    function_add_domain_group_folder,              ///< "addDomainGroupFolder"
    function_add_additional_folder,                ///< "addAdditionalFolder"
    function_add_keychain_xml,                     ///< "addKeychainXml"
    function_set_recreate_filesystem_folders,      ///< "setRecreateFilesystemFolders"
    function_set_path_to_id_modifier,              ///< "setPathToIdModifier"
    function_id_on_text,                           ///< "idOnText"
    function_customizable_id_ref_on_text,          ///< "customizableIdRefOnText"
    function_id_ref_on_text,                       ///< "idRefOnText"
    function_function_on_text,                     ///< "functionOnText"
    function_extract_to_new_attribute,             ///< "extractToNewAttribute"
    function_analyze_const_text,                   ///< "analyzeConstText"
    function_analyze_text,                         ///< "analyzeText"
    function_analyze_attribute,                    ///< "analyzeAttribute"
    function_id_on_attribute,                      ///< "idOnAttribute"
    function_id_ref_on_attribute,                  ///< "idRefOnAttribute"
    function_function_on_attribute,                ///< "functionOnAttribute"
    function_analyze_const_thumbnail,              ///< "analyzeConstThumbnail"
    function_analyze_object,                       ///< "analyzeObject"
    function_analyze_value,                        ///< "analyzeValue"
    function_function_on_value,                    ///< "functionOnValue"
    function_analyze_const_value,                  ///< "analyzeConstValue"
    function_set_specific,                         ///< "setSpecific"
    function_set_file_function,                    ///< "setFileFunction"
    function_set_analyzer,                         ///< "setAnalyzer"
    function_analyze_column,                       ///< "analyzeColumn"
    function_analyze_const_column,                 ///< "analyzeConstColumn"
    function_analyze_const_columns,                ///< "analyzeConstColumns"
    function_function_on_column,                   ///< "functionOnColumn"
    function_function_on_columns,                  ///< "functionOnColumns"
    function_customizable_id_on_column,            ///< "customizableIdOnColumn"
    function_id_on_column,                         ///< "idOnColumn"
    function_customizable_id_on_columns,           ///< "customizableIdOnColumns"
    function_id_on_columns,                        ///< "idOnColumns"
    function_customizable_id_ref_on_column,        ///< "customizableIdRefOnColumn"
    function_id_ref_on_column,                     ///< "idRefOnColumn"
    function_customizable_id_ref_on_columns,       ///< "customizableIdRefOnColumns"
    function_id_ref_on_columns,                    ///< "idRefOnColumns"
    function_extract_to_new_column,                ///< "extractToNewColumn"
    function_add_selected_tables,                  ///< "addSelectedTables"
    function_set_recovery_filtering_on_columns,    ///< "setRecoveryFilteringOnColumns"
    function_discard_all_non_valid_recovery_lines, ///< "discardAllNonValidRecoveryLines"
    function_force_functions_on_null_value,        ///< "forceFunctionsOnNullValue"
    function_set_instant_initialize,               ///< "setInstantInitialize"
    function_merge_database_records,               ///< "mergeDatabaseRecords"
    function_placeholder,                          ///< the number of functions; no function itself
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

    /// The same platforms.
    CPlatformType(const CPlatformType&) noexcept = default;

    /// The same platforms; the other set keeps them too.
    CPlatformType(CPlatformType&&) noexcept = default;

    /// Takes the other's platforms in place of its own.
    CPlatformType& operator=(const CPlatformType& other) noexcept;

    /// Takes the other's platforms in place of its own.
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
    /// Holds nothing: all there is is static.
    CEnumValue() noexcept = default;

    /// Copies nothing.
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
    /// Holds nothing: all there is is static.
    CObjectValue() noexcept = default;

    /// Copies nothing.
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
    /// Holds nothing: all there is is static.
    CFunctionValue() noexcept = default;

    /// Copies nothing.
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
