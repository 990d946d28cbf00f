// The checks of whoever receives requests: signature, critical extensions, the requestor and his certificate.
#include "client/request/request_impl.h"
#include "client/response/chain_building.h"
#include "client/response/critical_extensions.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/request_message.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
constexpr DWORD kUserStoreFlags =
    CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;

ATL2::CCertContext findBySubject(HCERTSTORE store, CERT_NAME_BLOB name) {
    return ATL2::CCertContext::adopt(
        CertFindCertificateInStore(store, kEncoding, 0, CERT_FIND_SUBJECT_NAME, &name, nullptr));
}

bool sameEncoding(ATL2::CCertContext const& left, ATL2::CCertContext const& right) {
    return CBlob(left->pbCertEncoded, left->cbCertEncoded) == CBlob(right->pbCertEncoded, right->cbCertEncoded);
}

// The first certificate with this subject: of the message, of the given stores in their order, of the user.
ATL2::CCertContext findRequestor(CERT_NAME_BLOB name, ATL2::CCertStore const& carried, void** stores,
                                 unsigned long count) {
    if (ATL2::CCertContext hit = findBySubject(carried.get(), name)) {
        return hit;
    }
    for (unsigned long i = 0; i < count; ++i) {
        ATL2::CCertStore store;
        if (store.AttachWeak(stores[i]) != 0) {
            continue;
        }
        if (ATL2::CCertContext hit = findBySubject(store.get(), name)) {
            return hit;
        }
    }
    ATL2::CCertStore my;
    if (const std::int32_t opened = my.Open(CERT_STORE_PROV_SYSTEM_W, 0, kUserStoreFlags, L"My"); opened != 0) {
        ATL::AtlThrowImpl(opened);
    }
    return findBySubject(my.get(), name);
}

// The verdict of the service on the chain of a requestor.
std::int32_t judgeRequestor(ATL2::CCertChainContext const& chain) {
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

// Searches by name and keeps the hit, independent of its store, in RequestorCertificate. The same certificate found
// again keeps the handle that callers already hold. Null when there is none; what was found before stays then.
_CERT_CONTEXT const* CRequest::Impl::searchRequestor(void** stores, unsigned long count) {
    CRequestMessage message;
    message.decode(Encoded);
    CBlob const* name = message.get_requestorName();
    if (name == nullptr) {
        return nullptr;  // an unsigned message in an object that still carries the mark of an earlier one
    }
    ATL2::CCertContext hit =
        findRequestor({static_cast<DWORD>(name->cbData()), name->pbData()}, Certificates, stores, count);
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

// A reference of its own to the certificate that a check is made with: the one given, else the one found earlier, else
// the one to be found now.
ATL2::CCertContext CRequest::Impl::certificateToCheck(_CERT_CONTEXT const* given, void** stores, unsigned long count) {
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

std::int32_t CRequest::Verify(_CERT_CONTEXT const* certificate, char const* criticalList,
                              bool checkSingleRequests) const {
    if (!impl_->SignatureAlgorithmOID.empty()) {
        CRequestMessage message;
        message.decode(impl_->Encoded);
        const ATL2::CCertContext used = impl_->certificateToCheck(certificate, nullptr, 0);
        if (!message.verify(CBlob(used->pbCertEncoded, used->cbCertEncoded))) {
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
        // Not the caller's list: at this level a critical extension that nobody handles is always refused, and only a
        // call of VerifySR with a list lets one pass.
        if (const std::int32_t verdict = VerifySR(i, nullptr); verdict != 0) {
            return verdict;
        }
    }
    return status::kOk;
}

std::int32_t CRequest::VerifySR(unsigned long index, char const* criticalList) const {
    const CriticalExtensionRule rule(criticalList);
    if (rule.examinesNone()) {
        return status::kOk;  // before the index is looked at
    }
    return rule.refuses(get_SRAdditionalExtensions(index)) ? status::kCertCritical : status::kOk;
}

std::int32_t CRequest::VerifyCertificate(_CERT_CONTEXT const* certificate, void** stores,
                                         unsigned long storeCount) const {
    const ATL2::CCertContext used = impl_->certificateToCheck(certificate, stores, storeCount);
    const ATL2::CCertStore collection = collectStores(impl_->Certificates, stores, storeCount);
    const NetworkCheck check(impl_->downloads());
    const ATL2::CCertChainContext chain = buildChain(
        used.get(), {.flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE,
                     .additional = collection.get()});
    return judgeRequestor(chain);
}

_CERT_CONTEXT const* CRequest::get_RequestorCertificate(void** stores, unsigned long storeCount) const {
    impl_->requireSigned();
    if (impl_->SignerCertificate) {
        return ATL2::CCertContext(impl_->SignerCertificate).detach();
    }
    return impl_->searchRequestor(stores, storeCount);
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
