#include "message/response_message.h"

#include <cstring>
#include <optional>
#include <utility>

#include "asn1/codec/codec.h"
#include "asn1/codec/element.h"
#include "asn1/text/primitive_traits.h"
#include "message/basic_response_content.h"
#include "message/extensions.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

namespace {

using ResponseTraits = ASN1::RecordTraits<asn1data::ASN1C_OCSPResponse, asn1data::asn1Copy_OCSPResponse>;

// OCSPResponse and ResponseBytes.
constexpr std::uint32_t kLevelsAroundContent = 2;

}  // namespace

CResponseMessage::CResponseMessage() = default;
CResponseMessage::~CResponseMessage() = default;

void CResponseMessage::decode(const CBlob& data) {
    const auto directly = [&]() -> std::optional<CResponseMessage> {
        CResponseMessage message;
        message.decodeWith(data, CTX_FLAG_ZERO_COPY | CTX_FLAG_RAW_VALUES);
        const bool isRead =
            message.response_.cbData() != 0 && std::strcmp(message.get_responseType(), kOidBasicResponse) == 0;
        return !isRead || isCertainlyBasicResponse(message.response_, kLevelsAroundContent)
                   ? std::optional<CResponseMessage>(std::move(message))
                   : std::nullopt;
    };
    *this = directlyOr(directly, [&] {
        CResponseMessage message;
        message.decodeWith(data, CTX_FLAG_ZERO_COPY);
        return message;
    });
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
