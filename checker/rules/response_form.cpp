#include "checker/rules/response_form.h"

#include "asn1/codec/tlv_reader.h"
#include "handles/status.h"
#include "message/basic_response.h"
#include "message/response_message.h"

namespace tallow::rules {

using namespace Orvane::PKI::OCSP;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

namespace {

Rejection rejected(const char* text) {
    return {status::kAsn1Error, Rule::kForm, text};
}

// The decoders also read BER: indefinite lengths, and octet strings in parts (X.690, 10.1 and 10.2).
std::optional<Rejection> notDer() {
    return rejected("the response is not one DER structure; ask another responder");
}

std::optional<Rejection> rejectBasic(const Orvane::CBlob& bytes) {
    const std::optional<TlvElement> basic = TlvReader(bytes).next();
    const std::optional<TlvElement> data = TlvReader(basic).next();
    if (!data) {
        return notDer();
    }
    const Rejection otherVersion = rejected("the response is not of version 1; ask another responder");
    // The decoders read a version without octets, or with too many, as 0. Another reader may not.
    TlvReader members(data);
    if (const std::optional<TlvElement> wrapper = members.nextIf(TlvElement::context(0))) {
        const std::optional<TlvElement> version = TlvReader(wrapper).nextIf(TlvElement::kInteger);
        if (!version || version->content.size() != 1) {
            return otherVersion;
        }
    }
    CBasicResponse message;
    message.decode(bytes);
    if (message.get_trailingSize() != 0) {
        return rejected("octets follow the basic response; ask another responder");
    }
    return message.get_version() == 0 ? std::nullopt : std::optional(otherVersion);
}

}  // namespace

std::optional<Rejection> rejectForm(const Orvane::CBlob& bytes) {
    const std::optional<TlvElement> outer = TlvReader(bytes).next();
    if (!outer) {
        return notDer();
    }
    TlvReader members(outer);
    if (!members.nextIf(TlvElement::kEnumerated)) {
        return rejectBasic(bytes);
    }
    CResponseMessage message;
    message.decodeEnvelope(bytes);
    if (message.get_trailingSize() != 0) {
        return rejected("octets follow the response; ask another responder");
    }
    if (members.rest().empty()) {
        return std::nullopt;
    }
    // responseBytes [0] SEQUENCE { responseType OBJECT IDENTIFIER, response OCTET STRING }
    TlvReader typed(TlvReader(members.next()).next());
    typed.skip();
    const std::optional<TlvElement> response = typed.next();
    return response && !response->isConstructed ? rejectBasic(message.get_response()) : notDer();
}

}  // namespace tallow::rules
