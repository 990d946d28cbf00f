// Verifies the responder's certificate: chain, authorisation for each entry, revocation.
#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "asn1/codec/rethrow_as_status.h"
#include "client/response/response_impl.h"
#include "client/shared/certificate_access.h"
#include "client/shared/chain_building.h"
#include "foundation/trace.h"
#include "handles/crypto_handles.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr DWORD kCacheOnly = CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;

CRYPT_DATA_BLOB view(const CBlob& blob) {
    return {static_cast<DWORD>(blob.cbData()), blob.pbData()};
}

// The chain policy calls back through a C interface, which no exception may cross: what IsOCSPAuthorized throws is kept
// in the call of the thread and thrown again after the policy has returned. A failure authorises no responder. Only a
// pointer belongs to the thread: the C library ends the process when it has no memory to register a destructor.
constinit thread_local std::exception_ptr* authorisationFailure = nullptr;

extern "C" int isAuthorisedByPolicy(PCCERT_CONTEXT certificate) {
    try {
        return IsOCSPAuthorized(certificate);
    } catch (...) {
        *authorisationFailure = std::current_exception();
        return 0;
    }
}

// The entries in the form that the chain policy takes; valid as long as the response does not change.
class PolicyEntries {
public:
    explicit PolicyEntries(const CSingleResponseList& responses) {
        std::size_t sizeSerials = 0;
        for (const CSingleResponse& entry : responses) {
            sizeSerials += entry.get_reqCert().get_certID()->get_serialNumber().cbData();
        }
        // The records point into the serial numbers, so these must not move.
        serials_.resize(sizeSerials);
        records_.reserve(responses.size());
        unsigned char* serial = serials_.data();
        for (const CSingleResponse& entry : responses) {
            const CCertID& id = *entry.get_reqCert().get_certID();
            const CBlob& number = id.get_serialNumber();
            OCSP_CERT_ID& record = records_.emplace_back();
            record.HashAlgorithm.pszObjId = const_cast<char*>(id.get_hashAlgorithm().get_algorithm());
            record.IssuerNameHash = view(id.get_issuerNameHash());
            record.IssuerKeyHash = view(id.get_issuerKeyHash());
            record.SerialNumber = {static_cast<DWORD>(number.cbData()), serial};
            // The service takes the least significant octet first.
            serial = std::reverse_copy(number.pbData(), number.pbData() + number.cbData(), serial);
        }
    }
    OCSP_CERT_ID* data() { return records_.data(); }
    DWORD size() const { return static_cast<DWORD>(records_.size()); }

private:
    std::vector<unsigned char> serials_;
    std::vector<OCSP_CERT_ID> records_;
};

std::int32_t statusOfMask(DWORD mask) {
    if ((mask & ~OCSP_CHAIN_REVOCATION_UNKNOWN) == 0) {
        return status::kOk;  // the revocation status is checked next
    }
    if ((mask & (OCSP_CHAIN_NOT_TIME_VALID | OCSP_CHAIN_NOT_TIME_NESTED)) != 0) {
        return status::kCertExpired;
    }
    if ((mask & (OCSP_CHAIN_WRONG_USAGE | OCSP_CHAIN_WRONG_KEY_USAGE)) != 0) {
        return status::kWrongUsage;
    }
    return status::kTrustFail;
}

// For a chain built with revocation: every error except a plain "revoked" means that the status is not known.
std::int32_t statusOfRevocation(DWORD errorStatus) {
    switch (errorStatus) {
        case CERT_TRUST_NO_ERROR:
            return status::kOk;
        case CERT_TRUST_IS_REVOKED:
            return status::kCryptRevoked;
        default:
            return status::kNoRevocationCheck;
    }
}

}  // namespace

ATL2::CCertChainContext CResponse::Impl::buildChain(const _CERT_CONTEXT* cert, const ATL2::CCertStore& collection,
                                                    DWORD flags) const {
    return Client::buildChain(
        cert, {.flags = flags, .engine = ChainEngine, .additional = collection.get(), .cacheResync = CacheResync});
}

// Applies the responder policy of the service and fills SRAuthorized. Returns the verdict on the chain; `noCheck` is
// set to whether the certificate has the no-check extension.
std::int32_t CResponse::Impl::applyResponderPolicy(const ATL2::CCertChainContext& chain, bool& noCheck) {
    FILETIME producedAt = BasicResponse.get_producedAt().getFileTime();
    PolicyEntries entries(BasicResponse.get_responses());
    // Results of an earlier call are for another certificate.
    SRAuthorized.assign(Entries.size(), 0);
    OCSPChainPolicyPara extra{};
    extra.cbSize = sizeof extra;
    extra.pProducedAt = &producedAt;
    extra.cCertID = entries.size();
    extra.rgCertID = entries.data();
    extra.pfnIsOCSPAuthorized = isAuthorisedByPolicy;
    CERT_CHAIN_POLICY_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.pvExtraPolicyPara = &extra;
    OCSPChainPolicyStatus ocspStatus{};
    ocspStatus.cbSize = sizeof ocspStatus;
    ocspStatus.rgAuthorized = SRAuthorized.data();
    CERT_CHAIN_POLICY_STATUS policyStatus{};
    policyStatus.cbSize = sizeof policyStatus;
    policyStatus.pvExtraPolicyStatus = &ocspStatus;

    std::exception_ptr failure;
    std::exception_ptr* const outer = std::exchange(authorisationFailure, &failure);
    const BOOL judged =
        CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_RESPONDER, chain.get(), &parameters, &policyStatus);
    const DWORD lastError = judged ? 0 : GetLastError();
    authorisationFailure = outer;
    if (failure) {
        std::rethrow_exception(failure);
    }
    if (const std::int32_t verdict = policyVerdict(judged, lastError, policyStatus); verdict != 0) {
        return verdict;
    }
    TALLOW_TRACE("VerifyCertificate", "CertVerifyCertificateChainPolicy returned ocspStatus.dwError = 0x%X\n",
                 ocspStatus.dwError);
    noCheck = ocspStatus.fNoCheck != 0;
    return statusOfMask(ocspStatus.dwError);
}

