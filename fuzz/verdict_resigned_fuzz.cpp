// The complete verdict about structures that the input edits and the harness signs again: the response, the delegate's
// certificate, the CA's, and the CRL of the CA. A verdict needs entries about the certificate that OpenSSL reads in the
// same way, and a delegate whose signature and path OpenSSL accepts with the same CRLs. With an operation from 0xF0 the
// CA signs the response itself.
#include <array>

#include "checker/checker.h"
#include "fuzz/resigned_pki.h"
#include "platform/support/support_service.h"

namespace {

using fuzz::Bytes;
using fuzz::Edit;
using fuzz::require;
using tallow::Answer;

enum Target { kResponse, kDelegate, kCa, kCrl, kTargets };

constexpr std::uint8_t kSignedByCa = 0xF0;

bool isCa(const Bytes& der) {
    return X509_check_ca(testkit::parseCertificate(der).get()) == 1;
}

bool hasOcspSigning(const Bytes& der) {
    return (X509_get_extended_key_usage(testkit::parseCertificate(der).get()) & XKU_OCSP_SIGN) != 0;
}

tallow::Trust trustIn(const fuzz::ResignedPki& pki, const Bytes& crl) {
    return tallow::Trust().addRoots(pki.root.certificate).addCrls(pki.rootCrl).addCrls(crl);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasSettings = support_settings_open("/dev/null") == 0;
    require(hasSettings, "settings");
    const fuzz::ResignedPki& pki = fuzz::ResignedPki::shared();
    std::array<std::vector<Edit>, kTargets> edits;
    bool isSignedByCa = false;
    for (const Edit& edit : fuzz::editsIn({data, size})) {
        if (edit.operation >= kSignedByCa) {
            isSignedByCa = true;
        } else {
            edits[(edit.operation >> 4U) % kTargets].push_back(edit);
        }
    }
    const Bytes ca = fuzz::resigned(pki.ca.certificate, pki.root, edits[kCa]);
    const Bytes delegate = fuzz::resigned(pki.delegate.certificate, pki.ca, edits[kDelegate]);
    const Bytes crl = fuzz::resigned(pki.caCrl, pki.ca, edits[kCrl]);
    const testkit::Identity signer = {isSignedByCa ? ca : delegate, isSignedByCa ? pki.ca.key : pki.delegate.key};
    const Bytes response =
        fuzz::responseWith(fuzz::edited(isSignedByCa ? pki.responseDataOfCa : pki.responseData, edits[kResponse]),
                           signer.key, {signer.certificate});
    tallow::Verdict verdict;
    try {
        const tallow::Checker checker(trustIn(pki, crl), {.downloads = false});
        const tallow::Stored about{.certificate = pki.leaf.certificate, .issuer = ca};
        verdict = checker.verify(response, about).at(0);
    } catch (const tallow::BadInput&) {  // a CRL or a CA that does not decode
        require(!edits[kCrl].empty() || !edits[kCa].empty(), "no BadInput");
        return 0;
    }
    require(!verdict.why().empty() && verdict.why().find('\n') == std::string::npos, "one line");
    require((verdict.status == 0) == (verdict.answer == Answer::kGood), "status 0 for good");
    require(size >= fuzz::kEditSize || verdict.answer == Answer::kGood, "good without edits: " + verdict.why());
    if (verdict.answer == Answer::kUnproven) {
        return 0;
    }
    const std::string fault = fuzz::opensslFault(signer.certificate, ca, pki.root.certificate, {pki.rootCrl, crl});
    require(fault.empty(), "no signer with a fault (" + fault + ") for " + verdict.why());
    require(isCa(ca) && (isSignedByCa || hasOcspSigning(delegate)), "an authorised signer for " + verdict.why());
    const std::optional<fuzz::Reading> reading = fuzz::opensslReading(response, signer, pki.leaf.certificate, ca);
    if (!reading && (fuzz::hasLooseValue(response) || fuzz::hasLooseTag(response))) {
        return 0;
    }
    require(reading.has_value(), "a response that OpenSSL reads, for " + verdict.why());
    require(reading->isSigned && !reading->hasCriticalExtension, "a signature, and nothing critical");
    const int numRevoked = reading->numRevoked;
    const bool isRight = verdict.answer == Answer::kRevoked ? numRevoked > 0
                         : verdict.answer == Answer::kGood
                             ? reading->numGood > 0 && reading->numUnknown == 0 && numRevoked == 0
                             : reading->numUnknown > 0 && numRevoked == 0;
    require(isRight, "entries that say " + verdict.why());
    require(reading->isCurrent || verdict.answer == Answer::kRevoked, "current entries for " + verdict.why());
    return 0;
}
