// SigningCertificate, SigningCertificateV2 and OtherSigningCertificate between value and record. The value is what
// is owned by the typed attribute.
#pragma once

#include "asn1/attributes/ess_cert_id_traits.h"
#include "asn1/attributes/other_cert_id_traits.h"
#include "asn1/attributes/signing_certificate.h"
#include "asn1/codec/list_traits.h"
#include "asn1/extensions/policy_information_traits.h"

namespace Orvane::ASN1 {

template <class CertIDList>
struct SigningCertificateImpl {
    CertIDList certs;
    copied_ptr<CPolicyInformationList> policies;  // null when absent
};

template <class Control, auto copyRecord, class CertIDTraits, class CertIDList>
struct SigningCertificateTraits : RecordTraits<Control, copyRecord> {
    using Record = typename RecordTraits<Control, copyRecord>::ASN1_T;
    using Value = SigningCertificateImpl<CertIDList>;
    using CertsTraits =
        ASN1TSeqOfList_traits<typename CertIDTraits::ASN1_T, CertIDTraits, typename CertIDList::value_type, CertIDList>;

    static void set(ASN1CTXT* ctxt, Record& record, const Value& value) {
        CertsTraits::set(ctxt, record.certs, value.certs);
        record.m.policiesPresent =
            setIf<PolicyInformationListTraits>(ctxt, record.policies, unlessEmpty(value.policies.get()));
    }

    static void get(const Record& record, Value& value) {
        CertsTraits::get(record.certs, value.certs);
        value.policies =
            valueIf<PolicyInformationListTraits, CPolicyInformationList>(record.m.policiesPresent, record.policies);
    }
};

struct ASN1T_SigningCertificate_traits
    : SigningCertificateTraits<asn1data::ASN1C_SigningCertificate, asn1data::asn1Copy_SigningCertificate,
                               ASN1T_ESSCertID_traits, CESSCertIDList> {};

struct ASN1T_SigningCertificateV2_traits
    : SigningCertificateTraits<asn1data::ASN1C_SigningCertificateV2, asn1data::asn1Copy_SigningCertificateV2,
                               ASN1T_ESSCertIDv2_traits, CESSCertIDv2List> {};

struct ASN1T_OtherSigningCertificate_traits
    : SigningCertificateTraits<asn1data::ASN1C_OtherSigningCertificate, asn1data::asn1Copy_OtherSigningCertificate,
                               ASN1T_OtherCertID_traits, COtherCertIDList> {};

}  // namespace Orvane::ASN1
