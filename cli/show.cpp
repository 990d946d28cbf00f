#include "cli/show.h"

#include <optional>

#include "asn1/codec/tlv_reader.h"
#include "checker/text/certificate_text.h"
#include "checker/text/times.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/show_extensions.h"
#include "cli/show_names.h"
#include "cli/show_values.h"
#include "handles/exception.h"
#include "message/basic_response.h"
#include "message/extensions.h"
#include "message/request_message.h"
#include "message/response_message.h"

namespace tallow::cli {

using namespace text;

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using ASN1::TlvElement;
using ASN1::TlvReader;

namespace {

// A field needs up to some tens of times the memory of its octets until it is printed.
constexpr std::size_t kLargestShown = 4U << 20;

std::string versionOf(const std::optional<TlvElement>& wrapper) {
    const std::optional<TlvElement> number = TlvReader(wrapper).next();
    const bool isV1 = !number || (number->content.size() == 1 && number->content[0] == 0);
    return isV1 ? "v1" : hexOf(number->content);
}

std::string signatureOf(const std::optional<TlvElement>& bitString) {
    constexpr std::size_t kUnusedBits = 1;  // the first octet is their number
    return !bitString || bitString->content.empty() ? "" : hexOf(bitString->content.subspan(kUnusedBits));
}

void addExtensions(Shown& shown, const char* field, const ASN1::CExtensions* extensions) {
    if (extensions != nullptr) {
        shown.add(showExtensions(field, *extensions));
    }
}

// ---- Request --------------------------------------------------------------------------------------------------------

Shown showSignature(const CRequestMessage& message, TlvReader members) {
    members = TlvReader(members.nextIf(TlvElement::context(0)));  // optionalSignature
    members = TlvReader(members.next());
    members.skip();  // its algorithm
    Shown shown = Shown::object("optionalSignature");
    shown.add("signatureAlgorithm", algorithmOf(*message.get_signatureAlgorithm()));
    shown.addForJson("signatureOid", message.get_signatureAlgorithm()->get_algorithm());
    shown.add("signature", signatureOf(members.next()));
    if (message.get_signatureCerts() != nullptr) {
        shown.add(showCertificates("certs", *message.get_signatureCerts()));
    }
    return shown;
}

Shown showRequest(const CBlob& bytes) {
    CRequestMessage message;
    message.decode(bytes);
    Shown shown = Shown::object("OCSPRequest");
    TlvReader members(TlvReader(bytes).next());
    TlvReader tbsRequest(members.next());
    shown.add("version", versionOf(tbsRequest.nextIf(TlvElement::context(0))));
    if (const std::optional<TlvElement> name = tbsRequest.nextIf(TlvElement::context(1))) {
        shown.add("requestorName", generalNameOf(name->content));
    }
    Shown list = Shown::list("requestList");
    for (const CSingleRequest& request : message.get_requestList()) {
        Shown entry = Shown::object("");
        entry.add(showReqCert("reqCert", request.get_reqCert()));
        addExtensions(entry, "singleRequestExtensions", request.get_singleRequestExtensions());
        list.add(std::move(entry));
    }
    shown.add(std::move(list));
    addExtensions(shown, "requestExtensions", message.get_requestExtensions());
    if (message.get_signatureAlgorithm() != nullptr) {
        shown.add(showSignature(message, members));
    }
    return shown;
}

// ---- Response -------------------------------------------------------------------------------------------------------

void addStatus(Shown& shown, const CCertStatus& status) {
    switch (status.get_type()) {
        case CCertStatus::kGood:
            shown.add("certStatus", "good");
            return;
        case CCertStatus::kUnknown:
            shown.add("certStatus", "unknown");
            return;
        case CCertStatus::kRevoked:
            break;
    }
    shown.add("certStatus", "revoked");
    shown.add("revocationTime", iso8601(status.get_revocationTime()));
    if (status.get_revocationReason() != nullptr) {
        shown.add("revocationReason", reasonText(status.get_revocationReason()));
    }
}

Shown showEntry(const CSingleResponse& response) {
    Shown entry = Shown::object("");
    entry.add(showReqCert("certID", response.get_reqCert()));
    addStatus(entry, response.get_certStatus());
    entry.add("thisUpdate", iso8601(&response.get_thisUpdate()));
    if (response.get_nextUpdate() != nullptr) {
        entry.add("nextUpdate", iso8601(response.get_nextUpdate()));
    }
    addExtensions(entry, "singleExtensions", response.get_singleExtensions());
    return entry;
}

Shown showBasic(const CBlob& bytes, const char* field) {
    CBasicResponse message;
    message.decode(bytes);
    Shown shown = Shown::object(field);
    TlvReader members(TlvReader(bytes).next());
    TlvReader data(members.next());
    members.skip();  // signatureAlgorithm
    const CResponderID& responder = message.get_responderID();
    const bool isByName = responder.get_type() == CResponderID::kByName;
    const std::string identity = isByName ? nameOf(octetsOf(responder.get_value())) : hexOf(responder.get_value());
    shown.add("version", versionOf(data.nextIf(TlvElement::context(0))));
    shown.add("responderID", (isByName ? "byName: " : "byKey: ") + identity);
    shown.addForJson(isByName ? "responderName" : "responderKeyHash", identity);
    shown.add("producedAt", iso8601(&message.get_producedAt()));
    Shown list = Shown::list("responses");
    for (const CSingleResponse& response : message.get_responses()) {
        list.add(showEntry(response));
    }
    shown.add(std::move(list));
    addExtensions(shown, "responseExtensions", message.get_responseExtensions());
    shown.add("signatureAlgorithm", algorithmOf(message.get_signatureAlgorithm()));
    shown.addForJson("signatureOid", message.get_signatureAlgorithm().get_algorithm());
    shown.add("signature", signatureOf(members.next()));
    if (message.get_certs() != nullptr) {
        shown.add(showCertificates("certs", *message.get_certs()));
    }
    return shown;
}

Shown showBareBasic(const CBlob& bytes) {
    return showBasic(bytes, "BasicOCSPResponse");
}

Shown showResponse(const CBlob& bytes) {
    CResponseMessage message;
    message.decodeEnvelope(bytes);
    Shown shown = Shown::object("OCSPResponse");
    shown.add("responseStatus", responseStatusText(message.get_responseStatus()));
    const std::string type = message.get_responseType();
    if (type == kOidBasicResponse) {
        shown.add("responseType", "basic (" + type + ")");
        try {
            shown.add(showBasic(message.get_response(), "response"));
        } catch (const ATL::CAtlException&) {
            shown.add("response", hexOf(message.get_response()));  // only the envelope can be decoded
        }
    } else if (!type.empty()) {
        shown.add("responseType", type);
        shown.add("response", hexOf(message.get_response()));
    }
    return shown;
}

}  // namespace

// The three types differ in their first members: at most one of them can be decoded.
std::optional<Shown> shownOf(const CBlob& bytes) {
    for (Shown (*show)(const CBlob&) : {showRequest, showResponse, showBareBasic}) {
        try {
            Shown shown = show(bytes);
            const std::optional<TlvElement> whole = TlvReader(bytes).next();
            if (whole && whole->whole.size() < bytes.cbData()) {
                shown.add("trailingOctets", hexOf(octetsOf(bytes).subspan(whole->whole.size())));
            }
            return shown;
        } catch (const ATL::CAtlException&) {
            continue;  // try the next type
        }
    }
    return std::nullopt;
}

Outcome runShow(const ShowOptions& options) {
    const std::optional<Shown> shown = shownOf(readMessage(options.file, kLargestShown));
    if (!shown) {
        throw InputError(options.file, "is neither an OCSP request nor a response; name one in PEM, DER or base64",
                         status::kAsn1Error);
    }
    return {options.json ? toJson(kShowSchema, *shown) : toText(*shown), "", kExitGood};
}

}  // namespace tallow::cli
