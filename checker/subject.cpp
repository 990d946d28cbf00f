#include "checker/subject.h"

#include <algorithm>

#include "checker/chain_text.h"
#include "checker/input.h"
#include "checker/rules/issuer_rules.h"
#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "handles/status.h"

namespace tallow {

namespace {

bool isIssuerByName(const ATL2::CCertContext& issuer, const ATL2::CCertContext& certificate) {
    const CERT_NAME_BLOB& name = issuer->pCertInfo->Subject;
    const CERT_NAME_BLOB& wanted = certificate->pCertInfo->Issuer;
    return std::equal(name.pbData, name.pbData + name.cbData, wanted.pbData, wanted.pbData + wanted.cbData);
}

bool isSame(const ATL2::CCertContext& left, const ATL2::CCertContext& right) {
    return std::equal(left->pbCertEncoded, left->pbCertEncoded + left->cbCertEncoded, right->pbCertEncoded,
                      right->pbCertEncoded + right->cbCertEncoded);
}

// The certificate to check is the first. A chain in the opposite order would give a verdict on its root.
void requireOrder(const std::vector<ATL2::CCertContext>& certificates) {
    const ATL2::CCertContext& first = certificates.front();
    const bool isRoot = isIssuerByName(first, first);
    bool isIssuer = false;
    for (auto other = certificates.begin() + 1; other != certificates.end(); ++other) {
        if (!isRoot && isIssuerByName(*other, first)) {
            return;
        }
        isIssuer = isIssuer || (isIssuerByName(first, *other) && !isIssuerByName(*other, *other));
    }
    if (isIssuer) {
        throw BadInput(status::kInvalidArgument,
                       "the first certificate issued another one of the input; put the certificate to check first");
    }
}

std::string otherIssuer(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* given) {
    return "the given issuer " + text::safeLine(text::subjectOf(given)) +
           " did not issue the certificate, whose issuer is " + text::safeLine(text::issuerNameOf(certificate)) +
           "; supply that one";
}

}  // namespace

void name(Verdict& verdict, const _CERT_CONTEXT* certificate) {
    const CRYPT_INTEGER_BLOB& serial = certificate->pCertInfo->SerialNumber;
    verdict.subject = text::subjectOf(certificate);
    verdict.serial.assign(serial.pbData, serial.pbData + serial.cbData);
    std::reverse(verdict.serial.begin(), verdict.serial.end());  // the record has the lowest octet first
}

CertificateToCheck readCertificate(Call& call, Input certificate, Verdict& verdict) {
    CertificateToCheck target;
    target.above = certificatesIn(certificate, "the certificate");
    target.certificate = target.above.front();
    requireOrder(target.above);
    name(verdict, target.certificate.get());
    for (const ATL2::CCertContext& one : target.above) {
        call.add(one);
    }
    return target;
}

CertificateToCheck readIdentifier(Call& call, const ReceivedRequest::Asked& identifier, Input issuer,
                                  Verdict& verdict) {
    CertificateToCheck target;
    verdict.serial = identifier.serial;
    target.above = certificatesIn(issuer, "the issuer");
    target.issuer = target.above.front();
    target.issuerSource = IssuerSource::kGiven;
    for (const ATL2::CCertContext& one : target.above) {
        call.add(one);
    }
    const Orvane::CBlob encoding = blobOf(encodingOf(target.issuer));
    const Orvane::ASN1::CAlgorithmIdentifierEx algorithm(identifier.hashOid.c_str());
    target.id.emplace(algorithm, encoding, encoding);  // for its two hashes
    if (bytesOf(target.id->get_issuerNameHash()) != identifier.issuerNameHash ||
        bytesOf(target.id->get_issuerKeyHash()) != identifier.issuerKeyHash) {
        throw BadInput(status::kIssuerMismatch, "the hashes of the identifier are not those of the given issuer " +
                                                    text::safeLine(text::subjectOf(target.issuer.get())) +
                                                    "; supply the issuer that they are of");
    }
    if (identifier.serial.empty()) {
        throw BadInput(status::kInvalidArgument, "the identifier has no serial number");
    }
    target.id->put_serialNumber(
        Orvane::ASN1::CBigInteger(identifier.serial.data(), static_cast<unsigned long>(identifier.serial.size())));
    noteIssuer(call, target);
    return target;
}

void findIssuer(Call& call, CertificateToCheck& target, Input issuer) {
    const ATL2::CCertContext& certificate = target.certificate;
    ATL2::CCertContext found;
    if (!issuer.bytes.empty()) {
        std::vector<ATL2::CCertContext> given = certificatesIn(issuer, "the issuer");
        std::for_each(given.begin() + 1, given.end(), [&call, &target](const auto& next) {
            call.add(next);
            target.above.push_back(next);
        });
        if (const std::optional<rules::Rejection> rejection =
                rules::rejectIssuer(certificate.get(), given.front().get())) {
            throw BadInput(rejection->code, rejection->text.empty()
                                                ? otherIssuer(certificate.get(), given.front().get())
                                                : reasonOf(*rejection));
        }
        found = std::move(given.front());
        target.issuerSource = IssuerSource::kGiven;
    } else if ((found = rules::issuerIn(call.store(), certificate.get()))) {
        const bool isGiven = std::any_of(target.above.begin(), target.above.end(),
                                         [&found](const auto& one) { return isSame(one, found); });
        target.issuerSource = isGiven ? IssuerSource::kGiven : IssuerSource::kTrust;
    } else if ((found = rules::findIssuer(call.store(), certificate.get()))) {
        const std::vector<Download>& downloads = call.notes().downloads();
        const bool isDownloaded = std::any_of(downloads.begin(), downloads.end(), [](const Download& download) {
            return download.content == Download::Content::kIssuer && download.status == status::kOk;
        });
        target.issuerSource = isDownloaded ? IssuerSource::kDownloaded : IssuerSource::kStore;
    }
    if (!found) {
        throw BadInput(status::kNoSigner, missingIssuer(call, certificate.get()));
    }
    call.add(found);  // usually part of the responder's chain
    target.issuer = std::move(found);
    noteIssuer(call, target);
}

void noteIssuer(Call& call, const CertificateToCheck& target) {
    Evidence& evidence = call.evidence();
    evidence.issuer = text::subjectOf(target.issuer.get());
    evidence.issuerCertificate = encodingOf(target.issuer);
    evidence.issuerSource = target.issuerSource;
}

}  // namespace tallow
