// Signs a request while it is built.
#include <cstring>

#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/request/signature_algorithm.h"
#include "client/shared/certificate_access.h"
#include "client/shared/chain_building.h"
#include "client/shared/network_check.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "handles/string.h"
#include "message/request_message.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The policy value CertsToInclude when it is not set.
constexpr long kPolicySaysNothing = -1;

// The PIN in the form that the provider takes. The narrow copy is wiped; the other belongs to the caller.
class Pin {
public:
    explicit Pin(const wchar_t* text) { narrow_ = text; }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;
    ~Pin() {
        if (!narrow_.IsEmpty()) {
            // The block is not shared, so this is the text itself, not a copy.
            ::explicit_bzero(narrow_.GetBuffer(0), static_cast<std::size_t>(narrow_.GetLength()));
        }
    }

    const BYTE* octets() const { return reinterpret_cast<const BYTE*>(narrow_.GetString()); }

private:
    ATL::CStringA narrow_;
};

// The private key of a certificate.
class SigningKey {
public:
    explicit SigningKey(const _CERT_CONTEXT* cert) {
        BOOL callerFrees = FALSE;
        if (!CryptAcquireCertificatePrivateKey(cert, CRYPT_ACQUIRE_USE_PROV_INFO_FLAG, nullptr, &provider_, &keySpec_,
                                               &callerFrees)) {
            ATL2::throwLastErrorOrFail();
        }
        if (callerFrees) {
            owner_.reset(provider_);
        }
    }

    HCRYPTPROV provider() const { return provider_; }
    DWORD keySpec() const { return keySpec_; }
    void open(const wchar_t* password) const {
        const Pin pin(password);
        if (!CryptSetProvParam(provider_, PP_SIGNATURE_PIN, pin.octets(), 0)) {
            ATL2::throwLastErrorOrFail();
        }
    }

private:
    HCRYPTPROV provider_ = 0;
    DWORD keySpec_ = 0;
    ATL::CCryptProv owner_;  // empty when the service keeps the provider
};

}  // namespace

// The order of calls matters: what Export or a failed Send has built stays unsigned here until the message changes.
void CRequest::Impl::Sign(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude, const wchar_t* password) {
    guard();
    if (Encoded.cbData() != 0) {
        return;
    }
    MakeRequest(signer, certsToInclude, password);
}

void CRequest::Impl::SignRequest(CRequestMessage& message, const _CERT_CONTEXT* signer,
                                 enumCertToInclude certsToInclude, const wchar_t* password) {
    TALLOW_TRACE("SignRequest", "Signing request...\n");
    const CRYPT_DATA_BLOB& subject = signer->pCertInfo->Subject;
    const CBlob name(subject.pbData, subject.cbData);
    message.put_requestorName(&name);
    const CBlobList certs = includeCertificates(signer, certsToInclude);
    const SigningKey key(signer);
    if (password != nullptr) {
        key.open(password);
    }
    const ASN1::CAlgorithmIdentifierEx algorithm(GetSignAlg(key.provider(), signer).c_str());
    message.sign(key.provider(), key.keySpec(), algorithm, &certs);
    SignatureAlgorithmOID = algorithm.get_algorithm();
    if (!SignerCertificate) {
        SignerCertificate = ATL2::CCertContext::duplicate(signer);
    }
    TALLOW_TRACE("SignRequest", "Signing request... OK.\n");
}

// The encodings that the message contains; each is added to the store too.
CBlobList CRequest::Impl::includeCertificates(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude) {
    CBlobList certs;
    long included = certsToInclude;
    if (certsToInclude == CertsFromPolicy) {
        included = Policy->CertsToInclude;
        if (included == kPolicySaysNothing) {
            return certs;
        }
    }
    if (included == CertsNone) {
        return certs;
    }
    includeCertificate(certs, signer);
    if (included != CertsChainNoRoot && included != CertsChainWithRoot) {
        return certs;
    }
    const NetworkCheck check(downloads());
    const ATL2::CCertChainContext chain = buildChain(signer, {.flags = CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE});
    if (chain->cChain == 0 || chain->rgpChain[0]->cElement < 2) {
        return certs;
    }
    // The last element is treated as the root, even if the chain ends below one.
    const CERT_SIMPLE_CHAIN& simple = *chain->rgpChain[0];
    const DWORD end = included == CertsChainWithRoot ? simple.cElement : simple.cElement - 1;
    for (DWORD i = 1; i < end; ++i) {
        includeCertificate(certs, simple.rgpElement[i]->pCertContext);
    }
    return certs;
}

void CRequest::Impl::includeCertificate(CBlobList& certs, const _CERT_CONTEXT* cert) {
    certs.push_back(encodingOf(cert));
    ATL2::CCertContext detached = ATL2::CCertContext::duplicate(cert);
    if (const std::int32_t result = detached.DetachFromStore(); result != 0) {
        ATL::AtlThrowImpl(result);
    }
    addCertificate(Certificates, detached.get());
}

void CRequest::Sign(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude, const wchar_t* password) try {
    impl_->Sign(signer, certsToInclude, password);
} catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
