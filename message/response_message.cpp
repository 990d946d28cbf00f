#include "message/response_message.h"

#include <utility>

#include "asn1/codec/codec.h"
#include "asn1/codec/element.h"
#include "asn1/text/primitive_traits.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

namespace {

using ResponseTraits = ASN1::RecordTraits<asn1data::ASN1C_OCSPResponse, asn1data::asn1Copy_OCSPResponse>;

}  // namespace

CResponseMessage::CResponseMessage() = default;
CResponseMessage::~CResponseMessage() = default;

void CResponseMessage::decode(const CBlob& data) {
    decodeWith(data, CTX_FLAG_ZERO_COPY);
}

void CResponseMessage::decodeEnvelope(const CBlob& data) {
    CResponseMessage envelope;
    envelope.decodeWith(data, CTX_FLAG_ZERO_COPY | CTX_FLAG_RAW_VALUES);
    if (envelope.responseStatus_ != 0 && envelope.response_.cbData() != 0) {
        decode(data);  // the content of a refusal is not read later, so it is checked here
        return;
    }
    *this = std::move(envelope);
}

void CResponseMessage::decodeWith(const CBlob& data, std::uint16_t flags) {
    ASN1::withinFrame([&] {
        ASN1BERDecodeBuffer buffer(data.pbData(), ASN1::messageSize(data));
        rtCtxtSetFlag(buffer.getCtxtPtr(), flags);
        asn1data::ASN1T_OCSPResponse record{};
        ASN1::decodeRecord<ResponseTraits>(buffer, record);
        CStringProxy type("");
        CBlob response;
        if (record.m.responseBytesPresent) {
            ASN1::ASN1TObjId_traits::get(record.responseBytes.responseType, type);
            ASN1::ASN1TDynOctStr_traits::get(record.responseBytes.response, response);
        }
        trailingSize_ = data.cbData() - ASN1::sizeOfFirst(data);
        responseStatus_ = record.responseStatus;
        responseType_ = std::move(type);
        response_ = std::move(response);
    });
}

}  // namespace Orvane::PKI::OCSP
