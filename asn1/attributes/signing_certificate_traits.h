// SigningCertificate, SigningCertificateV2 and OtherSigningCertificate between value and record. The value is what
// stands behind the pointer of the typed attribute.
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

template <class Record, class Control, class CertIDTraits, class CertIDList>
struct SigningCertificateTraits {
    using ASN1_T = Record;
    using ASN1_C = Control;
    using Value = SigningCertificateImpl<CertIDList>;
    using CertsTraits =
        ASN1TSeqOfList_traits<typename CertIDTraits::ASN1_T, CertIDTraits, typename CertIDList::value_type, CertIDList>;

    static void set(ASN1CTXT* ctxt, Record& record, const Value& value) {
        record.m = {};
        CertsTraits::set(ctxt, record.certs, value.certs);
        if (value.policies && !value.policies->empty()) {
            record.m.policiesPresent = 1;
            PolicyInformationListTraits::set(ctxt, record.policies, *value.policies);
        }
    }

    static void get(const Record& record, Value& value) {
        CertsTraits::get(record.certs, value.certs);
        value.policies.reset();
        if (record.m.policiesPresent != 0) {
            value.policies = std::make_unique<CPolicyInformationList>();
            PolicyInformationListTraits::get(record.policies, *value.policies);
        }
    }
};

struct ASN1T_SigningCertificate_traits
    : SigningCertificateTraits<asn1data::ASN1T_SigningCertificate, asn1data::ASN1C_SigningCertificate,
                               ASN1T_ESSCertID_traits, CESSCertIDList> {
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_SigningCertificate(ctxt, &from, &to);
    }
};

struct ASN1T_SigningCertificateV2_traits
    : SigningCertificateTraits<asn1data::ASN1T_SigningCertificateV2, asn1data::ASN1C_SigningCertificateV2,
                               ASN1T_ESSCertIDv2_traits, CESSCertIDv2List> {
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_SigningCertificateV2(ctxt, &from, &to);
    }
};

struct ASN1T_OtherSigningCertificate_traits
    : SigningCertificateTraits<asn1data::ASN1T_OtherSigningCertificate, asn1data::ASN1C_OtherSigningCertificate,
                               ASN1T_OtherCertID_traits, COtherCertIDList> {
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_OtherSigningCertificate(ctxt, &from, &to);
    }
};

}  // namespace Orvane::ASN1
