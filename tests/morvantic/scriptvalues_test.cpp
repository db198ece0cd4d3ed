#include "morvantic/scriptvalues.h"

#include <gtest/gtest.h>
#include <string_view>

using namespace engine;

TEST(Vocabularies, EveryNameButTheLastStandsForItsIndex) {
    for (int i = 0; i != enum_placeholder; ++i) {
        const char* name = CEnumValue::get_enum_name(EEnumValue(i));
        EXPECT_EQ(CEnumValue::get_enum_type(name), i) << name;
        EXPECT_EQ(CEnumValue::get_enum_type(i), i);
    }
    for (int i = 0; i != object_placeholder; ++i) {
        const char* name = CObjectValue::get_obj_name(EObjectType(i));
        EXPECT_EQ(CObjectValue::get_obj_type(name), i) << name;
    }
    for (int i = 0; i != function_placeholder; ++i) {
        const char* name = CFunctionValue::get_func_name(EFunctionType(i));
        EXPECT_EQ(CFunctionValue::get_func_type(name), i) << name;
    }
}

// Numbers that scripts and hosts rely on, one from each end and stretch of the tables.
TEST(Vocabularies, NumbersAreFixed) {
    EXPECT_EQ(CEnumValue::get_enum_type("plist.Undefined"), 16);
    EXPECT_EQ(CEnumValue::get_enum_type("sqlite.SHealth"), 32);
    EXPECT_EQ(CEnumValue::get_enum_type("proto.String"), 41);
    EXPECT_STREQ(CEnumValue::get_enum_name(enum_fs_app), "fs.App");
    EXPECT_EQ(CObjectValue::get_obj_type("ObfuscatedAnalyzer"), 13);
    EXPECT_EQ(CObjectValue::get_obj_type("WifiLogAnalyzer"), 27);
    EXPECT_EQ(CObjectValue::get_obj_type("GenericAnalyzer"), 41);
    EXPECT_STREQ(CObjectValue::get_obj_name(object_uber_ldb_analyzer), "UberLdbAnalyzer");
    EXPECT_EQ(CFunctionValue::get_func_type("analyzeConstValue"), 22);
    EXPECT_EQ(CFunctionValue::get_func_type("idRefOnColumns"), 38);
    EXPECT_EQ(CFunctionValue::get_func_type("mergeDatabaseRecords"), 45);
    EXPECT_STREQ(CFunctionValue::get_func_name(function_id_on_columns), "idOnColumns");
}

TEST(Vocabularies, WhatIsNoNameIsUnknown) {
    for (const char* name : {static_cast<const char*>(nullptr), "", "Placeholder", "Unknown",
                             "setanalyzer", "plist.Arra", "plist.Arrays"}) {
        EXPECT_EQ(CEnumValue::get_enum_type(name), 0);
        EXPECT_EQ(CObjectValue::get_obj_type(name), 0);
        EXPECT_EQ(CFunctionValue::get_func_type(name), 0);
        EXPECT_EQ(CPlatformType::from_string(name), 0u);
    }
    EXPECT_STREQ(CObjectValue::get_obj_name(object_placeholder), "Unknown");
    EXPECT_STREQ(CFunctionValue::get_func_name(EFunctionType(1000)), "Unknown");
    EXPECT_EQ(CEnumValue::get_enum_type(42), 0);
    EXPECT_EQ(CEnumValue::get_enum_type(-5), -5);
}

TEST(PlatformType, FlagsJoinAndPartAndSharingOneIsEnough) {
    CPlatformType type(platform_android | platform_ios);
    type.setType(platform_blackberry);
    type.unsetType(platform_android);
    EXPECT_EQ(type.getFlags(), 10u);
    EXPECT_TRUE(type.isA(platform_android | platform_ios));
    EXPECT_FALSE(type.isA(platform_android));
    EXPECT_FALSE(type.isA(platform_none));
    EXPECT_TRUE(CPlatformType().isA(platform_none));
    EXPECT_FALSE(CPlatformType().isA(platform_ios));
}
