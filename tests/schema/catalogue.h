// The types and object sets of the library's schema, bound to what the build provides. The names come from
// tests/data/schema/catalogue.inc, and a name that is missing from the build does not compile or link.
#pragma once

#include <vector>

#include "asn1rt/object_id.h"
#include "schema/record.h"
#include "tests/schema/type_row.h"

namespace schematest {

struct ObjectRow {
    ASN1TObjId key;
    const schema::TypeInfo* value = nullptr;  // null: a NULL, or kept raw
    bool isNull = false;
};

struct SetRow {
    const schema::ObjectSetAccess* access;
    std::vector<ObjectRow> objects = {};
};

struct Catalogue {
    std::vector<TypeRow> types;
    std::vector<SetRow> sets;

    Catalogue();
};

const Catalogue& catalogue();

}  // namespace schematest
