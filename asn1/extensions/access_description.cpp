#include "asn1/extensions/access_description.h"

#include <cstring>

#include "asn1/extensions/access_description_traits.h"
#include "asn1/names/general_name_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CAccessDescription::CAccessDescription() : accessMethod_(nullptr) {}

CAccessDescription::CAccessDescription(const char* accessMethod, const CGeneralName& accessLocation)
    : accessMethod_(accessMethod), accessLocation_(accessLocation) {}

void CAccessDescription::put_accessMethod(const char* accessMethod) {
    accessMethod_ = CStringProxy(accessMethod);
}

void CAccessDescription::put_accessLocation(const CGeneralName& accessLocation) {
    accessLocation_ = accessLocation;
}

CBlob CAccessDescription::encode() const {
    return asn1Encode<ASN1T_AccessDescription_traits>(*this);
}

void CAccessDescription::decode(const CBlob& data) {
    asn1Decode<ASN1T_AccessDescription_traits>(data, *this);
}

bool CAccessDescription::operator==(const CAccessDescription& other) const {
    return std::strcmp(get_accessMethod(), other.get_accessMethod()) == 0 && accessLocation_ == other.accessLocation_;
}

CBlob CAuthorityInfoAccessSyntax::encode() const {
    return asn1Encode<ASN1T_AuthorityInfoAccessSyntax_traits>(*this);
}

void CAuthorityInfoAccessSyntax::decode(const CBlob& data) {
    asn1Decode<ASN1T_AuthorityInfoAccessSyntax_traits>(data, *this);
}

void ASN1T_AccessDescription_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CAccessDescription& value) {
    ASN1TObjId_traits::set(ctxt, record.accessMethod, value.get_accessMethod());
    ASN1T_GeneralName_traits::set(ctxt, record.accessLocation, value.get_accessLocation());
}

void ASN1T_AccessDescription_traits::get(const ASN1_T& record, CAccessDescription& value) {
    value.put_accessMethod(toOID(record.accessMethod).c_str());
    value.put_accessLocation(valueOf<ASN1T_GeneralName_traits, CGeneralName>(record.accessLocation));
}

}  // namespace Orvane::ASN1
