#include "checker/chain_text.h"

#include <algorithm>
#include <new>

#include "checker/rules/chain_faults.h"
#include "checker/rules/issuer_rules.h"
#include "checker/text/algorithm_text.h"
#include "checker/text/certificate_text.h"
#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"
#include "checker/text/times.h"
#include "client/policy/policy_settings.h"
#include "client/policy/refusal.h"
#include "handles/cert_context.h"
#include "handles/certificate_in.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::CDateTime;
using rules::Rejection;

std::string nameOf(const Bytes& der) {
    return text::nameText({der.data(), der.size()});
}

ATL2::CCertContext contextOf(const NotedCertificate& certificate) {
    return ATL2::certificateIn(certificate.der.data(), certificate.der.size());
}

std::string nowText(const Call& call) {
    const CDateTime now = call.now();
    return (call.isPast() ? "the time asked about, " : "our clock, ") + text::iso8601(&now);
}

// ---- Where something was searched for -------------------------------------------------------------------------------

// "http://ca.test/ca.cer (HTTP status 404)"
std::string describedAddress(const Call& call, const std::string& url, Download::Content content) {
    const std::vector<Download>& downloads = call.notes().downloads();
    const auto last = std::find_if(downloads.rbegin(), downloads.rend(), [&](const Download& download) {
        return download.content == content && download.url == url;
    });
    if (last == downloads.rend()) {
        return url;
    }
    constexpr int kOk = 200;
    const std::string result = last->status == status::kOk ? "received, but of no use"
                               : !last->reason.empty()     ? last->reason
                               : last->httpStatus != 0 && last->httpStatus != kOk
                                   ? "HTTP status " + std::to_string(last->httpStatus)
                                   : text::statusText(last->status);
    return url + " (" + result + ")";
}

std::string describedAddresses(const Call& call, const std::vector<std::string>& urls, Download::Content content) {
    if (urls.empty()) {
        return "the certificate names no address for it";
    }
    std::string text =
        call.mayDownload() ? "its addresses "
        : call.isProxyRefused()
            ? "its addresses, which policy does not permit to contact (" +
                  Orvane::PKI::OCSP::Client::keyWithPlace(Orvane::PKI::OCSP::Client::settings::AllowedProxies.name) +
                  "), "
            : "its addresses, which are not contacted here, ";
    for (const std::string& url : urls) {
        text += (&url == &urls.front() ? "" : ", ") + (call.mayDownload() ? describedAddress(call, url, content) : url);
    }
    return text;
}

// ---- One certificate ------------------------------------------------------------------------------------------------

struct Cause {
    std::int32_t code = 0;
    std::string text;    // "is revoked since ..."; empty: nothing is wrong
    std::string remedy;  // one
};

Cause datesOf(const Call& call, const NotedCertificate& certificate) {
    const CDateTime now = call.now();
    const CDateTime notBefore(certificate.notBefore);
    const CDateTime notAfter(certificate.notAfter);
    if (now < notBefore) {
        return {status::kCertExpired,
                "is not valid before " + text::iso8601(&notBefore) + ", " + text::between(notBefore, now) + " after " +
                    nowText(call),
                call.isPast() ? "use a response of that time" : "check our clock"};
    }
    if (notAfter < now) {
        return {
            status::kCertExpired,
            "expired on " + text::iso8601(&notAfter) + ", " + text::between(now, notAfter) + " before " + nowText(call),
            "have it renewed"};
    }
    return {};
}

std::string crlOf(const NotedCertificate& certificate) {
    if (certificate.crlIssuer.empty()) {
        return {};
    }
    return " by the CRL of " + text::safeLine(nameOf(certificate.crlIssuer)) +
           (certificate.crlThisUpdate ? " of " + text::iso8601(*certificate.crlThisUpdate) : "");
}

Cause revocationOf(const Call& call, const NotedCertificate& certificate) {
    const std::string issuer = text::safeLine(nameOf(certificate.issuer));
    if (certificate.revocation == CRYPT_E_REVOKED) {
        return {status::kCryptRevoked,
                "is revoked" + (certificate.reason.empty() ? "" : " " + certificate.reason) + crlOf(certificate),
                "do not rely on it"};
    }
    const ATL2::CCertContext context = contextOf(certificate);
    const std::string addresses =
        context ? describedAddresses(call, text::crlAddressesOf(context.get()), Download::Content::kCrl) : "";
    return {status::kNoRevocationCheck,
            "has an unknown revocation status: " + certificate.reason + " (CRL of " + issuer + "; " + addresses + ")",
            certificate.reason.starts_with("a store") ? "repair the store" : "supply a current CRL of " + issuer};
}

