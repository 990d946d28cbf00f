#include "asn1/extensions/policy_information.h"

#include "asn1/extensions/policy_information_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CPolicyInformation::CPolicyInformation() : policyIdentifier_(nullptr) {}

CPolicyInformation::CPolicyInformation(const char* policyIdentifier) : policyIdentifier_(policyIdentifier) {}

void CPolicyInformation::put_policyIdentifier(const char* policyIdentifier) {
    policyIdentifier_ = CStringProxy(policyIdentifier);
}

CBlob CPolicyInformation::encode() const {
    return asn1Encode<ASN1T_PolicyInformation_traits>(*this);
}

void CPolicyInformation::decode(const CBlob& data) {
    asn1Decode<ASN1T_PolicyInformation_traits>(data, *this);
}

void ASN1T_PolicyInformation_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CPolicyInformation& value) {
    ASN1TObjId_traits::set(ctxt, record.policyIdentifier, value.get_policyIdentifier());
}

void ASN1T_PolicyInformation_traits::get(const ASN1_T& record, CPolicyInformation& value) {
    value.put_policyIdentifier(toOID(record.policyIdentifier).c_str());
}

}  // namespace Orvane::ASN1
