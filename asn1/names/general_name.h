// General names (RFC 5280, section 4.2.1.6), numbered here by position from 1:
//
//   GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
//   GeneralName  ::= CHOICE { otherName [0], rfc822Name [1], dNSName [2], x400Address [3], directoryName [4],
//                             ediPartyName [5], uniformResourceIdentifier [6], iPAddress [7], registeredID [8] }
#pragma once

#include <list>
#include <memory>

#include "export.h"
#include "foundation/blob.h"
#include "foundation/string_proxy.h"

namespace Orvane::ASN1 {

class CGeneralNameImpl;

/// One general name: holds one alternative at a time. Copies are deep.
class TALLOW_EXPORT CGeneralName {
public:
    /// What get_type returns: the position of the alternative, from 1. Position 1, 4 and 6 (otherName, x400Address,
    /// ediPartyName) cannot be held.
    enum Type : unsigned int {
        kNone = 0,
        kRfc822Name = 2,
        kDNSName = 3,
        kDirectoryName = 5,
        kUniformResourceIdentifier = 7,
        kIPAddress = 8,
        kRegisteredID = 9
    };

    /// Holds nothing: type 0.
    CGeneralName();
    CGeneralName(const CGeneralName& other);
    CGeneralName(CGeneralName&& other) noexcept;
    CGeneralName& operator=(const CGeneralName& other);
    CGeneralName& operator=(CGeneralName&& other) noexcept;
    ~CGeneralName();

    /// Forgets the value held; the object is as after the default constructor.
    void clear();

    unsigned int get_type() const;

    /// Each getter returns null when another alternative is held; the pointer is valid until the object is changed or
    /// destroyed. registeredID is dotted decimal text.
    const wchar_t* get_rfc822Name() const;
    const wchar_t* get_dNSName() const;
    const wchar_t* get_uniformResourceIdentifier() const;
    const wchar_t* get_registeredID() const;

    /// The DER Name.
    const CBlob* get_directoryName() const;
    /// The address bytes unchanged: 4 or 16, or twice that with a mask.
    const CBlob* get_iPAddress() const;

    /// Each setter copies its argument and forgets the alternative held before. A null text counts as empty.
    void put_rfc822Name(const wchar_t* text);
    void put_dNSName(const wchar_t* text);
    void put_uniformResourceIdentifier(const wchar_t* text);
    void put_registeredID(const wchar_t* text);
    void put_directoryName(const CBlob& name);
    void put_iPAddress(const CBlob& address);

    /// The DER of the choice. Throws InvalidArgument when nothing is held or registeredID is not dotted decimal text,
    /// and Asn1Error when directoryName is not a DER Name.
    CBlob encode() const;

    /// Replaces the content. Throws Asn1Error when `data` is not a GeneralName, and InvalidArgument for an alternative
    /// that cannot be held; the object is then unchanged.
    void decode(const CBlob& data);

    /// For display and logs only: the kind, and of a text just its first character. A directoryName is shown whole, in
    /// the form of CName::toString, and throws as its decoding does.
    CWStringProxy toString() const;

    /// Same type, and the bytes of directoryName and iPAddress, or the first character of a text. Texts that begin with
    /// the same character count as equal, in keeping with toString; compare the getters' results to tell them apart.
    bool operator==(const CGeneralName& other) const;

private:
    std::unique_ptr<CGeneralNameImpl> impl_;
};

/// General names in wire order. Equal element by element, by the rule of CGeneralName.
class TALLOW_EXPORT CGeneralNames : public std::list<CGeneralName> {
public:
    CBlob encode() const;

    /// Replaces the whole content. Throws Asn1Error when `data` is not of the type, and InvalidArgument for an
    /// alternative that cannot be held; the list is then unchanged.
    void decode(const CBlob& data);
};

}  // namespace Orvane::ASN1
