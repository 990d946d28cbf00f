// CertID and ReqCert to and from their schema records.
#pragma once

#include "asn1/algorithms/algorithm_identifier_traits.h"
#include "asn1/algorithms/big_integer_traits.h"
#include "asn1/codec/codec.h"
#include "asn1/codec/tlv_reader.h"
#include "asn1/text/primitive_traits.h"
#include "message/cert_id.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

struct CertIdTraits : ASN1::RecordTraits<asn1data::ASN1C_CertID, asn1data::asn1Copy_CertID> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertID& value);
    static void get(const ASN1_T& record, CCertID& value);
    /// From the contents octets of the members, with the serial number in its shortest form.
    static CCertID make(const ASN1::CAlgorithmIdentifier& hashAlgorithm, ASN1::Octets issuerNameHash,
                        ASN1::Octets issuerKeyHash, ASN1::Octets serialNumber);
};

struct ReqCertTraits : ASN1::RecordTraits<asn1data::ASN1C_ReqCert, asn1data::asn1Copy_ReqCert> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CReqCert& value);
    static CReqCert get(const ASN1_T& record);
};

}  // namespace Orvane::PKI::OCSP
