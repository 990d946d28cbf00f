// The chain of a certificate with CRLs, all edited by the input and signed again by their CA. What the service accepts
// without a fault, OpenSSL must accept with the same CRLs; it may accept more.
#include <array>

#include "fuzz/resigned_pki.h"
#include "tests/platform/trust_fixture.h"

namespace {

using fuzz::Bytes;
using fuzz::Edit;

enum Target { kLeaf, kCa, kRootCrl, kCaCrl, kTargets };

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::ResignedPki& pki = fuzz::ResignedPki::shared();
    static const testkit::TrustWorld machine{{pki.root}};
    std::array<std::vector<Edit>, kTargets> edits;
    for (const Edit& edit : fuzz::editsIn({data, size})) {
        edits[(edit.operation >> 4U) % kTargets].push_back(edit);
    }
    testkit::Identity leaf = pki.leaf;
    testkit::Identity ca = pki.ca;
    leaf.certificate = fuzz::resigned(pki.leaf.certificate, pki.ca, edits[kLeaf]);
    ca.certificate = fuzz::resigned(pki.ca.certificate, pki.root, edits[kCa]);
    const std::vector<Bytes> crls{fuzz::resigned(pki.rootCrl, pki.root, edits[kRootCrl]),
                                  fuzz::resigned(pki.caCrl, pki.ca, edits[kCaCrl])};
    if (testkit::context(leaf.certificate) == nullptr || testkit::context(ca.certificate) == nullptr) {
        return 0;
    }
    const testkit::ChainPtr chain =
        testkit::chainOf({.end = leaf,
                          .extra = {ca},
                          .crls = crls,
                          .flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN});
    fuzz::require(chain != nullptr, "a chain");
    const DWORD faults = chain->TrustStatus.dwErrorStatus;
    fuzz::require(size >= fuzz::kEditSize || faults == 0, "no faults without edits: " + std::to_string(faults));
    const std::string fault =
        faults != 0 ? "" : fuzz::opensslFault(leaf.certificate, ca.certificate, pki.root.certificate, crls);
    fuzz::require(fault.empty(), "a fault as OpenSSL has it: " + fault);
    return 0;
}
