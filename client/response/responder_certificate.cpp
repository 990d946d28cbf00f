// The search for the certificate that signed a response.
#include "asn1/codec/rethrow_as_status.h"
#include "client/response/response_impl.h"
#include "client/shared/certificate_access.h"
#include "handles/crypto_handles.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr const char* kUserStores[] = {"AddressBook", "CA", "ROOT"};

// The number of certificates, from all stores together, for which the signature is checked. A responder has one or two
// that fit its id, or some dozens if it changes keys often; a hostile response may contain a thousand.
constexpr int kMaxSignersTried = 64;

// Whether the algorithm is accepted at any time. Settings and the rules of a check decide about SHA-1, which the
// parameters of other algorithms may name.
bool isAlwaysAccepted(const char* signatureAlgorithm) {
    switch (CertOIDToAlgId(signatureAlgorithm)) {
        case CALG_SHA_256:
        case CALG_SHA_384:
        case CALG_SHA_512:
        case CALG_ED25519:
        case CALG_ED448:
            return true;
        default:
            return false;
    }
}

}  // namespace

bool CResponse::Impl::isSignedBy(const CBlob& certificate) {
    if (Signer.cbData() != 0 && Signer == certificate) {
        return true;
    }
    if (!BasicResponse.verify(certificate)) {
        return false;
    }
    if (isAlwaysAccepted(BasicResponse.get_signatureAlgorithm().get_algorithm())) {
        Signer = certificate;
    }
    return true;
}

bool CResponse::Impl::TryToAcceptOCSPCertificate(const ATL2::CCertContext& candidate, int& numTried) {
    const CBlob encoded = encodingOf(candidate.get());
    const CResponderID& responder = BasicResponse.get_responderID();
    // The name or key hash proves nothing: an attacker can put it into any certificate or response.
    if (!(CResponderID::fromCert(responder.get_type(), encoded) == responder) || ++numTried > kMaxSignersTried ||
        !isSignedBy(encoded)) {
        return false;
    }
    OCSPCertificate = candidate;
    if (const std::int32_t detached = OCSPCertificate.DetachFromStore(); detached < 0) {
        ATL::AtlThrowImpl(detached);
    }
    return true;
}

bool CResponse::Impl::acceptFromStore(HCERTSTORE store, int& numTried) {
    ATL2::CCertContext candidate;
    // The enumeration frees the context passed to it, so each step passes the last one.
    while (const _CERT_CONTEXT* next = CertEnumCertificatesInStore(store, candidate.detach())) {
        candidate.reset(next);
        if (TryToAcceptOCSPCertificate(candidate, numTried)) {
            return true;
        }
    }
    return false;
}

const _CERT_CONTEXT* CResponse::Impl::findResponder(void** stores, unsigned long count) {
    int numTried = 0;
    if (acceptFromStore(Certificates.get(), numTried)) {
        return OCSPCertificate.get();
    }
    for (unsigned long i = 0; i < count; ++i) {
        ATL2::CCertStore store;
        if (store.AttachWeak(stores[i]) == 0 && acceptFromStore(store.get(), numTried)) {
            return OCSPCertificate.get();
        }
    }
    for (const char* name : kUserStores) {
        ATL2::CCertStore store;
        if (store.Open(CERT_STORE_PROV_SYSTEM_A, 0, kUserStoreFlags, name) == 0 &&
            acceptFromStore(store.get(), numTried)) {
            return OCSPCertificate.get();
        }
    }
    return nullptr;
}

const _CERT_CONTEXT* CResponse::Impl::responderToCheck(const _CERT_CONTEXT* given, void** stores, unsigned long count) {
    requireSuccessful();
    if (given == nullptr) {
        given = OCSPCertificate.get();
    }
    if (given == nullptr) {
        given = findResponder(stores, count);
    }
    if (given == nullptr) {
        ATL::AtlThrowImpl(status::kCryptNotFound);
    }
    return given;
}

const _CERT_CONTEXT* CResponse::get_OCSPCertificate(void** stores, unsigned long count) const try {
    impl_->requireSuccessful();
    return impl_->findResponder(stores, count);
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
