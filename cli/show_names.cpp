#include "cli/show_names.h"

#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "cli/show_values.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

using namespace text;

namespace {

std::string addressOf(Octets address) {
    constexpr std::size_t kIpv4Size = 4;
    if (address.size() != kIpv4Size) {
        return hexOf(address);
    }
    std::string text;
    for (const unsigned char octet : address) {
        text += (text.empty() ? "" : ".") + std::to_string(octet);
    }
    return text;
}

// The content of a BIT STRING, whose first octet is the number of unused bits.
std::string reasonsOf(Octets bits) {
    constexpr const char* kNames[] = {"unused",      "keyCompromise",        "cACompromise",    "affiliationChanged",
                                      "superseded",  "cessationOfOperation", "certificateHold", "privilegeWithdrawn",
                                      "aACompromise"};
    std::string text;
    for (std::size_t bit = 0; bit < std::size(kNames) && bit / 8 + 1 < bits.size(); ++bit) {
        if ((bits[bit / 8 + 1] & (0x80U >> bit % 8)) != 0) {
            text += std::string(text.empty() ? "" : ", ") + kNames[bit];
        }
    }
    return text;
}

// Calls `show` with each element of the SEQUENCE that `octets` are.
template <typename Show>
Shown showList(const char* field, Octets octets, Show show) {
    TlvReader outer(octets);
    TlvReader elements(required(outer, TlvElement::kSequence).content);
    requireEnd(outer);
    Shown shown = Shown::list(field);
    while (!elements.rest().empty()) {
        const std::optional<TlvElement> element = elements.next();
        if (!element) {
            ATL::AtlThrowImpl(status::kAsn1Error);
        }
        shown.add(show(*element));
    }
    return shown;
}

// The same for a SEQUENCE with an implicit context tag, from its contents.
Shown showTaggedNames(const char* field, Octets content) {
    TlvReader elements(content);
    Shown shown = Shown::list(field);
    while (!elements.rest().empty()) {
        const std::optional<TlvElement> name = elements.next();
        if (!name) {
            ATL::AtlThrowImpl(status::kAsn1Error);
        }
        shown.add("", generalNameOf(name->whole));
    }
    return shown;
}

// DistributionPoint ::= SEQUENCE { distributionPoint [0] CHOICE { fullName [0], nameRelativeToCRLIssuer [1] } OPTIONAL,
// reasons [1] OPTIONAL, cRLIssuer [2] OPTIONAL }
Shown showPoint(const TlvElement& point) {
    TlvReader members(point.content);
    Shown shown = Shown::object("");
    if (const std::optional<TlvElement> name = members.nextIf(TlvElement::context(0))) {
        TlvReader choice(name);
        if (const std::optional<TlvElement> fullName = choice.nextIf(TlvElement::context(0))) {
            shown.add(showTaggedNames("fullName", fullName->content));
        } else {
            shown.add("nameRelativeToCRLIssuer", hexOf(required(choice, TlvElement::context(1)).content));
        }
    }
    if (const std::optional<TlvElement> reasons = members.nextIf(TlvElement::context(1))) {
        shown.add("reasons", reasonsOf(reasons->content));
    }
    if (const std::optional<TlvElement> issuer = members.nextIf(TlvElement::context(2))) {
        shown.add(showTaggedNames("cRLIssuer", issuer->content));
    }
    requireEnd(members);
    return shown;
}

Shown showDescription(const TlvElement& description) {
    constexpr const char* kOcsp = "1.3.6.1.5.5.7.48.1";
    constexpr const char* kCaIssuers = "1.3.6.1.5.5.7.48.2";
    TlvReader members(description.content);
    const std::string oid = oidText(required(members, TlvElement::kObjectIdentifier).content);
    Shown entry = Shown::object("");
    entry.add("accessMethod", oid == kOcsp        ? "ocsp (" + oid + ")"
                              : oid == kCaIssuers ? "caIssuers (" + oid + ")"
                                                  : oid);
    entry.add("accessLocation", generalNameOf(members.rest()));
    return entry;
}

}  // namespace

TlvElement required(TlvReader& reader, std::uint32_t tag) {
    const std::optional<TlvElement> element = reader.nextIf(tag);
    if (!element) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return *element;
}

void requireEnd(const TlvReader& reader) {
    if (!reader.rest().empty()) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

std::string nameOf(Octets name) {
    const std::string text = nameText(name);
    return text.empty() ? hexOf(name) : text;
}

std::string generalNameOf(Octets name) {
    TlvReader reader(name);
    const std::optional<TlvElement> element = reader.next();
    if (!element || !reader.rest().empty()) {
        return hexOf(name);
    }
    switch (element->tag) {
        case TlvElement::context(1):
            return "rfc822Name: " + narrowText(element->content);
        case TlvElement::context(2):
            return "dNSName: " + narrowText(element->content);
        case TlvElement::context(4):
            return "directoryName: " + nameOf(element->content);
        case TlvElement::context(6):
            return "URI: " + withoutLogin(narrowText(element->content));
        case TlvElement::context(7):
            return "iPAddress: " + addressOf(element->content);
        case TlvElement::context(8):
            return "registeredID: " + oidText(element->content);
        default:
            return hexOf(name);
    }
}

Shown showGeneralNames(const char* field, Octets names) {
    return showList(field, names, [](const TlvElement& name) { return Shown::field("", generalNameOf(name.whole)); });
}

Shown showAccess(const char* field, Octets access) {
    return showList(field, access, showDescription);
}

Shown showDistributionPoints(const char* field, Octets points) {
    return showList(field, points, showPoint);
}

}  // namespace tallow::cli
