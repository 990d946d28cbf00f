// Information objects and their sets: the templates from which the classes of the generated modules derive, and the
// bridge over which the shared codecs reach them without knowing the ASN.1 class.
//
// An ASN.1 class becomes an abstract C++ class with a key and the operations on the value type; an object is a subclass
// whose operations come from ValueOf<>. A set is an array of pointers in the order in which the objects are defined;
// the first object with the key wins. Sets are built once, on first use, and never freed.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <new>

#include "schema/control.h"
#include "schema/value_codec.h"

namespace schema {

/// A zero-filled value of `size` octets from the context's heap; std::bad_alloc when there is no memory.
void* constructValue(ASN1CTXT* ctxt, std::size_t size);
/// Reads a fresh value at the position of `ctxt` and stores it in `object.decoded`, whatever the status. A number that
/// does not fit its member is no failure of a type that says so: the value is then not stored.
int decodeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object);
/// Copies `from.decoded` into a fresh value and stores that in `to.decoded`.
void copyObject(ASN1CTXT* ctxt, const TypeInfo& type, const Asn1TObject& from, Asn1TObject& to);
/// Frees `object.decoded` and clears it.
void freeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object);

/// The operations on the value type of an object, for any type with a record (or variable) and a control class.
template <class Record, class Control, const TypeInfo& type>
struct ValueOf {
    static void* construct(ASN1CTXT* ctxt) { return constructValue(ctxt, sizeof(Record)); }
    static ASN1CType* constructControl(ASN1MessageBufferIF& buffer, void* record) {
        void* place = constructValue(buffer.getCtxtPtr(), sizeof(Control));
        return new (place) Control(buffer, *static_cast<Record*>(record));
    }
    static void destructControl(ASN1CType* control) { static_cast<Control*>(control)->~Control(); }
    static int encode(ASN1CTXT* ctxt, Asn1TObject& object) {
        return encodeValue(ctxt, type, object.decoded, TAG_EXPLICIT);
    }
    static int decode(ASN1CTXT* ctxt, Asn1TObject& object) { return decodeObject(ctxt, type, object); }
    static void copy(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) { copyObject(ctxt, type, from, to); }
    static void free(ASN1CTXT* ctxt, Asn1TObject& object) { freeObject(ctxt, type, object); }
};

/// The operations of an object without a value record: all trivial.
struct NoValue {
    static void* construct(ASN1CTXT*) { return nullptr; }
    static ASN1CType* constructControl(ASN1MessageBufferIF&, void*) { return nullptr; }
    static void destructControl(ASN1CType*) {}
    static void copy(ASN1CTXT*, const Asn1TObject&, Asn1TObject& to) { to.decoded = nullptr; }
    static void free(ASN1CTXT*, Asn1TObject& object) { object.decoded = nullptr; }
};

/// The value type is NULL: it is written and read, and nothing is held.
struct NullValue : NoValue {
    static int encode(ASN1CTXT* ctxt, Asn1TObject& object);
    static int decode(ASN1CTXT* ctxt, Asn1TObject& object);
};

/// The object names no value type: its value is carried raw.
struct RawValue : NoValue {
    static int encode(ASN1CTXT*, Asn1TObject&) { return 0; }
    static int decode(ASN1CTXT*, Asn1TObject&) { return 0; }
};

/// The objects of one class in definition order.
template <class Class, std::size_t count>
class ObjectSet {
public:
    /// The first object with exactly this key, or null.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): callers hand over identifiers of any kind by value
    Class* lookupObject(ASN1TObjId key) const { return find(key); }
    [[nodiscard]] Class* find(const ASN1OBJID& key) const {
        if (key.numids == 0 || key.numids > ASN1_MAX_ARCS) {
            return nullptr;
        }
        const std::uint32_t last = key.numids - 1;
        for (Class* object : mObjects) {
            // Keys of one registry differ in their last arc, so that it settles most comparisons.
            if (object->id.numids == key.numids && object->id.subid[last] == key.subid[last] && object->id == key) {
                return object;
            }
        }
        return nullptr;
    }

protected:
    Class* mObjects[count] = {};
};

/// A class none of whose objects is in the set.
template <class Class>
class ObjectSet<Class, 0> {
public:
    // NOLINTNEXTLINE(performance-unnecessary-value-param): as above
    Class* lookupObject(ASN1TObjId /*key*/) const { return nullptr; }
    [[nodiscard]] Class* find(const ASN1OBJID&) const { return nullptr; }
};

/// The bridge: `Class` has the static functions encodeValue, decodeValue, copyValue and freeValue, which call its
/// operations whatever its field is named.
template <class Set, class Class>
inline constexpr ObjectSetAccess kAccess = {
    [](const ASN1OBJID& key) -> void* { return Set::instance(nullptr)->find(key); },
    [](void* object, ASN1CTXT* ctxt, Asn1TObject& value) {
        return Class::encodeValue(*static_cast<Class*>(object), ctxt, value);
    },
    [](void* object, ASN1CTXT* ctxt, Asn1TObject& value) {
        return Class::decodeValue(*static_cast<Class*>(object), ctxt, value);
    },
    [](void* object, ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) {
        Class::copyValue(*static_cast<Class*>(object), ctxt, from, to);
    },
    [](void* object, ASN1CTXT* ctxt, Asn1TObject& value) {
        Class::freeValue(*static_cast<Class*>(object), ctxt, value);
    },
};

}  // namespace schema
