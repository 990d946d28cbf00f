#include "cli/show_names.h"

#include "cli/name_text.h"
#include "cli/safe_text.h"
#include "cli/show_values.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace tallow::cli {

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
    DerView outer(octets);
    DerView elements(required(outer, kTagSequence).content);
    requireEnd(outer);
    Shown shown = Shown::list(field);
    while (!elements.rest().empty()) {
        const std::optional<DerElement> element = elements.next();
        if (!element) {
            ATL::AtlThrowImpl(status::kAsn1Error);
        }
        shown.add(show(*element));
    }
    return shown;
}

// The same where a context tag stands in place of that of the SEQUENCE.
Shown showTaggedNames(const char* field, Octets content) {
    DerView elements(content);
    Shown shown = Shown::list(field);
    while (!elements.rest().empty()) {
        const std::optional<DerElement> name = elements.next();
        if (!name) {
            ATL::AtlThrowImpl(status::kAsn1Error);
        }
        shown.add("", generalNameOf(name->whole));
    }
    return shown;
}

// DistributionPoint ::= SEQUENCE { distributionPoint [0] CHOICE { fullName [0], nameRelativeToCRLIssuer [1] } OPTIONAL,
// reasons [1] OPTIONAL, cRLIssuer [2] OPTIONAL }
Shown showPoint(const DerElement& point) {
    DerView members(point.content);
    Shown shown = Shown::object("");
    if (const std::optional<DerElement> name = members.nextIf(contextTag(0))) {
        DerView choice(name);
        if (const std::optional<DerElement> fullName = choice.nextIf(contextTag(0))) {
            shown.add(showTaggedNames("fullName", fullName->content));
        } else {
            shown.add("nameRelativeToCRLIssuer", hexOf(required(choice, contextTag(1)).content));
        }
    }
    if (const std::optional<DerElement> reasons = members.nextIf(contextTag(1))) {
        shown.add("reasons", reasonsOf(reasons->content));
    }
    if (const std::optional<DerElement> issuer = members.nextIf(contextTag(2))) {
        shown.add(showTaggedNames("cRLIssuer", issuer->content));
    }
    requireEnd(members);
    return shown;
}

Shown showDescription(const DerElement& description) {
    constexpr const char* kOcsp = "1.3.6.1.5.5.7.48.1";
    constexpr const char* kCaIssuers = "1.3.6.1.5.5.7.48.2";
    DerView members(description.content);
    const std::string oid = oidText(required(members, kTagObjectIdentifier).content);
    Shown entry = Shown::object("");
    entry.add("accessMethod", oid == kOcsp        ? "ocsp (" + oid + ")"
                              : oid == kCaIssuers ? "caIssuers (" + oid + ")"
                                                  : oid);
    entry.add("accessLocation", generalNameOf(members.rest()));
    return entry;
}

}  // namespace

DerElement required(DerView& view, unsigned tag) {
    const std::optional<DerElement> element = view.nextIf(tag);
    if (!element) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return *element;
}

void requireEnd(const DerView& view) {
    if (!view.rest().empty()) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

std::string nameOf(Octets name) {
    const std::string text = nameText(name);
    return text.empty() ? hexOf(name) : text;
}

std::string generalNameOf(Octets name) {
    DerView view(name);
    const std::optional<DerElement> element = view.next();
    if (!element || !view.rest().empty()) {
        return hexOf(name);
    }
    switch (element->tag) {
        case contextTag(1):
            return "rfc822Name: " + narrowText(element->content);
        case contextTag(2):
            return "dNSName: " + narrowText(element->content);
        case contextTag(4):
            return "directoryName: " + nameOf(element->content);
        case contextTag(6):
            return "URI: " + withoutLogin(narrowText(element->content));
        case contextTag(7):
            return "iPAddress: " + addressOf(element->content);
        case contextTag(8):
            return "registeredID: " + oidText(element->content);
        default:
            return hexOf(name);
    }
}

Shown showGeneralNames(const char* field, Octets names) {
    return showList(field, names, [](const DerElement& name) { return Shown::field("", generalNameOf(name.whole)); });
}

Shown showAccess(const char* field, Octets access) {
    return showList(field, access, showDescription);
}

Shown showDistributionPoints(const char* field, Octets points) {
    return showList(field, points, showPoint);
}

}  // namespace tallow::cli