// Builds a second chain, from `first` up, with revocation.
std::int32_t CResponse::Impl::checkRevocation(const _CERT_CONTEXT* first, const ATL2::CCertStore& collection,
                                              DWORD flags) const {
    const ATL2::CCertChainContext chain = buildChain(first, collection, flags | CERT_CHAIN_REVOCATION_CHECK_CHAIN);
    if (chain->cChain == 0) {
        return status::kNoRevocationCheck;
    }
    return statusOfRevocation(chain->rgpChain[0]->TrustStatus.dwErrorStatus);
}

std::int32_t CResponse::VerifyCertificate(const _CERT_CONTEXT* cert, bool verifySR, void** stores,
                                          unsigned long count) const try {
    cert = impl_->responderToCheck(cert, stores, count);
    const ATL2::CCertStore collection = collectStores(impl_->Certificates, stores, count);
    const OptionalNetworkCheck network(impl_->Downloads);
    TALLOW_TRACE("VerifyCertificate", "Building a chain...\n");
    const DWORD cacheFlags = (impl_->Flags & kFlagCacheOnly) != 0 ? kCacheOnly : 0;
    // The first chain is built without revocation: the policy decides first whether the responder may answer at all.
    ATL2::CCertChainContext chain =
        impl_->buildChain(cert, collection, cacheFlags | CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE);
    bool exempt = false;
    if (const std::int32_t verdict = impl_->applyResponderPolicy(chain, exempt); verdict != 0) {
        return verdict;
    }
    if (!exempt && impl_->IsOCSPNocheck(cert) != 0) {
        TALLOW_TRACE("VerifyCertificate", "Certificate of OCSP service is \"Nocheck\" by GP.\n");
        exempt = true;
    }
    if (verifySR) {
        for (unsigned long i = 0; i < impl_->SRAuthorized.size(); ++i) {
            if (const std::int32_t verdict = VerifySR(i, nullptr, nullptr); verdict != 0) {
                return verdict;
            }
        }
    }
    if (!isProof(chain)) {
        return status::kTrustFail;
    }
    // An exempt responder is not checked for revocation itself; the chain above it still is.
    const DWORD start = exempt ? 1 : 0;
    if (start >= chain->rgpChain[0]->cElement) {
        return status::kOk;
    }
    const ATL2::CCertContext first = ATL2::CCertContext::duplicate(chain->rgpChain[0]->rgpElement[start]->pCertContext);
    chain.reset();
    return impl_->checkRevocation(first.get(), collection, cacheFlags);
} catch (...) {
    ASN1::rethrowAsStatus();
}

std::int32_t CResponse::VerifyRevocation(const _CERT_CONTEXT* cert, const _CERT_CONTEXT* issuer, void* store) const
    try {
    ATL2::CCertStore crls;
    if (const std::int32_t opened = crls.Open(CERT_STORE_PROV_SYSTEM_W, 0, kUserStoreFlags, L"CA"); opened != 0) {
        return opened;
    }
    CERT_REVOCATION_CHAIN_PARA chainParameters{};
    chainParameters.cbSize = sizeof chainParameters;
    chainParameters.hChainEngine = impl_->ChainEngine;
    CERT_REVOCATION_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.pIssuerCert = issuer;
    parameters.cCertStore = 1;
    parameters.rgCertStore = &store;
    parameters.hCrlStore = crls.get();
    parameters.pftCacheResync = impl_->CacheResync;
    parameters.pChainPara = &chainParameters;
    CERT_REVOCATION_STATUS revocation{};
    revocation.cbSize = sizeof revocation;
    void* contexts[] = {const_cast<_CERT_CONTEXT*>(cert)};
    const DWORD flags = (impl_->Flags & kFlagCacheOnly) != 0 ? CERT_VERIFY_CACHE_ONLY_BASED_REVOCATION : 0;
    const OptionalNetworkCheck network(impl_->Downloads);
    const BOOL checked = CertVerifyRevocation(X509_ASN_ENCODING, CERT_CONTEXT_REVOCATION_TYPE, 1, contexts, flags,
                                              &parameters, &revocation);
    const DWORD result = checked ? 0 : GetLastError();
    TALLOW_TRACE("VerifyRevocation", "Revocation Provider returned 0x%.8X.\n", result);
    // A service that fails without a last error must not read as a certificate that is not revoked.
    return !checked && result == 0 ? status::kFail : ATL2::convertLastError(result);
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
