// What the build has against what is listed, name by name.
#include "tests/schema/catalogue.h"

#include <gtest/gtest.h>

#include "asn1rt/object_id.h"

namespace {

using schematest::catalogue;

bool isSpelled(const ASN1OBJID& value, const char* text) {
    ASN1TObjId expected;
    return rtStrToOid(text, &expected) == 1 && value == expected;
}

TEST(Catalogue, EveryListedNameIsThere) {
    for (const auto& group : catalogue().groups) {
        EXPECT_EQ(group.numNames, group.numExpected) << group.title;
    }
    for (const auto& type : catalogue().types) {
        EXPECT_EQ(type.info->size, type.sizeRecord) << type.name;
    }
}

TEST(Catalogue, IdentifiersHaveTheirValues) {
    for (const auto& identifier : catalogue().identifiers) {
        EXPECT_TRUE(isSpelled(*identifier.value, identifier.expected)) << identifier.name;
    }
}

TEST(Catalogue, SetsHoldTheirObjectsInOrder) {
    for (const auto& set : catalogue().sets) {
        EXPECT_EQ(set.objects.size(), set.numExpected) << set.name;
        for (const auto* table : set.users) {
            ASSERT_NE(table, nullptr) << set.name;
            EXPECT_EQ(table->set, set.access) << set.name;
        }
        for (const auto& object : set.objects) {
            EXPECT_TRUE(object.isInPlace) << set.name << ": " << object.name;
            EXPECT_TRUE(object.expectedValue == nullptr || object.value == object.expectedValue) << object.name;
            EXPECT_TRUE(isSpelled(object.key, object.expectedKey)) << object.name;
        }
    }
}

}  // namespace
