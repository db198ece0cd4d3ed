#include "morvantic/scriptvalues.h"

#include <gtest/gtest.h>

using namespace engine;

namespace {

int enum_number(const char* name) { return CEnumValue::get_enum_type(name); }

int object_number(const char* name) { return CObjectValue::get_obj_type(name); }

int function_number(const char* name) { return CFunctionValue::get_func_type(name); }

/// Every name but the last stands for its index.
template <class Type>
void expect_indices(Type end, const char* (*name_of)(Type), int (*number_of)(const char*)) {
    for (int i = 0; i != end; ++i)
        EXPECT_EQ(number_of(name_of(Type(i))), i) << name_of(Type(i));
}

} // namespace

TEST(Vocabularies, NumbersAreFixed) {
    expect_indices<EEnumValue>(enum_placeholder, CEnumValue::get_enum_name, enum_number);
    expect_indices<EObjectType>(object_placeholder, CObjectValue::get_obj_name, object_number);
    expect_indices<EFunctionType>(function_placeholder, CFunctionValue::get_func_name,
                                  function_number);
    // One from each stretch of the tables.
    EXPECT_EQ(enum_number("plist.Undefined"), 16);
    EXPECT_EQ(enum_number("sqlite.SHealth"), 32);
    EXPECT_EQ(enum_number("proto.String"), 41);
    EXPECT_EQ(object_number("ObfuscatedAnalyzer"), 13);
    EXPECT_EQ(object_number("WifiLogAnalyzer"), 27);
    EXPECT_EQ(object_number("GenericAnalyzer"), 41);
    EXPECT_EQ(function_number("analyzeConstValue"), 22);
    EXPECT_EQ(function_number("idRefOnColumns"), 38);
    EXPECT_EQ(function_number("mergeDatabaseRecords"), 45);
    for (const auto& [number, value] : {std::pair(41, 41), {42, 0}, {-5, -5}})
        EXPECT_EQ(CEnumValue::get_enum_type(number), value);
}

TEST(Vocabularies, WhatIsNoNameIsUnknown) {
    for (const char* name : {static_cast<const char*>(nullptr), "", "Placeholder", "Unknown",
                             "setanalyzer", "plist.Arra", "plist.Arrays"}) {
        for (const auto number_of : {enum_number, object_number, function_number})
            EXPECT_EQ(number_of(name), 0);
        EXPECT_EQ(CPlatformType::from_string(name), 0u);
    }
    EXPECT_STREQ(CObjectValue::get_obj_name(object_placeholder), "Unknown");
    EXPECT_STREQ(CFunctionValue::get_func_name(EFunctionType(1000)), "Unknown");
}

TEST(PlatformType, FlagsJoinAndPartAndSharingOneIsEnough) {
    CPlatformType type(platform_android | platform_ios);
    type.setType(platform_blackberry);
    type.unsetType(platform_android);
    EXPECT_EQ(type.getFlags(), 10u);
    EXPECT_TRUE(type.isA(platform_android | platform_ios));
    EXPECT_FALSE(type.isA(platform_android));
}
