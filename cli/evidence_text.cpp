#include "cli/evidence_text.h"

#include "asn1/codec/tlv_reader.h"
#include "checker/text/certificate_text.h"
#include "checker/text/times.h"
#include "cli/show_values.h"
#include "handles/cert_context.h"
#include "handles/certificate_in.h"
#include "handles/exception.h"
#include "message/extensions.h"
#include "message/request_message.h"

namespace tallow::cli {

using namespace text;

namespace {

using namespace Orvane::PKI::OCSP;

std::string nonceOf(const Orvane::ASN1::CExtensions* extensions) {
    using namespace Orvane::ASN1;
    if (extensions != nullptr) {
        for (const CExtension& extension : *extensions) {
            if (std::string_view(extension.get_extnID()) == kOidNonce) {
                const std::optional<TlvElement> inner = TlvReader(extension.get_extnValue()).next();
                return inner ? hexOf(inner->content) : hexOf(extension.get_extnValue());
            }
        }
    }
    return {};
}

}  // namespace

const char* nameOf(Step step) {
    constexpr const char* kNames[] = {"input",  "exchange", "decoding", "nonce", "signature",
                                      "signer", "entry",    "chain",    "proven"};
    static_assert(std::size(kNames) == static_cast<std::size_t>(Step::kProven) + 1);
    return kNames[static_cast<std::size_t>(step)];
}

const char* nameOf(Authority authority) {
    switch (authority) {
        case Authority::kIssuer:
            return "issuer";
        case Authority::kDelegate:
            return "delegate";
        case Authority::kPolicy:
            return "policy";
        case Authority::kNone:
            break;
    }
    return "";
}

const char* nameOf(ResponderSource source) {
    switch (source) {
        case ResponderSource::kCaller:
            break;
        case ResponderSource::kCertificate:
            return "certificate";
        case ResponderSource::kIssuerProperty:
            return "issuer properties";
        case ResponderSource::kPolicy:
            return "policy";
        case ResponderSource::kUntrusted:
            return "job";
    }
    return "option";
}

const char* nameOf(IssuerSource source) {
    switch (source) {
        case IssuerSource::kGiven:
            return "given";
        case IssuerSource::kTrust:
            return "trust";
        case IssuerSource::kStore:
            return "store";
        case IssuerSource::kDownloaded:
            return "download";
        case IssuerSource::kNone:
            break;
    }
    return "";
}

const char* nameOf(ChainLink::Revocation revocation) {
    switch (revocation) {
        case ChainLink::Revocation::kGood:
            return "good";
        case ChainLink::Revocation::kRevoked:
            return "revoked";
        case ChainLink::Revocation::kUnknown:
            return "unknown";
        case ChainLink::Revocation::kNotChecked:
            break;
    }
    return "not checked";
}

const char* nonceOf(const Verdict& verdict) {
    switch (verdict.freshness) {
        case Freshness::kNonceMatched:
            return "matched";
        case Freshness::kNonceNotReturned:
            return "not returned";
        case Freshness::kNonceNotSent:
            return verdict.attempts.empty() ? "" : "not sent";
        case Freshness::kNone:
            break;
    }
    return "";
}

const char* statusOf(const Attempt& attempt) {
    if (attempt.isSkipped) {
        return "skipped";
    }
    if (attempt.isRedirect) {
        return "redirect";
    }
    return attempt.status == 0 ? "accepted" : "failed";
}

bool hasAnswer(const Verdict& verdict) {
    return verdict.answer != Answer::kUnproven || verdict.reached == Step::kChain;
}

std::optional<SentRequest> sentRequestOf(const Verdict& verdict) {
    if (verdict.request.empty()) {
        return std::nullopt;
    }
    try {
        CRequestMessage message;
        message.decode({verdict.request.data(), verdict.request.size()});
        for (const CSingleRequest& entry : message.get_requestList()) {
            if (const CCertID* id = entry.get_reqCert().get_certID(); id != nullptr) {
                return SentRequest{id->get_hashAlgorithm().get_algorithm(), hexOf(id->get_issuerNameHash()),
                                   hexOf(id->get_issuerKeyHash()), hexOf(id->get_serialNumber()),
                                   nonceOf(message.get_requestExtensions())};
            }
        }
    } catch (const ATL::CAtlException&) {
        // A request that cannot be read is not described.
    }
    return std::nullopt;
}

std::string hexText(const Bytes& octets) {
    return hexOf(Octets(octets));
}

std::string timeText(const std::optional<Time>& time) {
    return time ? iso8601(*time) : std::string();
}

std::string serialIn(const Bytes& certificate) {
    const ATL2::CCertContext context = ATL2::certificateIn(certificate.data(), certificate.size());
    return context ? serialOf(context.get()) : std::string();
}

}  // namespace tallow::cli