// The algorithm is the reason of many signatures that cannot be verified.
Cause signatureOf(const NotedCertificate& certificate, const rules::ChainFault& fault) {
    const ATL2::CCertContext context = contextOf(certificate);
    const std::string problem =
        context ? text::algorithmProblem(context->pCertInfo->SignatureAlgorithm.pszObjId) : std::string();
    const std::size_t end = problem.rfind("; ");
    return end == std::string::npos
               ? Cause{fault.code, fault.text, fault.remedy}
               : Cause{fault.code, "cannot be verified: " + problem.substr(0, end), problem.substr(end + 2)};
}

Cause causeOf(const Call& call, const NotedCertificate& certificate, DWORD errors) {
    if (Cause dates = datesOf(call, certificate); !dates.text.empty()) {
        return dates;
    }
    const rules::ChainFault* const fault = rules::worstFault(errors);
    if (fault == nullptr) {
        return {};
    }
    switch (fault->code) {
        case status::kCertSignature:
            return signatureOf(certificate, *fault);
        case status::kCryptRevoked:
        case status::kNoRevocationCheck:
            return certificate.isRevocationChecked ? revocationOf(call, certificate)
                                                   : Cause{fault->code, fault->text, fault->remedy};
        default:
            return {fault->code, fault->text, fault->remedy};
    }
}

ChainLink::Revocation revocationState(const NotedCertificate& certificate) {
    if (!certificate.isRevocationChecked) {
        return ChainLink::Revocation::kNotChecked;
    }
    if (certificate.revocation == 0) {
        return ChainLink::Revocation::kGood;
    }
    return certificate.revocation == CRYPT_E_REVOKED ? ChainLink::Revocation::kRevoked
                                                     : ChainLink::Revocation::kUnknown;
}

// ---- The whole chain ------------------------------------------------------------------------------------------------

std::string describedEnd(const Call& call, const NotedCertificate& last) {
    const std::string subject = text::safeLine(nameOf(last.subject));
    if ((last.errors & CERT_TRUST_IS_UNTRUSTED_ROOT) != 0) {
        return "the chain ends in the root " + subject +
               ", which is not trusted; name it as a trusted root if it is one";
    }
    const ATL2::CCertContext context = contextOf(last);
    return context ? missingIssuer(call, context.get()) : "";
}

bool isEnd(std::int32_t code) {
    return code == status::kChaining || code == status::kUntrustedRoot;
}

// The bits of the element; where the chain ends too early, that is a fault of the last one.
DWORD errorsOf(const ChainNotes& chain, const NotedCertificate& certificate) {
    const bool isLast = &certificate == &chain.certificates().back();
    return certificate.errors | (isLast ? chain.errors() & CERT_TRUST_IS_PARTIAL_CHAIN : 0U);
}

// The first certificate with a fault of this status, from below; 0: with any.
std::string firstFault(const Call& call, std::int32_t code) {
    const ChainNotes& chain = call.notes().chain();
    for (const NotedCertificate& certificate : chain.certificates()) {
        const Cause cause = causeOf(call, certificate, errorsOf(chain, certificate));
        if (cause.text.empty() || (code != 0 && cause.code != code)) {
            continue;
        }
        if (&certificate == &chain.certificates().back() && isEnd(cause.code)) {
            return describedEnd(call, certificate);
        }
        const ATL2::CCertContext context = contextOf(certificate);
        return context ? text::certificateNamed(context.get()) + " " + cause.text + "; " + cause.remedy : "";
    }
    return {};
}

// The signer may write any time of production.
std::string notValidAt(const Call& call, const CDateTime& producedAt) {
    for (const NotedCertificate& certificate : call.notes().chain().certificates()) {
        const CDateTime notBefore(certificate.notBefore);
        const CDateTime notAfter(certificate.notAfter);
        if (notBefore <= producedAt && producedAt <= notAfter) {
            continue;
        }
        const bool isEarly = producedAt < notBefore;
        const CDateTime& limit = isEarly ? notBefore : notAfter;
        const ATL2::CCertContext context = contextOf(certificate);
        return !context ? std::string()
                        : text::certificateNamed(context.get()) + (isEarly ? " is not valid before " : " expired on ") +
                              text::iso8601(&limit) + ", but producedAt is " + text::iso8601(&producedAt) + ", " +
                              text::between(producedAt, limit) + (isEarly ? " earlier" : " later") +
                              "; check the clock of the responder";
    }
    return {};
}

