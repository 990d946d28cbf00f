// The state of a request: defaults, clearing, copying, and the current policy.
#include "client/request/request_impl.h"

#include "client/policy/address_masks.h"
#include "client/policy/request_checks.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

CRequest::Impl::Impl(CRequest& owner, bool messageMode)
    : Owner(owner), VerifyingHandler(owner, nullptr, 0), MessageMode(messageMode) {
    DefaultConstructorHelper();
}

CRequest::Impl::Impl(CRequest& owner) : Owner(owner), VerifyingHandler(owner, nullptr, 0) {}

CRequest::Impl::~Impl() = default;

void CRequest::Impl::DefaultConstructorHelper() {
    LoadGroupPolicy();
    openCertificates();
    appendEmptyEntry();
    HTTPParams.OCSPAddress = Policy->DefaultOCSPURL.value();
    HTTPParams.ProxyAddress = Policy->DefaultProxy.value();
    HTTPParams.OCSPAuthType = static_cast<enumAuthTypes>(static_cast<long>(
        beginsWithHttps(HTTPParams.OCSPAddress.c_str()) ? Policy->AuthSSLTypeDefault : Policy->AuthTypeDefault));
    HTTPParams.ProxyAuthType = static_cast<enumAuthTypes>(
        static_cast<long>(beginsWithHttps(HTTPParams.ProxyAddress.c_str()) ? Policy->ProxyAuthSSLTypeDefault
                                                                           : Policy->ProxyAuthTypeDefault));
}

// Not cleared: the address and the other connection parameters, flags, signer and signature algorithm, the issuer, the
// client certificate, the last response bytes. A signed object stays frozen.
void CRequest::Impl::ClearRequest() {
    Response.reset();
    Encoded.clear();
    ResponseHandler = nullptr;
    Nonce.clear();
    HTTPParams.HTTPStatus = 0;
    Proven = false;
    UseNonce = false;
    DisableProducedAtCheck = false;
    UseAcceptableResponses = false;
    Certificates.Destroy();
    openCertificates();
    AdditionalExtensions.clear();
    SRCertIDs.clear();
    SRCertificates.clear();
    SRHistoricalRequests.clear();
    SRServiceLocators.clear();
    SRCRLLocators.clear();
    SRAdditionalExtensions.clear();
    RequestorCertificate.reset();
    appendEmptyEntry();
}

// Assigning an object to itself clears it, and the lists stay empty.
CRequest::Impl& CRequest::Impl::operator=(const Impl& source) {
    ClearRequest();
    LoadGroupPolicy();
    const bool distinct = this != &source;
    if (distinct && source.Certificates) {
        Certificates = source.Certificates;
    }
    OCSPAddressSet = source.OCSPAddressSet;
    AddressIsNamed = source.AddressIsNamed;
    UseNonce = source.UseNonce;
    DisableProducedAtCheck = source.DisableProducedAtCheck;
    UseAcceptableResponses = source.UseAcceptableResponses;
    Encoded = source.Encoded;
    ResponseHandler = source.ResponseHandler;
    Nonce = source.Nonce;
    if (distinct) {
        AdditionalExtensions = source.AdditionalExtensions;
        SRCertIDs = source.SRCertIDs;
        SRCertificates = source.SRCertificates;
        SRHistoricalRequests = source.SRHistoricalRequests;
        SRServiceLocators = source.SRServiceLocators;
        SRCRLLocators = source.SRCRLLocators;
        SRAdditionalExtensions = source.SRAdditionalExtensions;
        SignerCertificate = source.SignerCertificate;
        RequestorCertificate = source.RequestorCertificate;
        SignatureAlgorithmOID = source.SignatureAlgorithmOID;
        ClientCertificate = source.ClientCertificate;
        HTTPParams = source.HTTPParams;
    }
    Flags = source.Flags;
    CacheResync = source.CacheResync;
    MessageMode = source.MessageMode;
    return *this;
}

void CRequest::Impl::LoadGroupPolicy() {
    Policy.bind();
    UseNonce = Policy->UseNonceByDefault;
    UseAcceptableResponses = Policy->UseAcceptRespByDefault;
}

void CRequest::Impl::CheckPolicies(bool http) const {
    if (http) {
        checkHttpPolicies(*Policy, {.ocspAddress = HTTPParams.OCSPAddress.c_str(),
                                    .ocspAuthType = static_cast<long>(HTTPParams.OCSPAuthType),
                                    .proxyAddress = HTTPParams.ProxyAddress.c_str(),
                                    .proxyAuthType = static_cast<long>(HTTPParams.ProxyAuthType)});
    } else {
        checkPolicies(*Policy, {.useNonce = UseNonce,
                                .useAcceptableResponses = UseAcceptableResponses,
                                .isSigned = !SignatureAlgorithmOID.empty()});
    }
}

DownloadRules CRequest::Impl::downloads() const {
    DownloadRules rules;
    rules.proxy = HTTPParams.ProxyAddress;
    if (!HTTPParams.ProxyUserName.empty()) {
        rules.credentials = HTTPParams.ProxyUserName + L':' + HTTPParams.ProxyPassword;
    }
    rules.proxyAuthSchemes = permittedAuthSchemes(*Policy, rules.proxy.c_str(), true);
    rules.mayDownload = mayUseProxy(
        *Policy, {.proxyAddress = rules.proxy.c_str(), .proxyAuthType = static_cast<long>(HTTPParams.ProxyAuthType)});
    return rules;
}

void CRequest::Impl::guard() const {
    if (!SignatureAlgorithmOID.empty()) {
        ATL::AtlThrowImpl(status::kRequestSigned);
    }
}

void CRequest::Impl::bound(unsigned long index) const {
    if (index >= SRCertIDs.size()) {
        ATL::AtlThrowImpl(status::kInvalidIndex);
    }
}

void CRequest::Impl::rebuild() {
    Encoded.clear();
    Nonce.clear();
}

void CRequest::Impl::guardBoundRebuild(unsigned long index) {
    guard();
    bound(index);
    rebuild();
}

void CRequest::Impl::openCertificates() {
    if (const std::int32_t opened = Certificates.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr); opened != 0) {
        ATL::AtlThrowImpl(opened);
    }
}

void CRequest::Impl::appendEmptyEntry() {
    SRCertIDs.emplace_back();
    SRCertificates.emplace_back();
}

}  // namespace Orvane::PKI::OCSP::Client
