#include "tests/schema/catalogue.h"

#include <type_traits>
#include <typeinfo>

#include "schema/generated/attribute_certificates.h"
#include "schema/generated/attributes.h"
#include "schema/generated/cmp.h"
#include "schema/generated/cms.h"
#include "schema/generated/crmf.h"
#include "schema/generated/dvcs.h"
#include "schema/generated/electronic_signatures.h"
#include "schema/generated/enrollment.h"
#include "schema/generated/extensions.h"
#include "schema/generated/identifiers.h"
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

// What an object's base says about its value.
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

template <class Set>
constexpr bool kIsSet = std::is_same_v<decltype(Set::instance(nullptr)), Set*>;

// A set is empty or has an array that only what derives from it may see.
template <class Set>
struct Contents : Set {
    template <class Object>
    static bool isAt(std::size_t place) {
        auto& objects = Set::instance(nullptr)->*(&Contents::mObjects);
        return place < std::size(objects) && typeid(*objects[place]) == typeid(Object);
    }
};

template <class Object>
ObjectRow objectRow(const char* name, const char* key) {
    const Object object;
    ObjectRow row = {name, key, object.id, nullptr, false, true};
    setValue(object, row);
    return row;
}

template <class Set, class Object>
ObjectRow memberRow(const char* name, const char* key, std::size_t place) {
    ObjectRow row = objectRow<Object>(name, key);
    row.isInPlace = Contents<Set>::template isAt<Object>(place);
    return row;
}

template <class Class, std::size_t count>
constexpr std::size_t sizeOf(const schema::ObjectSet<Class, count>* /*set*/) {
    return count;
}

}  // namespace

Catalogue::Catalogue() {
#define GROUP(title, count) groups.push_back({title, count});
#define TYPE(name)            \
    ++groups.back().numNames; \
    types.push_back(TYPE_ROW(name, name));
#define NULL_TYPE(name)          \
    groups.back().numNames += 2; \
    types.push_back(TYPE_ROW(name, name##_));
#define OBJECT(name)          \
    ++groups.back().numNames; \
    static_assert(!std::is_abstract_v<name>);
#define SET(name)             \
    ++groups.back().numNames; \
    static_assert(kIsSet<name>);
#define CLASS(name)           \
    ++groups.back().numNames; \
    static_assert(std::is_abstract_v<name>);
#include "tests/data/schema/names.inc"
#undef SET

#define SET(name, class, count)                                                 \
    static_assert(sizeOf(static_cast<const name*>(nullptr)) == (count), #name); \
    sets.push_back({#name, &schema::kAccess<name, class>, count});
#define USED_BY(type)                                                       \
    static_cast<void>(&asn1ETC_##type), static_cast<void>(&asn1DTC_##type); \
    sets.back().users.push_back(kType_##type.table);
#define MEMBER(set, object, key) \
    sets.back().objects.push_back(memberRow<set, object>(#object, key, sets.back().objects.size()));
#define IN_NO_SET(count) sets.push_back({"no set", nullptr, count});
#define LOOSE(object, key) sets.back().objects.push_back(objectRow<object>(#object, key));
#define VALUE(type) sets.back().objects.back().expectedValue = infoOf(static_cast<const ASN1C_##type*>(nullptr));
#include "tests/data/schema/sets.inc"

#define IDENTIFIER(name, value) identifiers.push_back({#name, value, &(name)});
#include "tests/data/schema/identifiers.inc"
}

const Catalogue& catalogue() {
    static const Catalogue kCatalogue;
    return kCatalogue;
}

}  // namespace schematest
