// Everything that the schema must provide, bound to what the build provides: the names come from tests/data/schema, and
// a name without its artefacts does not compile or link.
#pragma once

#include <cstddef>
#include <vector>

#include "asn1rt/object_id.h"
#include "schema/record.h"
#include "tests/schema/type_row.h"

namespace schematest {

/// Names listed under one title, and how many there must be.
struct GroupRow {
    const char* title;
    unsigned numExpected;
    unsigned numNames = 0;
};

/// An object as listed, and as the build has it.
struct ObjectRow {
    const char* name;
    const char* expectedKey;
    ASN1TObjId key;
    const schema::TypeInfo* value;  // null: a NULL, or kept raw
    bool isNull;
    bool isInPlace;  // the set holds this very class at this place; true for an object in no set
    const schema::TypeInfo* expectedValue = nullptr;  // null where none is listed
};

struct SetRow {
    const char* name;
    const schema::ObjectSetAccess* access;  // null for what is in no set
    std::size_t numExpected;
    std::vector<ObjectRow> objects = {};
    std::vector<const schema::TableInfo*> users = {};  // of the types that look their values up in it
};

struct IdentifierRow {
    const char* name;
    const char* expected;
    const ASN1OBJID* value;
};

struct Catalogue {
    std::vector<GroupRow> groups;
    std::vector<TypeRow> types;
    std::vector<SetRow> sets;
    std::vector<IdentifierRow> identifiers;

    Catalogue();
};

const Catalogue& catalogue();

}  // namespace schematest
