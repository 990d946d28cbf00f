#include "message/response_message.h"

#include <utility>

#include "asn1/codec.h"
#include "asn1/primitive_traits.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

namespace {

struct ResponseTraits {
    using ASN1_T = asn1data::ASN1T_OCSPResponse;
    using ASN1_C = asn1data::ASN1C_OCSPResponse;
};

}  // namespace

CResponseMessage::CResponseMessage() = default;
CResponseMessage::~CResponseMessage() = default;

void CResponseMessage::decode(CBlob const& data) {
    ASN1BERDecodeBuffer buffer(data.pbData(), ASN1::messageSize(data));
    asn1data::ASN1T_OCSPResponse record{};
    ASN1::decodeRecord<ResponseTraits>(buffer, record);
    CStringProxy type("");
    CBlob response;
    if (record.m.responseBytesPresent) {
        ASN1::ASN1TObjId_traits::get(record.responseBytes.responseType, type);
        response = CBlob(record.responseBytes.response.data, record.responseBytes.response.numocts);
    }
    responseStatus_ = record.responseStatus;
    responseType_ = std::move(type);
    response_ = std::move(response);
}

}  // namespace Orvane::PKI::OCSP
