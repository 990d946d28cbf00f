// General names: the addresses of responders and CRLs, the names of requestors and issuers (RFC 5280, section 4.2.1.6).
//
//   CGeneralName location;
//   location.decode(der);
//   if (const wchar_t* address = location.get_uniformResourceIdentifier()) connect(address);
#pragma once

#include <list>
#include <memory>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

class CGeneralNameImpl;

/// One general name, which holds one alternative at a time:
///
///   GeneralName ::= CHOICE {
///       otherName                 [0] OtherName,
///       rfc822Name                [1] IA5String,
///       dNSName                   [2] IA5String,
///       x400Address               [3] ORAddress,
///       directoryName             [4] Name,
///       ediPartyName              [5] EDIPartyName,
///       uniformResourceIdentifier [6] IA5String,
///       iPAddress                 [7] OCTET STRING,
///       registeredID              [8] OBJECT IDENTIFIER }
///
/// Copies are deep. Nothing is checked when a value is set; encode() finds what cannot be encoded.
class TALLOW_EXPORT CGeneralName {
public:
    /// What get_type returns: the position of the alternative, counted from 1, which is its tag plus 1. Positions 1, 4
    /// and 6 (otherName, x400Address, ediPartyName) cannot be held.
    enum Type : unsigned int {
        kNone = 0,
        kRfc822Name = 2,
        kDNSName = 3,
        kDirectoryName = 5,
        kUniformResourceIdentifier = 7,
        kIPAddress = 8,
        kRegisteredID = 9
    };

    /// Holds nothing: type 0, every getter returns null.
    CGeneralName();
    CGeneralName(const CGeneralName& other);
    CGeneralName(CGeneralName&& other) noexcept;
    CGeneralName& operator=(const CGeneralName& other);
    CGeneralName& operator=(CGeneralName&& other) noexcept;
    ~CGeneralName();

    /// Removes the value; the object is as after the default constructor.
    void clear();

    /// One of the constants of Type; kNone when nothing is held.
    unsigned int get_type() const;

    /// Each getter returns null when another alternative is held; the pointer is valid until the object is changed or
    /// destroyed. The first three are read as UTF-8, with U+FFFD for octets that are not, and end at a NUL inside: do
    /// not compare such a text where security depends on it, compare encodings. registeredID is dotted decimal text.
    const wchar_t* get_rfc822Name() const;
    const wchar_t* get_dNSName() const;
    const wchar_t* get_uniformResourceIdentifier() const;
    const wchar_t* get_registeredID() const;

    /// The DER Name; null when another alternative is held. A name that was read is encoded again from its values, so
    /// that a name in BER comes back as DER.
    const CBlob* get_directoryName() const;
    /// The address in network order, unchanged: 4 or 16 octets, or twice that with a mask; other lengths are not
    /// rejected. Null when another alternative is held.
    const CBlob* get_iPAddress() const;

    /// Each setter copies its argument and removes the alternative held before; when the copy fails (std::bad_alloc)
    /// the object is unchanged. A null text counts as empty. The argument may come from a getter of this object.
    void put_rfc822Name(const wchar_t* text);
    void put_dNSName(const wchar_t* text);
    void put_uniformResourceIdentifier(const wchar_t* text);
    void put_registeredID(const wchar_t* text);
    void put_directoryName(const CBlob& name);
    void put_iPAddress(const CBlob& address);

    /// The DER of the choice. Texts are written in UTF-8 without a test for ASCII. Throws:
    /// - kInvalidArgument: nothing is held, or registeredID is not dotted decimal text.
    /// - kAsn1Error: directoryName is not a DER Name.
    /// - kAsn1Memory: memory is exhausted.
    CBlob encode() const;

    /// Replaces the content; octets after the first element are ignored. Throws, with the object unchanged:
    /// - kAsn1Error: `data` is empty or not a GeneralName.
    /// - kInvalidArgument: the alternative cannot be held.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);

    /// For display and logs only: the kind, and only the first character of a text. A directoryName appears whole, in
    /// the form of CName::toString, and throws as its decoding does.
    CWStringProxy toString() const;

    /// Same type, and equal octets of directoryName or iPAddress, or an equal first character of a text. Texts that
    /// begin with the same character are equal, in keeping with toString: to distinguish them, compare the results of
    /// the getters.
    bool operator==(const CGeneralName& other) const;

private:
    std::unique_ptr<CGeneralNameImpl> impl_;
};

/// General names in wire order:
///
///   GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
///
/// The minimum is not enforced: an empty list is read and written as an empty SEQUENCE. Two lists are equal when they
/// are equal element by element, by the rule of CGeneralName.
class TALLOW_EXPORT CGeneralNames : public std::list<CGeneralName> {
public:
    /// The DER of the list. Throws what CGeneralName::encode throws.
    CBlob encode() const;

    /// Replaces the whole content; octets after the list are ignored. Throws, with the list unchanged:
    /// - kAsn1Error: `data` is empty or not of the type.
    /// - kInvalidArgument: one of the names is of a kind that cannot be held.
    /// - kAsn1Memory: memory is exhausted, or its limit for a message of this size is reached.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
