// The checks on the receiving side: signature, critical extensions, the requestor and its certificate.
#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/shared/certificate_access.h"
#include "client/shared/chain_building.h"
#include "client/shared/critical_extensions.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/request_message.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr DWORD kCachedOnly = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY |
                              CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE;

// A hostile request can carry any number of certificates with the requestor's name; real ones carry one or two.
constexpr int kMaxSignersTried = 16;

// The first certificate of the store with this subject that `accepts` takes; empty when there is none.
template <typename Accepts>
ATL2::CCertContext findBySubject(HCERTSTORE store, CERT_NAME_BLOB name, Accepts accepts) {
    ATL2::CCertContext hit;
    // The search frees the context passed to it, so each step passes the last one.
    while (const _CERT_CONTEXT* next = CertFindCertificateInStore(store, kCertificateEncoding, 0,
                                                                  CERT_FIND_SUBJECT_NAME, &name, hit.detach())) {
        hit.reset(next);
        if (accepts(hit)) {
            return hit;
        }
    }
    return {};
}

bool sameEncoding(const ATL2::CCertContext& left, const ATL2::CCertContext& right) {
    return encodingOf(left.get()) == encodingOf(right.get());
}

// The same in the message, then in the given stores in their order, then in the user's store "My". Throws when "My"
// cannot be opened.
template <typename Accepts>
ATL2::CCertContext findInStores(CERT_NAME_BLOB name, const ATL2::CCertStore& carried, void** stores,
                                unsigned long count, Accepts accepts) {
    if (ATL2::CCertContext hit = findBySubject(carried.get(), name, accepts)) {
        return hit;
    }
    for (unsigned long i = 0; i < count; ++i) {
        ATL2::CCertStore store;
        if (store.AttachWeak(stores[i]) != 0) {
            continue;
        }
        if (ATL2::CCertContext hit = findBySubject(store.get(), name, accepts)) {
            return hit;
        }
    }
    ATL2::CCertStore my;
    if (const std::int32_t opened = my.Open(CERT_STORE_PROV_SYSTEM_W, 0, kUserStoreFlags, L"My"); opened != 0) {
        ATL::AtlThrowImpl(opened);
    }
    return findBySubject(my.get(), name, accepts);
}

// Whether the chain leads to a trusted root by signatures that verify, and all of it is valid now.
bool leadsToTrustedRoot(const ATL2::CCertChainContext& chain) {
    constexpr DWORD kUnproven = CERT_TRUST_IS_PARTIAL_CHAIN | CERT_TRUST_IS_UNTRUSTED_ROOT |
                                CERT_TRUST_IS_EXPLICIT_DISTRUST | CERT_TRUST_IS_NOT_SIGNATURE_VALID |
                                CERT_TRUST_IS_NOT_TIME_VALID;
    return isProof(chain) && (chain->rgpChain[0]->TrustStatus.dwErrorStatus & kUnproven) == 0;
}

// Applies the requestor policy of the service to a chain.
std::int32_t checkRequestorPolicy(const ATL2::CCertChainContext& chain) {
    CERT_CHAIN_POLICY_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.dwFlags = OCSP_REQUESTOR_POLICY_FLAG;
    CERT_CHAIN_POLICY_STATUS policyStatus{};
    policyStatus.cbSize = sizeof policyStatus;
    const BOOL judged =
        CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_REQUESTOR, chain.get(), &parameters, &policyStatus);
    if (const std::int32_t verdict = policyVerdict(judged, judged ? 0 : GetLastError(), policyStatus); verdict != 0) {
        return verdict;
    }
    return isProof(chain) ? status::kOk : status::kTrustFail;
}

}  // namespace

void CRequest::Impl::requireSigned() const {
    if (SignatureAlgorithmOID.empty()) {
        ATL::AtlThrowImpl(status::kRequestSigned);
    }
}

// Searches by name and keeps the hit, independent of its store, in RequestorCertificate. When the same certificate is
// found again, the handle that callers already have stays valid. Null when there is none; an earlier hit then stays.
template <typename Accepts>
const _CERT_CONTEXT* CRequest::Impl::searchRequestor(const CRequestMessage& message, void** stores, unsigned long count,
                                                     Accepts accepts) {
    const CBlob* name = message.get_requestorName();
    if (name == nullptr) {
        return nullptr;  // an unsigned message in an object that was signed before
    }
    ATL2::CCertContext hit =
        findInStores({static_cast<DWORD>(name->cbData()), name->pbData()}, Certificates, stores, count, accepts);
    if (!hit) {
        return nullptr;
    }
    if (!RequestorCertificate || !sameEncoding(hit, RequestorCertificate)) {
        if (const std::int32_t detached = hit.DetachFromStore(); detached != 0) {
            ATL::AtlThrowImpl(detached);
        }
        RequestorCertificate = std::move(hit);
    }
    return RequestorCertificate.get();
}

// The first certificate with the requestor's name.
const _CERT_CONTEXT* CRequest::Impl::searchRequestor(void** stores, unsigned long count) {
    CRequestMessage message;
    message.decode(Encoded);
    return searchRequestor(message, stores, count, [](const ATL2::CCertContext&) { return true; });
}