std::string wrongUsage(const Call& call) {
    const std::vector<NotedCertificate>& chain = call.notes().chain().certificates();
    const ATL2::CCertContext signer = chain.empty() ? ATL2::CCertContext() : contextOf(chain.front());
    if (!signer) {
        return {};
    }
    return "the signer is not authorised: " + text::certificateNamed(signer.get()) +
           (text::hasOcspSigning(signer.get())
                ? " has a key usage that permits no signatures"
                : " has no OCSPSigning usage and is not the issuer that the response names") +
           "; ask the operator of the responder";
}

// Why a certificate with the name of the issuer, among those given, is not the issuer; empty when there is none.
std::string problemOfNamesake(const Call& call, const _CERT_CONTEXT* certificate) {
    const ATL2::CCertContext namesake = ATL2::CCertContext::adopt(
        CertFindCertificateInStore(call.store(), X509_ASN_ENCODING, 0, CERT_FIND_ISSUER_OF, certificate, nullptr));
    const std::optional<Rejection> rejection =
        namesake ? rules::rejectIssuer(certificate, namesake.get()) : std::nullopt;
    return rejection
               ? "the issuer of " + text::certificateNamed(certificate) + " was not found: " + reasonOf(*rejection)
               : std::string();
}

const char* remedyForDownloads(const Call& call) {
    constexpr int kHttpProxyLogin = 407;
    for (const Download& download : call.notes().downloads()) {
        if (download.reason.starts_with(kProxyFailed)) {
            return download.httpStatus == kHttpProxyLogin ? "give a name and password that the proxy accepts"
                                                          : "check the proxy";
        }
    }
    return "supply the certificate of the issuer";
}

}  // namespace

std::vector<ChainLink> linksOf(const Call& call) {
    if (call.notes().isIncomplete()) {
        throw std::bad_alloc();  // evidence that says "not checked" of what was checked would be kept for years
    }
    const ChainNotes& chain = call.notes().chain();
    std::vector<ChainLink> links;
    links.reserve(chain.certificates().size());
    // Names repeat from one certificate to the next.
    const NotedCertificate* below = nullptr;
    for (const NotedCertificate& certificate : chain.certificates()) {
        ChainLink link;
        link.subject = below != nullptr && below->issuer == certificate.subject ? links.back().issuer
                                                                                : nameOf(certificate.subject);
        link.issuer = certificate.issuer == certificate.subject ? link.subject : nameOf(certificate.issuer);
        link.serial = certificate.serial;
        link.notBefore = text::timeOf(CDateTime(certificate.notBefore));
        link.notAfter = text::timeOf(CDateTime(certificate.notAfter));
        link.revocation = revocationState(certificate);
        if (!certificate.crlIssuer.empty()) {
            link.crlIssuer = certificate.crlIssuer == certificate.issuer ? link.issuer : nameOf(certificate.crlIssuer);
        }
        link.crlThisUpdate = certificate.crlThisUpdate;
        link.crlNextUpdate = certificate.crlNextUpdate;
        link.fault = causeOf(call, certificate, errorsOf(chain, certificate)).text;
        links.push_back(std::move(link));
        below = &certificate;
    }
    return links;
}

Rejection explainChain(const Call& call, Rejection rejection, const CDateTime* producedAt) {
    if (!rejection.text.empty()) {
        return rejection;
    }
    std::string text;
    if (rejection.code == status::kWrongUsage && producedAt != nullptr) {
        text = wrongUsage(call);
    } else {
        text = firstFault(call, rejection.code);
        if (text.empty() && producedAt != nullptr && rejection.code == status::kCertExpired) {
            text = notValidAt(call, *producedAt);
        }
        text = text.empty() ? firstFault(call, 0) : text;
    }
    rejection.text = std::move(text);
    return rejection;
}

std::string missingIssuer(const Call& call, const _CERT_CONTEXT* certificate) {
    if (std::string problem = problemOfNamesake(call, certificate); !problem.empty()) {
        return problem;
    }
    const std::string key = text::authorityKeyOf(certificate);
    const std::string stores = call.checker().isSystem ? ", the stores CA and ROOT of user and machine" : "";
    return "the issuer of " + text::certificateNamed(certificate) +
           " was not found: " + text::safeLine(text::issuerNameOf(certificate)) +
           (key.empty() ? "" : ", key identifier " + key) + "; searched in the certificates given" + stores + "; " +
           describedAddresses(call, text::issuerAddressesOf(certificate), Download::Content::kIssuer) + "; " +
           remedyForDownloads(call);
}

}  // namespace tallow
