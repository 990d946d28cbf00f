#include "checker/chain_notes.h"

#include <algorithm>
#include <chrono>

#include "asn1/codec/tlv_reader.h"
#include "checker/text/safe_text.h"

namespace tallow {

namespace {

using Orvane::ASN1::Octets;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

constexpr std::size_t kMostCertificates = 16;  // a chain has at most 12
constexpr std::size_t kMostLookups = 100;      // of several paths

Bytes bytesOf(const BYTE* data, DWORD size) {
    return {data, data + size};
}

bool isSame(const Bytes& der, const _CERT_CONTEXT* certificate) {
    return std::equal(der.begin(), der.end(), certificate->pbCertEncoded,
                      certificate->pbCertEncoded + certificate->cbCertEncoded);
}

NotedCertificate noted(const _CERT_CONTEXT* context) {
    const CERT_INFO& info = *context->pCertInfo;
    NotedCertificate certificate;
    certificate.der = bytesOf(context->pbCertEncoded, context->cbCertEncoded);
    certificate.subject = bytesOf(info.Subject.pbData, info.Subject.cbData);
    certificate.issuer = bytesOf(info.Issuer.pbData, info.Issuer.cbData);
    certificate.serial = bytesOf(info.SerialNumber.pbData, info.SerialNumber.cbData);
    std::reverse(certificate.serial.begin(), certificate.serial.end());
    certificate.notBefore = info.NotBefore;
    certificate.notAfter = info.NotAfter;
    return certificate;
}

// YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ (RFC 5280, 5.1.2.4). A CRL with another form decides nothing.
std::optional<Time> timeOf(const std::optional<TlvElement>& element) {
    constexpr std::uint32_t kUtcTime = 23;
    constexpr std::uint32_t kGeneralizedTime = 24;
    if (!element || (element->tag != kUtcTime && element->tag != kGeneralizedTime)) {
        return std::nullopt;
    }
    const Octets digits = element->content;
    const std::size_t sizeYear = element->tag == kUtcTime ? 2 : 4;
    if (digits.size() != sizeYear + 11 ||
        !std::all_of(digits.begin(), digits.end() - 1, [](unsigned char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    const auto pair = [&digits](std::size_t at) { return (digits[at] - '0') * 10 + (digits[at + 1] - '0'); };
    const int shortYear = pair(sizeYear - 2);
    const int century = sizeYear == 4 ? pair(0) * 100 : shortYear >= 50 ? 1900 : 2000;
    const std::chrono::year_month_day date{std::chrono::year(century + shortYear),
                                           std::chrono::month(static_cast<unsigned>(pair(sizeYear))),
                                           std::chrono::day(static_cast<unsigned>(pair(sizeYear + 2)))};
    constexpr int kFirstYear = 1970;
    constexpr int kLastYear = 2200;  // of what Time can express
    if (!date.ok() || date.year() < std::chrono::year(kFirstYear) || date.year() > std::chrono::year(kLastYear)) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(pair(sizeYear + 4)) +
           std::chrono::minutes(pair(sizeYear + 6)) + std::chrono::seconds(pair(sizeYear + 8));
}

// TBSCertList ::= SEQUENCE { version OPTIONAL, signature, issuer, thisUpdate, nextUpdate OPTIONAL, ... }
void readCrl(const CRYPTO_NOTE& note, NotedCertificate& found) {
    if (note.pbCrl == nullptr) {
        return;
    }
    TlvReader fields(TlvReader(TlvReader(Octets(note.pbCrl, note.cbCrl)).next()).next());
    static_cast<void>(fields.nextIf(TlvElement::kInteger));
    fields.skip();
    if (const std::optional<TlvElement> issuer = fields.next()) {
        found.crlIssuer = {issuer->whole.begin(), issuer->whole.end()};
    }
    found.crlThisUpdate = timeOf(fields.next());
    found.crlNextUpdate = timeOf(fields.next());
}

}  // namespace

void ChainNotes::addStatus(NotedCertificate& certificate, const CERT_CHAIN_ELEMENT& element) const {
    certificate.errors = element.TrustStatus.dwErrorStatus;
    certificate.isRevocationChecked = element.pRevocationInfo != nullptr;
    if (!certificate.isRevocationChecked) {
        return;
    }
    certificate.revocation = element.pRevocationInfo->dwRevocationResult;
    // On another path the same certificate may have another status.
    const auto lookup = std::find_if(lookups_.rbegin(), lookups_.rend(), [&](const Lookup& one) {
        return one.found.revocation == certificate.revocation && one.certificate == certificate.der;
    });
    if (lookup != lookups_.rend()) {
        certificate.reason = lookup->found.reason;
        certificate.crlIssuer = lookup->found.crlIssuer;
        certificate.crlThisUpdate = lookup->found.crlThisUpdate;
        certificate.crlNextUpdate = lookup->found.crlNextUpdate;
    }
}

void ChainNotes::takeChain(const CERT_CHAIN_CONTEXT& chain) {
    if (chain.cChain == 0 || chain.rgpChain[0]->cElement == 0) {
        return;
    }
    const CERT_SIMPLE_CHAIN& path = *chain.rgpChain[0];
    const auto first =
        std::find_if(certificates_.begin(), certificates_.end(), [&path](const NotedCertificate& certificate) {
            return isSame(certificate.der, path.rgpElement[0]->pCertContext);
        });
    std::size_t at = first == certificates_.end() ? 0 : static_cast<std::size_t>(first - certificates_.begin());
    for (DWORD i = 0; i < path.cElement && at < kMostCertificates; ++i, ++at) {
        const CERT_CHAIN_ELEMENT& element = *path.rgpElement[i];
        if (at >= certificates_.size() || !isSame(certificates_[at].der, element.pCertContext)) {
            certificates_.resize(at);
            certificates_.push_back(noted(element.pCertContext));
        }
        addStatus(certificates_[at], element);
    }
    certificates_.resize(at);
    errors_ = path.TrustStatus.dwErrorStatus;
    lookups_.clear();
}

void ChainNotes::takeCrl(const CRYPTO_NOTE& note) {
    if (note.pCertificate == nullptr || lookups_.size() == kMostLookups) {
        return;
    }
    Lookup& lookup = lookups_.emplace_back();
    lookup.certificate = bytesOf(note.pCertificate->pbCertEncoded, note.pCertificate->cbCertEncoded);
    lookup.found.revocation = note.dwError;
    lookup.found.reason = *note.szReason == 0 ? std::string() : text::safeLine(note.szReason);
    readCrl(note, lookup.found);
}

}  // namespace tallow
