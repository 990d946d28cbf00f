// IssuerSerial between value and record.
#pragma once

#include <memory>

#include "asn1/codec/codec.h"
#include "asn1/names/issuer_serial.h"
#include "schema/generated/extensions.h"

namespace Orvane::ASN1 {

struct ASN1T_IssuerSerial_traits {
    using ASN1_T = asn1data::ASN1T_IssuerSerial;
    using ASN1_C = asn1data::ASN1C_IssuerSerial;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value);
    static void get(const ASN1_T& record, CIssuerSerial& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
        asn1data::asn1Copy_IssuerSerial(ctxt, &from, &to);
    }
};

/// The optional member issuerSerial of the identifiers of certificates; `Record` has a bit for its presence, which is
/// clear when the member is to be set.
template <class Record>
void setIssuerSerial(ASN1CTXT* ctxt, Record& record, const CIssuerSerial* value) {
    if (value != nullptr) {
        record.m.issuerSerialPresent = 1;
        ASN1T_IssuerSerial_traits::set(ctxt, record.issuerSerial, *value);
    }
}

/// Null when absent. To be read before any member of the value is put: the octets of the record may lie in one.
template <class Record>
std::unique_ptr<CIssuerSerial> getIssuerSerial(const Record& record) {
    std::unique_ptr<CIssuerSerial> issuerSerial;
    if (record.m.issuerSerialPresent != 0) {
        issuerSerial = std::make_unique<CIssuerSerial>();
        ASN1T_IssuerSerial_traits::get(record.issuerSerial, *issuerSerial);
    }
    return issuerSerial;
}

}  // namespace Orvane::ASN1
