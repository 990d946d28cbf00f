// What a CRequest holds. Invariants:
// - SRCertIDs and SRCertificates are parallel and have one entry for each single request; a fresh object has one.
// - A CCertID whose serial number has length 0 is an entry that is not yet specified.
// - An Encoded that is not empty is current: whatever changes the message clears it together with Nonce.
// - SignatureAlgorithmOID not empty freezes the message.
// - Certificates holds an open store between operations.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "asn1/extensions/access_description.h"
#include "client/flat/verifying_response_handler.h"
#include "client/policy/policy_binding.h"
#include "client/policy/request_policy.h"
#include "client/request/request.h"
#include "client/request/win_http_params.h"
#include "client/shared/network_check.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "handles/crypto_handles.h"
#include "message/request_message.h"
#include "message/single_request.h"

namespace Orvane::PKI::OCSP::Client {

// Deletes a response. CResponse is incomplete here: responses include requests, not the reverse.
struct ResponseDelete {
    void operator()(CResponse* response) const noexcept;
};

struct TALLOW_HIDDEN CRequest::Impl {
    Impl(CRequest& owner, bool messageMode);
    // For copies: every member has its empty default; the assignment that follows fills it.
    explicit Impl(CRequest& owner);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl& source);

    void DefaultConstructorHelper();
    void ClearRequest();
    void LoadGroupPolicy();
    // The check before building and sending (false), and the one before each exchange, once the address is known.
    void CheckPolicies(bool http) const;

    // Called first by every accessor that changes the message.
    void guard() const;                     // throws kRequestSigned
    void bound(unsigned long index) const;  // throws kInvalidIndex
    void rebuild();                         // drops Encoded and Nonce
    void guardBoundRebuild(unsigned long index);

    void openCertificates();  // an in-memory store into Certificates
    void appendEmptyEntry();

    // Turns the members into the DER request in Encoded; does nothing when Encoded is there already. With a signer the
    // message is signed. A failure leaves Encoded empty and keeps the nonce for the next build.
    void MakeRequest(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude, const wchar_t* password);
    CSingleRequestList makeRequestList() const;
    ASN1::CExtensions makeSingleRequestExtensions(unsigned long index) const;
    ASN1::CExtensions makeRequestExtensions();
    void makeNonce();

    void Sign(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude, const wchar_t* password);
    void SignRequest(CRequestMessage& message, const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude,
                     const wchar_t* password);
    CBlobList includeCertificates(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude);
    void includeCertificate(CBlobList& certs, const _CERT_CONTEXT* cert);

    void Import(const unsigned char* data, unsigned long size);
    void importRequestExtension(const ASN1::CExtension& extension);
    void importRequestList(const CSingleRequestList& list);
    void importSingleRequestExtension(unsigned long index, const ASN1::CExtension& extension);

    void requireSigned() const;  // throws kRequestSigned for an unsigned request
    template <typename Accepts>
    const _CERT_CONTEXT* searchRequestor(const CRequestMessage& message, void** stores, unsigned long count,
                                         Accepts accepts);
    const _CERT_CONTEXT* searchRequestor(void** stores, unsigned long count);
    const _CERT_CONTEXT* searchSigner(void** stores, unsigned long count);
    ATL2::CCertContext certificateToCheck(const _CERT_CONTEXT* given, void** stores, unsigned long count);

    void put_SRCertIDFromCert(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer, unsigned long index,
                              const char* hashOID);
    void findIssuerByChain(const _CERT_CONTEXT* certificate);
    // The OCSP addresses that the local machine's stores keep for the issuer; possibly empty.
    ASN1::CAuthorityInfoAccessSyntax GetOCSPAddressFromIssuerCertProp() const;

    const CResponse& Send(bool verify);
    // The rules for downloads that this request causes: through its proxy, if policy permits it.
    DownloadRules downloads() const;

