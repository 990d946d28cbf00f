// The value types of schema records that need more than a plain record: object identifiers and lists that start empty,
// open types under a table constraint, and ASN1TPDU, which lets a record keep the context alive that its members live
// in.
//
// What they point to belongs to the type heap of the context a value was decoded into or built with. Copying a record
// with = copies the pointers, not what they point to: use the getCopy of its control class for a deep copy.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/context_ref.h"
#include "asn1rt/dlist.h"
#include "asn1rt/object_id.h"
#include "asn1rt/types.h"
#include "export.h"

/// An object identifier, without arcs at first. Copying moves the arcs in use only.
struct TALLOW_EXPORT ASN1TObjId : ASN1OBJID {
    ASN1TObjId() noexcept;
    /// At most 128 arcs are taken.
    ASN1TObjId(std::uint32_t numArcs, const std::uint32_t* arcs) noexcept;
    /// From the plain record, of which at most 128 arcs are taken.
    ASN1TObjId(const ASN1OBJID& other) noexcept;  // NOLINT(google-explicit-constructor): the same value
    ASN1TObjId(const ASN1TObjId& other) noexcept;
    ASN1TObjId& operator=(const ASN1OBJID& other) noexcept;
    ASN1TObjId& operator=(const ASN1TObjId& other) noexcept;
};

/// ASN1OID64 with constructors, without arcs at first. Copying moves the arcs in use only.
struct TALLOW_EXPORT ASN1TObjId64 : ASN1OID64 {
    ASN1TObjId64() noexcept;
    /// At most 128 arcs are taken.
    ASN1TObjId64(std::uint32_t numArcs, const std::int64_t* arcs) noexcept;
    ASN1TObjId64(const ASN1OID64& other) noexcept;  // NOLINT(google-explicit-constructor): the same value
    ASN1TObjId64(const ASN1TObjId64& other) noexcept;
    ASN1TObjId64& operator=(const ASN1OID64& other) noexcept;
    ASN1TObjId64& operator=(const ASN1TObjId64& other) noexcept;
};

/// The base of records that may keep their context alive. Null, the normal case, means that the record's memory goes
/// with a context another owner holds. With a context, the destructor of the derived record frees its members through
/// its free function, and then this one drops the reference.
///
/// A copy of a record shares the members and so takes no reference: it is a view that must not outlive the original,
/// and only one record frees the members. Assigning to a record replaces its members but neither its context nor its
/// reference.
class TALLOW_EXPORT ASN1TPDU {
public:
    ASN1TPDU() noexcept = default;
    ASN1TPDU(const ASN1TPDU&) noexcept {}
    ASN1TPDU& operator=(const ASN1TPDU& other) noexcept;
    ~ASN1TPDU() { setContext(nullptr); }

    /// Takes a reference to `context` and drops the one held. Null drops only: members in that context may then be
    /// gone.
    void setContext(ASN1Context* context) noexcept;
    /// The context held, null when there is none. No reference is added.
    [[nodiscard]] ASN1Context* getContext() const noexcept { return mpContext; }

private:
    ASN1Context* mpContext = nullptr;
};

/// SEQUENCE OF and SET OF as a list of pointers to value records, empty at first. Nodes and records are in the type
/// heap; the destructor frees neither. Walk it with pHead and pNext, or through ASN1CSeqOfList.
struct TALLOW_EXPORT ASN1TSeqOfList : _Asn1RTDList {
    ASN1TSeqOfList() noexcept;
};

/// The same list in a record that may keep its context alive, as ASN1TPDU describes.
struct TALLOW_EXPORT ASN1TPDUSeqOfList : ASN1TSeqOfList, ASN1TPDU {};

/// A complete encoded element under its plain name.
using ASN1OpenType = ASN1TOpenType;

/// An open type whose type may follow from a table constraint (X.682, clause 10): the value of another member, mostly
/// an object identifier, selects it. A decoder fills all three members it can; an encoder prefers the decoded value
/// where there is one and knows the type.
struct Asn1TObject {
    ASN1TOpenType encoded = {};  ///< the octets as they are in the message
    void* decoded = nullptr;     ///< the value record; null while not decoded
    void* object = nullptr;      ///< the information object that gives the type; null when none is known
};
using Asn1Object = Asn1TObject;
