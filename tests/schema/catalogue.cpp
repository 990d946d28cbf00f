#include "tests/schema/catalogue.h"

#include "schema/generated/attribute_certificates.h"
#include "schema/generated/attributes.h"
#include "schema/generated/cmp.h"
#include "schema/generated/cms.h"
#include "schema/generated/crmf.h"
#include "schema/generated/dvcs.h"
#include "schema/generated/electronic_signatures.h"
#include "schema/generated/enrollment.h"
#include "schema/generated/extensions.h"
#include "schema/generated/key_transport.h"
#include "schema/generated/matching_rules.h"
#include "schema/generated/ocsp.h"
#include "schema/generated/product_types.h"
#include "schema/generated/qualified_certificates.h"
#include "schema/generated/smime.h"
#include "schema/generated/tsp.h"
#include "schema/generated/x400_addresses.h"

namespace schematest {

namespace {

using namespace asn1data;

// Reads the value type of an object from its base class.
template <template <class> class Class, class Record, class Control, const schema::TypeInfo& type>
void setValue(const Class<schema::ValueOf<Record, Control, type>>& /*object*/, ObjectRow& row) {
    row.value = &type;
}
template <template <class> class Class>
void setValue(const Class<schema::NullValue>& /*object*/, ObjectRow& row) {
    row.isNull = true;
}
template <template <class> class Class>
void setValue(const Class<schema::RawValue>& /*object*/, ObjectRow& /*row*/) {}

template <class Object>
ObjectRow objectRow() {
    const Object object;
    ObjectRow row = {object.id};
    setValue(object, row);
    return row;
}

}  // namespace

Catalogue::Catalogue() {
#define TYPE(name, function) types.push_back(TYPE_ROW(name, function));
#define SET(name, class) sets.push_back({&schema::kAccess<name, class>});
#define MEMBER(name) sets.back().objects.push_back(objectRow<name>());
#include "tests/data/schema/catalogue.inc"
}

const Catalogue& catalogue() {
    static const Catalogue kCatalogue;
    return kCatalogue;
}

}  // namespace schematest
