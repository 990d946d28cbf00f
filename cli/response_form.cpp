#include "cli/response_form.h"

#include "cli/der_view.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

constexpr const char* kStep = "form of the response";

Rejection rejected(const char* text) {
    return {status::kAsn1Error, kStep, text};
}

// The response is read by DerView, which knows neither indefinite lengths nor strings in parts: what it cannot follow
// is no DER, and is rejected with the rest.
std::optional<Rejection> malformed() {
    return rejected("the response is not one DER structure; ask another responder");
}

// A basic response: exactly these octets, and version 1.
std::optional<Rejection> rejectBasic(Octets octets) {
    DerView outer(octets);
    const std::optional<DerElement> basic = outer.nextIf(kTagSequence);
    if (!basic) {
        return malformed();
    }
    if (!outer.rest().empty()) {
        return rejected("octets follow the basic response; ask another responder");
    }
    const std::optional<DerElement> data = DerView(basic).nextIf(kTagSequence);
    if (!data) {
        return malformed();
    }
    DerView members(data);
    const std::optional<DerElement> wrapper = members.nextIf(contextTag(0));
    if (!wrapper) {
        return std::nullopt;  // version 1 is the default
    }
    DerView version(wrapper);
    const std::optional<DerElement> number = version.nextIf(kTagInteger);
    const bool isV1 = number && version.rest().empty() && number->content.size() == 1 && number->content[0] == 0;
    return isV1 ? std::nullopt : std::optional(rejected("the response is not of version 1; ask another responder"));
}

// The decoder has made sure that nothing follows the members:
//
// OCSPResponse ::= SEQUENCE { responseStatus ENUMERATED, responseBytes [0] SEQUENCE { OBJECT IDENTIFIER,
// OCTET STRING } OPTIONAL }
std::optional<Rejection> rejectMessage(DerView members) {
    members.next();  // responseStatus
    if (members.rest().empty()) {
        return std::nullopt;
    }
    DerView bytes(members.nextIf(contextTag(0)));
    DerView typed(bytes.nextIf(kTagSequence));
    typed.nextIf(kTagObjectIdentifier);
    const std::optional<DerElement> response = typed.nextIf(kTagOctetString);
    if (!response) {
        return malformed();
    }
    return rejectBasic(response->content);
}

}  // namespace

std::optional<Rejection> rejectForm(const Orvane::CBlob& bytes) {
    const Octets octets(bytes.pbData(), bytes.cbData());
    DerView outer(octets);
    const std::optional<DerElement> message = outer.nextIf(kTagSequence);
    if (!message) {
        return malformed();
    }
    if (!outer.rest().empty()) {
        return rejected("octets follow the response; ask another responder");
    }
    const DerView members(message);
    return DerView(members).nextIf(kTagEnumerated) ? rejectMessage(members) : rejectBasic(octets);
}

}  // namespace tallow::cli
