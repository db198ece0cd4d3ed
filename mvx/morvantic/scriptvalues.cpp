#include "morvantic/scriptvalues.h"

#include "morvantic/scriptgrammar.h"
#include "morvantic/wordindex.h"

#include <cstddef>
#include <iterator>
#include <string_view>

// The tables end in "Placeholder", which stands behind the last value and is never matched.

namespace engine {

namespace {

/// A NUL ends a name, as it does across the boundary.
template <std::size_t Count>
int index_of(const word_index<Count>& names, std::string_view wanted) noexcept {
    const std::size_t found = names.find(wanted);
    if (found != 0) return static_cast<int>(found);
    return static_cast<int>(names.find(wanted.substr(0, wanted.find('\0'))));
}

std::string_view text_of(const char* name) noexcept {
    return name != nullptr ? std::string_view(name) : std::string_view();
}

/// Name at an index. The size bounds it above; below 0 it is the caller's duty.
template <std::size_t Size>
const char* name_at(const char* const (&names)[Size], int index) noexcept {
    return names[index < static_cast<int>(Size - 1) ? index : 0];
}

} // namespace

const char* const CEnumValue::m_value_name[] = {
    "Unknown",
    "platform.Android",
    "platform.iOS",
    "platform.WindowsPhone",
    "platform.Blackberry",
    "plist.Array",
    "plist.Bool",
    "plist.Data",
    "plist.Date",
    "plist.Dict",
    "plist.Int",
    "plist.Int128",
    "plist.Key",
    "plist.Real",
    "plist.String",
    "plist.Uid",
    "plist.Undefined",
    "json.Null",
    "json.Bool",
    "json.Double",
    "json.String",
    "json.Array",
    "json.Object",
    "json.Undefined",
    "javaobj.Default",
    "javaobj.GoogleQuickOffice",
    "javaobj.GoogleMaps",
    "sqlite.None",
    "sqlite.WeChat",
    "sqlite.Threema",
    "sqlite.SilentPhone",
    "sqlite.BBM",
    "sqlite.SHealth",
    "obfs.Mem",
    "obfs.File",
    "fs.Raw",
    "fs.App",
    "fs.Extra",
    "proto.Varint",
    "proto.Num32",
    "proto.Num64",
    "proto.String",
    "Placeholder",
};
static_assert(std::size(CEnumValue::m_value_name) == enum_placeholder + 1);

const char* const CObjectValue::m_value_name[] = {
    "Unknown",
    "DefaultAnalyzer",
    "XmlAnalyzer",
    "SqliteAnalyzer",
    "JsonAnalyzer",
    "TextAnalyzer",
    "ProtobufAnalyzer",
    "IniAnalyzer",
    "VCardAnalyzer",
    "JavaObjectAnalyzer",
    "PlistAnalyzer",
    "CookiesAnalyzer",
    "CacheAnalyzer",
    "ObfuscatedAnalyzer",
    "SmartAnalyzer",
    "ZipAnalyzer",
    "MediaAnalyzer",
    "DynDictAnalyzer",
    "FlattenedDataAnalyzer",
    "ContentProviderAnalyzer",
    "ContentProviderContactsAnalyzer",
    "SnssAnalyzer",
    "LocationLogAnalyzer",
    "UserLogFileAnalyzer",
    "DeviceIdleLogAnalyzer",
    "NetstatLogAnalyzer",
    "NotificationLogAnalyzer",
    "WifiLogAnalyzer",
    "BadooCacheAnalyzer",
    "EvernoteThumbsAnalyzer",
    "FbMessangerActAnalyzer",
    "OperaHistoryAnalyzer",
    "PuffinHistoryLogAnalyzer",
    "SilkBrowserTabsAnalyzer",
    "StravaActivityAnalyzer",
    "UberCacheAnalyzer",
    "UberLdbAnalyzer",
    "VaultyAnalyzer",
    "WhatsAppBackupAnalyzer",
    "XiaomiNotepadsAnalyzer",
    "GoogleFitCacheAnalyzer",
    "GenericAnalyzer",
    "Placeholder",
};
static_assert(std::size(CObjectValue::m_value_name) == object_placeholder + 1);

const char* const CFunctionValue::m_value_name[] = {
    "Unknown",
    "addConstantToXQuery",
    "addDomainGroupFolder",
    "addAdditionalFolder",
    "addKeychainXml",
    "setRecreateFilesystemFolders",
    "setPathToIdModifier",
    "idOnText",
    "customizableIdRefOnText",
    "idRefOnText",
    "functionOnText",
    "extractToNewAttribute",
    "analyzeConstText",
    "analyzeText",
    "analyzeAttribute",
    "idOnAttribute",
    "idRefOnAttribute",
    "functionOnAttribute",
    "analyzeConstThumbnail",
    "analyzeObject",
    "analyzeValue",
    "functionOnValue",
    "analyzeConstValue",
    "setSpecific",
    "setFileFunction",
    "setAnalyzer",
    "analyzeColumn",
    "analyzeConstColumn",
    "analyzeConstColumns",
    "functionOnColumn",
    "functionOnColumns",
    "customizableIdOnColumn",
    "idOnColumn",
    "customizableIdOnColumns",
    "idOnColumns",
    "customizableIdRefOnColumn",
    "idRefOnColumn",
    "customizableIdRefOnColumns",
    "idRefOnColumns",
    "extractToNewColumn",
    "addSelectedTables",
    "setRecoveryFilteringOnColumns",
    "discardAllNonValidRecoveryLines",
    "forceFunctionsOnNullValue",
    "setInstantInitialize",
    "mergeDatabaseRecords",
    "Placeholder",
};
static_assert(std::size(CFunctionValue::m_value_name) == function_placeholder + 1);

EEnumValue enum_value_of(std::string_view name) noexcept {
    static const word_index<enum_placeholder> finder(CEnumValue::m_value_name);
    return static_cast<EEnumValue>(index_of(finder, name));
}

EObjectType object_type_of(std::string_view name) noexcept {
    static const word_index<object_placeholder> finder(CObjectValue::m_value_name);
    return static_cast<EObjectType>(index_of(finder, name));
}

EFunctionType function_type_of(std::string_view name) noexcept {
    static const word_index<function_placeholder> finder(CFunctionValue::m_value_name);
    return static_cast<EFunctionType>(index_of(finder, name));
}

CPlatformType::CPlatformType() noexcept : flags(0) {}

CPlatformType::CPlatformType(EPlatformTypes platforms) noexcept : flags(platforms) {}

CPlatformType& CPlatformType::operator=(const CPlatformType& other) noexcept = default;
CPlatformType& CPlatformType::operator=(CPlatformType&& other) noexcept = default;

unsigned int CPlatformType::getFlags() const noexcept { return flags; }

void CPlatformType::setType(EPlatformTypes platforms) noexcept { flags |= platforms; }

void CPlatformType::unsetType(EPlatformTypes platforms) noexcept { flags &= ~platforms; }

bool CPlatformType::isA(EPlatformTypes platforms) const noexcept {
    return (flags == 0 && platforms == 0) || (flags & platforms) != 0;
}

EPlatformTypes CPlatformType::from_string(const char* name) noexcept {
    switch (CEnumValue::get_enum_type(name)) {
    case enum_platform_android:
        return platform_android;
    case enum_platform_ios:
        return platform_ios;
    case enum_platform_windows_phone:
        return platform_windows_phone;
    case enum_platform_blackberry:
        return platform_blackberry;
    default:
        return platform_none;
    }
}

CEnumValue& CEnumValue::operator=(const CEnumValue& /*other*/) noexcept { return *this; }

const char* CEnumValue::get_enum_name(EEnumValue value) noexcept {
    return name_at(m_value_name, value);
}

EEnumValue CEnumValue::get_enum_type(int number) noexcept {
    return number < enum_placeholder ? static_cast<EEnumValue>(number) : enum_unknown;
}

EEnumValue CEnumValue::get_enum_type(const char* name) noexcept {
    return enum_value_of(text_of(name));
}

CObjectValue& CObjectValue::operator=(const CObjectValue& /*other*/) noexcept { return *this; }

const char* CObjectValue::get_obj_name(EObjectType type) noexcept {
    return name_at(m_value_name, type);
}

EObjectType CObjectValue::get_obj_type(const char* name) noexcept {
    return object_type_of(text_of(name));
}

CFunctionValue& CFunctionValue::operator=(const CFunctionValue& /*other*/) noexcept {
    return *this;
}

const char* CFunctionValue::get_func_name(EFunctionType type) noexcept {
    return name_at(m_value_name, type);
}

EFunctionType CFunctionValue::get_func_type(const char* name) noexcept {
    return function_type_of(text_of(name));
}

} // namespace engine
