#include "cli/show_extensions.h"

#include <string_view>

#include "asn1/extensions/typed_extensions.h"
#include "checker/text/certificate_text.h"
#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "cli/show_names.h"
#include "cli/show_values.h"
#include "message/extensions.h"

namespace tallow::cli {

using namespace text;

using namespace Orvane;
using namespace Orvane::ASN1;
using namespace Orvane::PKI::OCSP;

namespace {

// Each adds the fields of extnValue to its extension, and throws when it cannot be decoded.

void showNothing(const CBlob& /*value*/, Shown& /*extension*/) {}

void showHex(const CBlob& value, Shown& extension) {
    extension.add("value", hexOf(value));
}

// Usually an OCTET STRING, but older responders omit its header.
void showNonce(const CBlob& value, Shown& extension) {
    TlvReader view(value);
    const std::optional<TlvElement> inner = view.nextIf(TlvElement::kOctetString);
    extension.add("nonce", inner && view.rest().empty() ? hexOf(inner->content) : hexOf(value));
}

template <typename Extension>
void showCrlId(const CBlob& value, Shown& extension) {
    const Extension decoded(value);
    TlvReader members(TlvReader(value).next());
    if (TlvReader url(members.nextIf(TlvElement::context(0))); !url.rest().empty()) {
        extension.add("crlUrl", withoutLogin(narrowText(required(url, TlvElement::kIa5String).content)));
    }
    if (decoded.get_crlNum() != nullptr) {
        extension.add("crlNum", std::to_string(*decoded.get_crlNum()));
    }
    if (decoded.get_crlTime() != nullptr) {
        extension.add("crlTime", iso8601(decoded.get_crlTime()));
    }
}

void showAcceptableResponses(const CBlob& value, Shown& extension) {
    Shown types = Shown::list("acceptableResponses");
    const CExtAcceptableResponses decoded(value);
    for (const CStringProxy& type : decoded.get_acceptableResponses()) {
        const std::string_view oid = type.c_str();
        types.add("", oid == kOidBasicResponse ? "basic (" + std::string(oid) + ")" : std::string(oid));
    }
    extension.add(std::move(types));
}

void showArchiveCutoff(const CBlob& value, Shown& extension) {
    extension.add("archiveCutoff", iso8601(&CExtArchiveCutoff(value).get_archiveCutoff()));
}

// ServiceLocator ::= SEQUENCE { issuer Name, locator AuthorityInfoAccessSyntax OPTIONAL }
void showServiceLocator(const CBlob& value, Shown& extension) {
    TlvReader outer(value);
    TlvReader members(required(outer, TlvElement::kSequence).content);
    requireEnd(outer);
    extension.add("issuer", nameOf(required(members, TlvElement::kSequence).whole));
    if (!members.rest().empty()) {
        extension.add(showAccess("locator", members.rest()));
    }
}

void showCrlLocator(const CBlob& value, Shown& extension) {
    extension.add(showDistributionPoints("distributionPoints", octetsOf(value)));
}

void showReason(const CBlob& value, Shown& extension) {
    const CrlReason reason = CExtCRLReason(value).get_reason();
    extension.add("reason", reasonText(&reason));
}

void showHoldInstruction(const CBlob& value, Shown& extension) {
    extension.add("holdInstruction", CExtHoldInstructionCode(value).get_code());
}

void showInvalidityDate(const CBlob& value, Shown& extension) {
    extension.add("invalidityDate", iso8601(&CExtInvalidityDate(value).get_invalidityDate()));
}

void showCertificateIssuer(const CBlob& value, Shown& extension) {
    extension.add(showGeneralNames("certificateIssuer", octetsOf(value)));
}

struct KnownExtension {
    std::string_view oid;
    const char* name;
    void (*show)(const CBlob& value, Shown& extension);
};

// Of requests and responses, and of CRL entries, which single responses may carry as well (RFC 6960, section 4.4.5).
constexpr KnownExtension kKnown[] = {
    {kOidNonce, "nonce", showNonce},
    {kOidCrlReference, "crlReference", showCrlId<CExtCrlID>},
    {kOidAcceptableResponses, "acceptableResponses", showAcceptableResponses},
    {"1.3.6.1.5.5.7.48.1.5", "noCheck", showNothing},
    {kOidArchiveCutoff, "archiveCutoff", showArchiveCutoff},
    {kOidServiceLocator, "serviceLocator", showServiceLocator},
    {"1.3.6.1.5.5.7.48.1.8", "preferredSignatureAlgorithms", showHex},
    {"1.3.6.1.5.5.7.48.1.9", "extendedRevoke", showNothing},
    {"1.2.643.2.2.47.1", "treatsExpiredKeyOrExpiredCertificateRevocation", showNothing},
    {kOidCrlLocator, "crlLocator", showCrlLocator},
    {"1.2.643.2.2.47.3", "instantRevocationIndicator", showHex},
    {"1.2.643.2.2.47.4", "instantRevocationAnnouncementReference", showHex},
    {kOidHistoricalRequest, "historicalRequest", showCrlId<CExtHistoricalRequest>},
    {"2.5.29.21", "reasonCode", showReason},
    {"2.5.29.23", "holdInstructionCode", showHoldInstruction},
    {"2.5.29.24", "invalidityDate", showInvalidityDate},
    {"2.5.29.29", "certificateIssuer", showCertificateIssuer},
    {"1.3.6.1.4.1.11129.2.4.5", "signedCertificateTimestamps", showHex},
};

const KnownExtension* findKnown(std::string_view oid) {
    for (const KnownExtension& known : kKnown) {
        if (known.oid == oid) {
            return &known;
        }
    }
    return nullptr;
}

Shown showExtension(const CExtension& extension) {
    const KnownExtension* known = findKnown(extension.get_extnID());
    Shown shown = Shown::object("");
    shown.add("extnID", known == nullptr ? std::string(extension.get_extnID())
                                         : std::string(known->name) + " (" + extension.get_extnID() + ")");
    shown.addForJson("oid", extension.get_extnID());
    shown.add("critical", extension.get_critical() ? "true" : "false");
    const std::size_t numCommon = shown.parts.size();
    try {
        (known == nullptr ? showHex : known->show)(extension.get_extnValue(), shown);
    } catch (...) {
        // A value that cannot be decoded is shown in hexadecimal.
        shown.parts.resize(numCommon);
        showHex(extension.get_extnValue(), shown);
    }
    return shown;
}

}  // namespace

Shown showExtensions(const char* field, const CExtensions& extensions) {
    Shown shown = Shown::list(field);
    for (const CExtension& extension : extensions) {
        shown.add(showExtension(extension));
    }
    return shown;
}

}  // namespace tallow::cli