// The first of them whose key made the signature.
const _CERT_CONTEXT* CRequest::Impl::searchSigner(void** stores, unsigned long count) {
    CRequestMessage message;
    message.decode(Encoded);
    int tried = 0;
    return searchRequestor(message, stores, count, [&](const ATL2::CCertContext& candidate) {
        return tried++ < kMaxSignersTried && message.verify(encodingOf(candidate.get()));
    });
}

// The certificate to check with (given, found earlier, or found now), as a new reference.
ATL2::CCertContext CRequest::Impl::certificateToCheck(const _CERT_CONTEXT* given, void** stores, unsigned long count) {
    if (given == nullptr) {
        given = RequestorCertificate.get();
    }
    if (given == nullptr) {
        requireSigned();
        given = SignerCertificate ? SignerCertificate.get() : searchRequestor(stores, count);
    }
    if (given == nullptr) {
        ATL::AtlThrowImpl(status::kCryptNotFound);
    }
    return ATL2::CCertContext::duplicate(given);
}

std::int32_t CRequest::Verify(const _CERT_CONTEXT* certificate, const char* criticalList,
                              bool checkSingleRequests) const try {
    if (!impl_->SignatureAlgorithmOID.empty()) {
        CRequestMessage message;
        message.decode(impl_->Encoded);
        const ATL2::CCertContext used = impl_->certificateToCheck(certificate, nullptr, 0);
        if (!message.verify(encodingOf(used.get()))) {
            return status::kBadSignature;
        }
    }
    const CriticalExtensionRule rule(criticalList);
    if (rule.refuses(&impl_->AdditionalExtensions)) {
        return status::kCertCritical;
    }
    if (rule.examinesNone() || !checkSingleRequests) {
        return status::kOk;
    }
    for (unsigned long i = 0; i < get_SRNumber(); ++i) {
        // Not the caller's list: this call always refuses an unknown critical extension in an entry. A caller that
        // accepts one calls VerifySR with a list.
        if (const std::int32_t verdict = VerifySR(i, nullptr); verdict != 0) {
            return verdict;
        }
    }
    return status::kOk;
} catch (...) {
    ASN1::rethrowAsStatus();
}

std::int32_t CRequest::VerifySR(unsigned long index, const char* criticalList) const try {
    const CriticalExtensionRule rule(criticalList);
    if (rule.examinesNone()) {
        return status::kOk;  // before the index is looked at
    }
    return rule.refuses(get_SRAdditionalExtensions(index)) ? status::kCertCritical : status::kOk;
} catch (...) {
    ASN1::rethrowAsStatus();
}

std::int32_t CRequest::VerifyCertificate(const _CERT_CONTEXT* certificate, void** stores,
                                         unsigned long storeCount) const try {
    const ATL2::CCertContext used = impl_->certificateToCheck(certificate, stores, storeCount);
    const ATL2::CCertStore collection = collectStores(impl_->Certificates, stores, storeCount);
    const NetworkCheck check(impl_->downloads());
    // The requestor wrote the addresses in these certificates. They are contacted only for a chain that leads to a
    // trusted root without them, or any sender of requests could make this side contact internal addresses.
    const ATL2::CCertChainContext cached =
        buildChain(used.get(), {.flags = kCachedOnly, .additional = collection.get()});
    if (!leadsToTrustedRoot(cached)) {
        const std::int32_t verdict = checkRequestorPolicy(cached);
        return verdict != 0 ? verdict : status::kTrustFail;
    }
    const ATL2::CCertChainContext chain = buildChain(
        used.get(), {.flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE,
                     .additional = collection.get()});
    return checkRequestorPolicy(chain);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const _CERT_CONTEXT* CRequest::get_RequestorCertificate(void** stores, unsigned long storeCount) const try {
    impl_->requireSigned();
    if (impl_->SignerCertificate) {
        return ATL2::CCertContext(impl_->SignerCertificate).detach();
    }
    return impl_->searchRequestor(stores, storeCount);
} catch (...) {
    ASN1::rethrowAsStatus();
}

const _CERT_CONTEXT* CRequest::FindSigner(void** stores, unsigned long storeCount) const try {
    impl_->requireSigned();
    return impl_->SignerCertificate ? impl_->SignerCertificate.get() : impl_->searchSigner(stores, storeCount);
} catch (const ATL::CAtlException& failure) {
    if (failure.status() == status::kFileNotFound) {
        return nullptr;  // the user has no store, so the signer is not in it
    }
    throw;
} catch (...) {
    ASN1::rethrowAsStatus();
}

std::uint32_t CRequest::get_SignatureAlgorithm() const {
    impl_->requireSigned();
    const DWORD number = CertOIDToAlgId(impl_->SignatureAlgorithmOID.c_str());
    if (number == 0) {
        SetLastError(static_cast<DWORD>(status::kBadAlgorithm));
    }
    return number;
}

}  // namespace Orvane::PKI::OCSP::Client