    CRequest& Owner;
    bool OCSPAddressSet = false;
    bool AddressIsNamed = true;  // the caller or the administrator chose OCSPAddress, not a certificate
    bool UseNonce = false;
    bool DisableProducedAtCheck = false;
    bool UseAcceptableResponses = false;
    AttemptStage Level = AttemptStage::kNotAsked;  // how far the last attempt got
    // Raised while Send imports a response. After an import that threw it stays raised until one succeeds: a response
    // that a caller imports for this request meanwhile must be current too.
    bool ImportingResponse = false;
    std::uint32_t Flags = 0;
    _FILETIME* CacheResync = nullptr;  // the caller's
    CBlob Nonce;                       // the whole DER OCTET STRING when made here
    CBlob Encoded;
    ASN1::CExtensions AdditionalExtensions;
    IResponseHandler* ResponseHandler = nullptr;  // the caller's
    std::vector<CCertID> SRCertIDs;
    std::vector<ATL2::CCertContext> SRCertificates;  // empty handle where only a CCertID is known
    std::map<unsigned long, CExtHistoricalRequest> SRHistoricalRequests;
    std::map<unsigned long, CExtServiceLocator> SRServiceLocators;
    std::map<unsigned long, CExtCRLLocator> SRCRLLocators;
    std::map<unsigned long, ASN1::CExtensions> SRAdditionalExtensions;
    ATL2::CCertContext SignerCertificate;
    std::string SignatureAlgorithmOID;
    ATL2::CCertStore Certificates;
    ATL2::CCertContext RequestorCertificate;
    ATL2::CCertContext IssuerCertificate;  // one for the whole object; the first one found stays
    ATL2::CCertContext ClientCertificate;
    WinHTTPParams HTTPParams;
    std::unique_ptr<CResponse, ResponseDelete> Response;
    CBlob ResponseBytes;
    ATL::CCryptProv Provider;  // kept for making nonces
    PolicyBinding<CRequestPolicy> Policy;
    CVerifyingResponseHandler VerifyingHandler;
    bool MessageMode = false;
    bool IsCacheOff = false;        // responses neither come from the service's cache nor are kept there
    bool Proven = false;            // the response that the last Send returned passed the verifying handler
    std::vector<Attempt> Attempts;  // of the last Send, to explain its outcome

private:
    struct Candidates {
        ASN1::CAuthorityInfoAccessSyntax list;
        std::size_t numOwn = 0;  // of the certificate itself, at the front; the others are the administrator's
    };

    // The state of the current attempt, besides Level and HTTPParams.
    struct Progress {
        std::wstring hop;                    // the address a redirect led to; empty before any
        std::int32_t hopRefusal = 0;         // why policy refused that address
        std::uint32_t lastError = 0;         // of the exchange
        bool fromCache = false;              // the service answered from its cache
        std::uint32_t skippedDownloads = 0;  // of the check, when the attempt began
    };

    // How one candidate ended: at most one of the two is not 0.
    struct Outcome {
        std::int32_t failure = 0;  // status of an attempt without an answer
        std::int32_t refusal = 0;  // of a handler
    };

    friend class ResponderExchange;

    // One attempt (attempt.cpp).
    void SendOCSPRequest();
    // Its first half: the body of a response with HTTP status 200.
    CBlob askForBody();
    // The same, with a failure recorded as the outcome of the attempt.
    CBlob askForBodyRecorded();
    CBlob exchange();
    void importReceived(CBlob body);
    void requirePermittedLogin() const;
    static BOOL onRedirect(void* request, const wchar_t* target, DWORD httpStatus);
    void takeRedirect(const wchar_t* target, DWORD httpStatus);
    void checkProducedAt() const;
    void checkThisUpdates() const;
    // SendOCSPRequest with the negative status it threw as the result, 0 for none.
    std::int32_t attempt();
    // Asks the handlers; returns their first refusal, or 0. What they throw is recorded and passes through.
    std::int32_t askHandlers(bool verify);
    // Runs a step; what it throws is recorded as the outcome of the attempt and passes through.
    template <typename Step>
    void recordFailureOf(Step step);
    void recordAttempt(std::int32_t outcome);
    void recordSkipped(const wchar_t* address);
    // Drops an answer with this outcome from the cache if the outcome refuses it. Returns whether it came from there,
    // so that the responder is to be asked again.
    bool forgetRefusedAnswer(std::int32_t outcome) const;

    // The sequence of attempts (send.cpp, candidates.cpp).
    // Runs `ask`, an attempt with its handlers, and runs it once more without the cache when a cached answer was
    // refused. Returns or throws what the last run did.
    template <typename Ask>
    std::int32_t askPastCache(Ask ask);
    void attemptDirectly();
    const CResponse& sendDirect(bool verify);
    Outcome askCandidate(const wchar_t* address, bool isOwn, bool verify);
    const CResponse& sendToCandidates(const Candidates& candidates, bool verify);
    Candidates gatherCandidates() const;

    const NetworkCheck* Check = nullptr;  // of the current Send
    Progress Present;
    bool WireOnly = false;  // the cache was asked and its answer refused
};

}  // namespace Orvane::PKI::OCSP::Client
