// Templates for information objects and object sets, and the interface through which the shared codecs use them without
// knowing the ASN.1 class.
//
// An ASN.1 class becomes an abstract C++ class with a key and operations on the value type. An object is a subclass
// whose operations come from ValueOf<>. A set is an array of pointers in definition order; the first object with the
// key wins. Sets are built on first use and never freed.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <new>

#include "schema/control.h"
#include "schema/value_codec.h"

namespace schema {

/// Returns a zero-filled value of `size` octets from the context's heap. Throws std::bad_alloc when out of memory.
void* constructValue(ASN1CTXT* ctxt, std::size_t size);
/// Decodes a new value at the current position and stores it in `object.decoded`, whatever the status. For a type with
/// `rawIfTooBig`, a number that does not fit its member is not a failure; the value is then not stored.
int decodeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object);
/// Copies `from.decoded` into a new value and stores it in `to.decoded`.
void copyObject(ASN1CTXT* ctxt, const TypeInfo& type, const Asn1TObject& from, Asn1TObject& to);
/// Frees `object.decoded` and clears it.
void freeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object);

/// The operations on the value of an object, for any type with a record (or variable) and a control class.
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

/// The trivial operations of an object without a value record.
struct NoValue {
    static void* construct(ASN1CTXT*) { return nullptr; }
    static ASN1CType* constructControl(ASN1MessageBufferIF&, void*) { return nullptr; }
    static void destructControl(ASN1CType*) {}
    static void copy(ASN1CTXT*, const Asn1TObject&, Asn1TObject& to) { to.decoded = nullptr; }
    static void free(ASN1CTXT*, Asn1TObject& object) { object.decoded = nullptr; }
};

/// For a value of type NULL, which is written and read but not stored.
struct NullValue : NoValue {
    static int encode(ASN1CTXT* ctxt, Asn1TObject& object);
    static int decode(ASN1CTXT* ctxt, Asn1TObject& object);
};

/// For an object without a value type; its value stays raw.
struct RawValue : NoValue {
    static int encode(ASN1CTXT*, Asn1TObject&) { return 0; }
    static int decode(ASN1CTXT*, Asn1TObject&) { return 0; }
};

/// The objects of one class in definition order.
template <class Class, std::size_t count>
class ObjectSet {
public:
    /// The first object with exactly this key, or null.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): callers pass several kinds of identifiers by value
    Class* lookupObject(ASN1TObjId key) const { return find(key); }
    [[nodiscard]] Class* find(const ASN1OBJID& key) const {
        if (key.numids == 0 || key.numids > ASN1_MAX_ARCS) {
            return nullptr;
        }
        const std::uint32_t last = key.numids - 1;
        for (Class* object : mObjects) {
            // Keys of one registry differ in their last arc, so comparing it first settles most cases.
            if (object->id.numids == key.numids && object->id.subid[last] == key.subid[last] && object->id == key) {
                return object;
            }
        }
        return nullptr;
    }

protected:
    Class* mObjects[count] = {};
};

/// An empty set.
template <class Class>
class ObjectSet<Class, 0> {
public:
    // NOLINTNEXTLINE(performance-unnecessary-value-param): as above
    Class* lookupObject(ASN1TObjId /*key*/) const { return nullptr; }
    [[nodiscard]] Class* find(const ASN1OBJID&) const { return nullptr; }
};

/// The set as the codecs use it. The static functions encodeValue, decodeValue, copyValue and freeValue of `Class` call
/// its operations, whatever its type field is called.
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
