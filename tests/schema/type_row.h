// A generated type with its functions, independent of its record type, for tables of types.
#pragma once

#include <cstddef>
#include <type_traits>

#include "asn1rt/control_type.h"
#include "schema/control.h"

namespace schematest {

struct TypeRow {
    const char* name;
    const schema::TypeInfo* info;  // used by the control class
    std::size_t sizeRecord;
    int (*encode)(ASN1CTXT*, void*, ASN1TagType);
    int (*decode)(ASN1CTXT*, void*, ASN1TagType, int);
    void (*copy)(ASN1CTXT*, const void*, void*);
    void (*free)(ASN1CTXT*, void*);
};

template <class Base, class Record, const schema::TypeInfo& type>
const schema::TypeInfo* infoOf(const schema::Control<Base, Record, type>* /*control*/) {
    return &type;
}

template <class Record, class Control, auto encode, auto decode, auto copy, auto free>
TypeRow typeRow(const char* name) {
    static_assert(std::is_base_of_v<ASN1CType, Control>);
    return {name,
            infoOf(static_cast<const Control*>(nullptr)),
            sizeof(Record),
            [](ASN1CTXT* ctxt, void* value, ASN1TagType tagType) {
                return encode(ctxt, static_cast<Record*>(value), tagType);
            },
            [](ASN1CTXT* ctxt, void* value, ASN1TagType tagType, int length) {
                return decode(ctxt, static_cast<Record*>(value), tagType, length);
            },
            [](ASN1CTXT* ctxt, const void* from, void* to) {
                copy(ctxt, static_cast<const Record*>(from), static_cast<Record*>(to));
            },
            [](ASN1CTXT* ctxt, void* value) { free(ctxt, static_cast<Record*>(value)); }};
}

// The row of a type; `function` is the name after asn1E_, which ends in "_" for a NULL type.
#define TYPE_ROW(name, function)                                                                             \
    schematest::typeRow<ASN1T_##name, ASN1C_##name, asn1E_##function, asn1D_##function, asn1Copy_##function, \
                        asn1Free_##function>(#name)

}  // namespace schematest
