// Attributes of names made from plain text: one class for each of the usual types, each fixing its object identifier.
// The text is encoded in the string type registered for the attribute.
#pragma once

#include "asn1/names/attr_value.h"
#include "export.h"

namespace Orvane::ASN1 {

/// An attribute whose value is a character string. Throws what CATAVRegister::valueFromStr throws; the narrow form is
/// UTF-8.
class TALLOW_EXPORT CAttrStringValue : public CAttrValue {
public:
    CAttrStringValue(const char* oid, const char* text);
    CAttrStringValue(const char* oid, const wchar_t* text);
};

class TALLOW_EXPORT CAttrCommonName : public CAttrStringValue {
public:
    explicit CAttrCommonName(const char* text);
};

class TALLOW_EXPORT CAttrSurname : public CAttrStringValue {
public:
    explicit CAttrSurname(const char* text);
};

class TALLOW_EXPORT CAttrSerialNumber : public CAttrStringValue {
public:
    explicit CAttrSerialNumber(const char* text);
};

class TALLOW_EXPORT CAttrCountry : public CAttrStringValue {
public:
    explicit CAttrCountry(const char* text);
};

class TALLOW_EXPORT CAttrLocality : public CAttrStringValue {
public:
    explicit CAttrLocality(const char* text);
};

class TALLOW_EXPORT CAttrStateOrProvinceName : public CAttrStringValue {
public:
    explicit CAttrStateOrProvinceName(const char* text);
};

class TALLOW_EXPORT CAttrOrganizationName : public CAttrStringValue {
public:
    explicit CAttrOrganizationName(const char* text);
};

class TALLOW_EXPORT CAttrOrganizationalUnitName : public CAttrStringValue {
public:
    explicit CAttrOrganizationalUnitName(const char* text);
};

class TALLOW_EXPORT CAttrTitle : public CAttrStringValue {
public:
    explicit CAttrTitle(const char* text);
};

class TALLOW_EXPORT CAttrGivenName : public CAttrStringValue {
public:
    explicit CAttrGivenName(const char* text);
};

class TALLOW_EXPORT CAttrInitials : public CAttrStringValue {
public:
    explicit CAttrInitials(const char* text);
};

class TALLOW_EXPORT CAttrPseudonym : public CAttrStringValue {
public:
    explicit CAttrPseudonym(const char* text);
};

class TALLOW_EXPORT CAttrEmailAddress : public CAttrStringValue {
public:
    explicit CAttrEmailAddress(const char* text);
};

}  // namespace Orvane::ASN1
