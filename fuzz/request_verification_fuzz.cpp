// Checker::receive with a signed request whose signed part and whose requestor's certificate the input edits, and the
// harness signs again. A proven requestor must be one that OpenSSL finds too: its key verifies the signature, and its
// certificate has a path without a fault.
#include <array>

#include "checker/checker.h"
#include "fuzz/resigned_pki.h"
#include "platform/support/support_service.h"
#include "tests/support/tlv.h"

namespace {

namespace tlv = testkit::tlv;
using fuzz::Bytes;
using fuzz::Edit;
using fuzz::require;
using Signer = tallow::ReceivedRequest::Signer;

enum Target { kSigned, kRequestor, kWhole, kTargets };  // kWhole: after signing

// TBSRequest with the requestor's name, one entry and a nonce.
Bytes tbsRequest(const fuzz::ResignedPki& pki) {
    const Bytes entry = tlv::sequence({testkit::certIdOf(pki.leaf, pki.ca).encode()});
    return tlv::sequence({tlv::context(1, tlv::context(4, pki.leaf.subject())), tlv::sequence({entry}),
                          tlv::context(2, tlv::sequence({testkit::nonceExtension({1, 2, 3, 4}).encode()}))});
}

Bytes signedRequest(const Bytes& tbs, const testkit::Key& key, const std::vector<Bytes>& certificates) {
    const testkit::Signature signature = testkit::sign(tbs, key.get(), "SHA256");
    return tlv::sequence({tbs, tlv::context(0, tlv::sequence({signature.algorithm, tlv::bitString(signature.octets),
                                                              tlv::context(0, tlv::sequence(certificates))}))});
}

void requireOpensslToAgree(const Bytes& request, const tallow::ReceivedRequest& received) {
    const fuzz::ResignedPki& pki = fuzz::ResignedPki::shared();
    const std::string fault = fuzz::opensslFault(received.requestorCertificate, pki.ca.certificate,
                                                 pki.root.certificate, {pki.rootCrl, pki.caCrl});
    require(fault.empty(), "no requestor with a fault: " + fault);
    const unsigned char* at = request.data();
    const std::unique_ptr<OCSP_REQUEST, testkit::FreeWith<OCSP_REQUEST_free>> read(
        d2i_OCSP_REQUEST(nullptr, &at, static_cast<long>(request.size())));
    ERR_clear_error();
    if (!read && fuzz::hasLooseValue(request)) {
        return;
    }
    require(read != nullptr, "a request that OpenSSL reads, not " + testkit::toHex(request));
    require(received.asked.size() == static_cast<std::size_t>(OCSP_request_onereq_count(read.get())),
            "the entries that OpenSSL reads");
    const fuzz::X509List signers(sk_X509_new_null());
    const testkit::X509Ptr requestor = testkit::parseCertificate(received.requestorCertificate);
    sk_X509_push(signers.get(), requestor.get());
    // OpenSSL verifies the signature of its own encoding.
    const unsigned long signatures = testkit::toDer(read.get(), i2d_OCSP_REQUEST) == request ? 0 : OCSP_NOSIGS;
    require(OCSP_request_verify(read.get(), signers.get(), nullptr, OCSP_NOVERIFY | OCSP_NOINTERN | signatures) == 1,
            "a signature of the requestor");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasSettings = support_settings_open("/dev/null") == 0;
    require(hasSettings, "settings");
    const fuzz::ResignedPki& pki = fuzz::ResignedPki::shared();
    static const tallow::Checker checker(
        tallow::Trust().addRoots(pki.root.certificate).addCrls(pki.rootCrl).addCrls(pki.caCrl), {.downloads = false});
    static const Bytes original = tbsRequest(pki);
    std::array<std::vector<Edit>, kTargets> edits;
    for (const Edit& edit : fuzz::editsIn({data, size})) {
        edits[(edit.operation >> 4U) % kTargets].push_back(edit);
    }
    const Bytes requestor = fuzz::resigned(pki.leaf.certificate, pki.ca, edits[kRequestor]);
    const Bytes request = fuzz::edited(
        signedRequest(fuzz::edited(original, edits[kSigned]), pki.leaf.key, {requestor, pki.ca.certificate}),
        edits[kWhole]);
    const tallow::ReceivedRequest received = checker.receive(request);
    const bool isProven = received.signer == Signer::kProven;
    require((received.status == 0) == (isProven || received.signer == Signer::kUnsigned), "status 0 for no fault");
    require((received.status == 0) == received.cause.empty() && received.cause.find('\n') == std::string::npos,
            "a cause in one line for each fault");
    require(received.asked.empty() || received.status == 0, "entries only without a fault");
    require(size >= fuzz::kEditSize || isProven, "proven without edits: " + received.cause);
    if (isProven) {
        requireOpensslToAgree(request, received);
    }
    return 0;
}
