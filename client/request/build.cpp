// Turns the state of a request into the DER message.
#include "asn1/algorithms/big_integer.h"
#include "asn1/codec/octet_string.h"
#include "client/request/request_impl.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "message/request_message.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// The provider type for random numbers; no key container is opened.
constexpr DWORD kNonceProviderType = 75;

// A longer nonce is a mistake in the settings: no responder accepts it, and RFC 9654 allows at most 128 octets.
constexpr long kNonceMaxLength = 65535;

// Deep copy through the encoding: the request contains what a reader of the stored list would decode.
ASN1::CExtensions copyThroughEncoding(const ASN1::CExtensions& source) {
    ASN1::CExtensions copy;
    copy.decode(source.encode());
    return copy;
}

template <typename Map>
void appendIfPresent(ASN1::CExtensions& extensions, const Map& map, unsigned long index, bool critical) {
    if (const auto found = map.find(index); found != map.end()) {
        extensions.push_back(ASN1::CExtension(found->second, critical));
    }
}

}  // namespace

void CRequest::Impl::MakeRequest(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude,
                                 const wchar_t* password) {
    if (Encoded.cbData() != 0) {
        return;
    }
    TALLOW_TRACE("MakeRequest", "Making request...\n");
    CRequestMessage message(MessageMode);
    message.put_requestList(makeRequestList());
    TALLOW_TRACE("MakeRequest", "Filling extensions...\n");
    const ASN1::CExtensions extensions = makeRequestExtensions();
    if (!extensions.empty()) {
        message.put_requestExtensions(&extensions);
    }
    if (signer != nullptr) {
        SignRequest(message, signer, certsToInclude, password);
    }
    TALLOW_TRACE("MakeRequest", "Encoding request...\n");
    Encoded = message.encode();
    TALLOW_TRACE("MakeRequest", "Making request... OK.\n");
}

CSingleRequestList CRequest::Impl::makeRequestList() const {
    CSingleRequestList list;
    TALLOW_TRACE("MakeRequest", "Filling SRs...\n");
    for (unsigned long i = 0; i < SRCertIDs.size(); ++i) {
        if (SRCertIDs[i].get_serialNumber().cbData() == 0) {
            TALLOW_TRACE("MakeRequest", "CertID is not specified for request[%lu]\n", i);
            ATL::AtlThrowImpl(status::kCryptNotFound);
        }
        CSingleRequest& request = list.emplace_back(CReqCert(SRCertIDs[i]));
        const ASN1::CExtensions extensions = makeSingleRequestExtensions(i);
        if (!extensions.empty()) {
            request.put_singleRequestExtensions(&extensions);
        }
    }
    return list;
}

// Additional extensions, CRL locator, historical request, service locator. Only the historical request is
// critical: a responder that ignored it would answer about the wrong time.
ASN1::CExtensions CRequest::Impl::makeSingleRequestExtensions(unsigned long index) const {
    ASN1::CExtensions extensions;
    if (const auto found = SRAdditionalExtensions.find(index); found != SRAdditionalExtensions.end()) {
        extensions = copyThroughEncoding(found->second);
    }
    appendIfPresent(extensions, SRCRLLocators, index, false);
    appendIfPresent(extensions, SRHistoricalRequests, index, true);
    appendIfPresent(extensions, SRServiceLocators, index, false);
    return extensions;
}

// Additional extensions, nonce, acceptable responses.
ASN1::CExtensions CRequest::Impl::makeRequestExtensions() {
    ASN1::CExtensions extensions;
    if (!AdditionalExtensions.empty()) {
        extensions = copyThroughEncoding(AdditionalExtensions);
    }
    if (UseNonce) {
        if (Nonce.cbData() == 0) {
            makeNonce();
        }
        CExtNonce nonce;
        nonce.put_nonce(Nonce);
        extensions.push_back(ASN1::CExtension(nonce, false));
    }
    if (UseAcceptableResponses) {
        CStringList types;
        types.push_back(CStringProxy(kOidBasicResponse));
        CExtAcceptableResponses acceptable;
        acceptable.put_acceptableResponses(types);
        extensions.push_back(ASN1::CExtension(acceptable, false));
    }
    return extensions;
}

// The nonce is the whole DER OCTET STRING around the random bytes: extnValue contains this form, the response returns
// it, and it is compared byte by byte.
void CRequest::Impl::makeNonce() {
    if (!Provider) {
        HCRYPTPROV provider = 0;
        if (!CryptAcquireContextA(&provider, nullptr, nullptr, kNonceProviderType, CRYPT_VERIFYCONTEXT)) {
            ATL2::throwLastErrorOrFail();
        }
        Provider = ATL::CCryptProv(provider);
    }
    const long length = Policy->NonceLength;
    if (length < 0 || length > kNonceMaxLength) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    Nonce = ASN1::toOctetString(ASN1::MakeRandomBigInteger(Provider.get(), static_cast<unsigned long>(length)));
}

}  // namespace Orvane::PKI::OCSP::Client
