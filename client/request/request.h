// An OCSP request: what is asked about which certificates, how to reach a responder, and what came back.
//
//   CRequest request(certificate, issuer);               // both const _CERT_CONTEXT*
//   request.put_OCSPAddress(L"http://ocsp.example/");    // or leave it to the certificate's own addresses
//   const CResponse& response = request.Send(true);      // throws when no responder answers
//   if (!request.get_Proven()) ...                       // Send may also return a response that was refused
//
// The response belongs to the request: CRequest(certificate, issuer).Send(true) leaves a reference to nothing. A
// complete check in one call is that of checker/checker.h.
//
// A request starts open; building it (Send, Export) fixes its bytes until something of the message changes; signing it
// freezes it: what changes the message then throws kRequestSigned. A request is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "client/policy/address_masks.h"
#include "client/request/attempt_stage.h"
#include "export.h"
#include "foundation/blob.h"
#include "message/cert_id.h"
#include "message/extensions.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

class CResponse;
class IResponseHandler;

/// How to authenticate, by the numbers that settings use. Only policy checks read them: a login is sent with whatever
/// scheme the server asks for and policy permits.
enum enumAuthTypes : std::uint32_t {
    kAuthAnonymous = kAuthTypeAnonymous,
    kAuthBasic = kAuthTypeBasic,
    kAuthNtlm = kAuthTypeNtlm,
    kAuthDigest = kAuthTypeDigest,
    kAuthNegotiate = kAuthTypeNegotiate,
};

class TALLOW_EXPORT CRequest {
public:
    /// Which certificates travel with a signed request.
    enum enumCertToInclude : std::uint32_t {
        CertsNone = 0,
        CertsSigner = 1,
        CertsChainNoRoot = 2,
        CertsChainWithRoot = 3,
        CertsFromPolicy = 255,  ///< what the policy value CertsToInclude says; -1 there means none
    };

    /// Bits of put_Flags.
    enum Flag : std::uint32_t {
        kFlagReserved = 0x1,    ///< accepted, without effect
        kFlagAllowCache = 0x2,  ///< an answer may come from the service's cache
        kFlagCacheOnly = 0x4,   ///< no responder is contacted; verifying may still download issuers and CRLs
    };

    /// What an entry of get_Attempts is about.
    enum AttemptKind : std::uint32_t {
        kAsked,       ///< an attempt; after redirects, its last address
        kRedirected,  ///< an address that redirected to that of the next entry
        kSkipped,     ///< a responder that was not asked: the limits of one check were reached
    };

    /// One attempt of the last Send at one responder, or one address on the way to it.
    struct Attempt {
        AttemptKind kind = kAsked;
        std::wstring address;     ///< without user name and password
        std::int32_t status = 0;  ///< 0 when the attempt passed, else why it failed or was refused; never 0 for
                                  ///< another kind: kHttpStatus (redirected), kNotAsked (skipped)
        AttemptStage stage = AttemptStage::kNotAsked;  ///< how far it got
        unsigned long httpStatus = 0;                  ///< 0 when no answer came
        std::uint32_t lastError = 0;         ///< the service's last error in this attempt when no answer came, else 0.
                                             ///< ATL2::convertLastError turns it into a status
        bool fromCache = false;              ///< the answer came from the service's cache
        std::uint32_t skippedDownloads = 0;  ///< issuer certificates and CRLs not fetched because a limit was reached
    };

    // ---- Make -------------------------------------------------------------------------------------------------------
    // All constructors read the request policy (kNoPolicy when it could not be loaded) and open an in-memory store
    // (converted last error). The policy gives the start values of nonce, acceptable responses, address and proxy.

    CRequest();
    /// `messageMode` true writes the message's version field although it holds its default.
    explicit CRequest(bool messageMode);
    /// As CRequest(), then put_SRCertIDFromCert(certificate, issuer, 0, nullptr).
    CRequest(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer);
    /// A copy shares the certificate store of its source and takes over what was asked and how to reach the responder;
    /// it does not take over the issuer found, the last response and its bytes, or the nonce provider.
    CRequest(const CRequest& source);
    /// Assigning an object to itself clears it first: its identifiers, extensions and nonce are lost.
    CRequest& operator=(const CRequest& source);
    ~CRequest();

    // ---- What is asked ----------------------------------------------------------------------------------------------
    // A fresh object has one empty entry. Operations that change the message throw kRequestSigned on a signed request,
    // kInvalidIndex for an index not below get_SRNumber(), and otherwise drop the encoded request and its nonce, so
    // that the next build draws a new one.

    /// Appends an empty entry. The encoded request stays until the entry is filled.
    void AddSingleRequest();
    unsigned long get_SRNumber() const;

    /// Names `certificate` in entry `index`. With `issuer` null the issuer found earlier by this object is used, else
    /// it is looked for by building a chain. `hashOID` null or empty leaves the hash to the policy value CertIDHashAlg
    /// and then to the certificate's own signature algorithm (SHA-1 unless that is of another family); an explicit
    /// SHA-1 yields to the policy as well. Both certificates are duplicated. Throws kIssuerMismatch when the issuer's
    /// subject is not the certificate's issuer name, kNoSigner when no issuer was found, what CCertID throws. A null
    /// certificate throws kInvalidArgument, or kFail when the issuer would have to be looked for; in the operations
    /// below kInvalidArgument.
    void put_SRCertIDFromCert(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer, unsigned long index,
                              const char* hashOID);
    /// Names a certificate only by its identifier. Its own responder addresses are then not known.
    void put_SRCertID(CCertID certID, unsigned long index);
    CCertID get_SRCertID(unsigned long index) const;

    /// Per-entry extensions; null removes. The historical request is sent as critical.
    void put_SRHistoricalRequest(CExtHistoricalRequest* extension, unsigned long index);
    void put_SRServiceLocator(CExtServiceLocator* extension, unsigned long index);
    /// From the certificate's Authority Information Access; a certificate without it gives only the issuer name.
    void put_SRServiceLocatorFromCertAIA(const _CERT_CONTEXT* certificate, unsigned long index);
    /// From the certificate's CRL distribution points; kFileNotFound when it has none.
    void put_SRCRLLocatorFromCertCDP(const _CERT_CONTEXT* certificate, unsigned long index);
    /// Null when absent; owned by the request, valid until the entry changes.
    const CExtHistoricalRequest* get_SRHistoricalRequest(unsigned long index) const;
    const CExtServiceLocator* get_SRServiceLocator(unsigned long index) const;
    const CExtCRLLocator* get_SRCRLLocator(unsigned long index) const;
    const ASN1::CExtensions* get_SRAdditionalExtensions(unsigned long index) const;

    void put_UseNonce(bool use);                ///< whether a nonce is sent
    bool get_UseNonce() const;                  ///< whether a nonce is sent
    void put_UseAcceptableResponses(bool use);  ///< whether the extension acceptable responses is sent
    bool get_UseAcceptableResponses() const;    ///< whether the extension acceptable responses is sent

    /// Request-level extensions other than nonce and acceptable responses; copied, null empties the list. A nonce
    /// extension in first place becomes the request's nonce when none is in use; any other nonce extension throws
    /// kDuplicateExtension.
    void put_AdditionalExtensions(ASN1::CExtensions* extensions);
    /// Never null.
    const ASN1::CExtensions* get_AdditionalExtensions() const;

    // ---- How to reach the responder ---------------------------------------------------------------------------------
    // None of these is part of the message: they work on a signed request too. Texts are copied; a null text throws
    // kInvalidArgument, except for the proxy's address. Getters return pointers that live until the value changes.

    /// Fixes the responder: Send then asks no other. A user name and password in it are sent when the responder asks
    /// for them, with a scheme that policy does not deny (AuthDeny..., AuthSSLDeny...).
    void put_OCSPAddress(const wchar_t* address);
    /// Takes the `index`-th OCSP address of the certificate, which Send then trusts no more than one it finds by
    /// itself: it may not contain a user name or name a link-local address. False, and no change, when there are not
    /// that many; what the decoder throws for a malformed extension.
    bool put_OCSPAddressFromCertAIA(const _CERT_CONTEXT* certificate, unsigned long index);
    const wchar_t* get_OCSPAddress() const;
    void put_OCSPAuthType(enumAuthTypes type);
    enumAuthTypes get_OCSPAuthType() const;
    /// User name and password for the responder are kept and copied, but never sent.
    void put_OCSPUserName(const wchar_t* name);
    const wchar_t* get_OCSPUserName() const;
    void put_OCSPPassword(const wchar_t* password);
    const wchar_t* get_OCSPPassword() const;
    /// Null makes it empty. A proxy that is set is used.
    void put_ProxyAddress(const wchar_t* address);
    const wchar_t* get_ProxyAddress() const;
    void put_ProxyAuthType(enumAuthTypes type);
    enumAuthTypes get_ProxyAuthType() const;
    /// Sent to the proxy once the name is not empty.
    void put_ProxyUserName(const wchar_t* name);
    const wchar_t* get_ProxyUserName() const;
    void put_ProxyPassword(const wchar_t* password);
    const wchar_t* get_ProxyPassword() const;
    /// Duplicated; null takes it away. A certificate without key information is replaced by the same one of the user's
    /// store "My", if it is there.
    void put_ClientCertificate(const _CERT_CONTEXT* certificate);
    /// Owned by the request; null when none was put.
    const _CERT_CONTEXT* get_ClientCertificate() const;
    /// Flag bits.
    void put_Flags(unsigned int flags);
    unsigned int get_Flags() const;
    /// Cached answers and CRLs from before this time are not used. The object keeps the pointer, not the time: the
    /// record stays the caller's and must live as long as the request, its copies, or any response obtained from them
    /// is used, since VerifyCertificate of a response reads it again. Null accepts any age.
    void put_CacheResync(_FILETIME* time);
    /// True leaves out the check of producedAt against the present time.
    void put_DisableProducedAtCheck(bool disable);
    bool get_DisableProducedAtCheck() const;
    /// Called after each response; stays the caller's and must outlive Send. Null for none.
    void put_ResponseHandler(IResponseHandler* handler);

    // ---- Ask --------------------------------------------------------------------------------------------------------

    /// Builds the request if needed, asks, and returns the response; it belongs to the request and is valid until the
    /// next Send, import or assignment, or the end of the object: copy it to keep it longer. Blocks for the time of the
    /// exchanges.
    ///
    /// With an address fixed by the caller, several entries, or no certificate known, one attempt is made. Otherwise
    /// every OCSP address of the certificate, of its issuer's store property and of policy is tried once, until one
    /// answer passes; of failed attempts the one that came closest to an answer is reported.
    ///
    /// `verify` true proves every answer (see CVerifyingResponseHandler::OnResponse), with the certificates of the
    /// message and of the stores: an intermediate issuer that was only passed to this object is not found. False leaves
    /// all of it to the caller: an attacker may have signed the response.
    ///
    /// **A returned response is not necessarily proven: check get_Proven().** An ordinary certificate names its
    /// responder first and then, as an entry of another kind, its issuer's certificate. When the responder's answer is
    /// refused, by the verification or by the handler, the list ends with an entry that is not a responder, and the
    /// refused response is returned as the best one available, without an exception. The same happens when the last of
    /// several responders fails. So use the response only if get_Proven() is true, or verify it yourself.
    ///
    /// All of it is one check (docs/security.md): the exchanges, redirects, downloads and the verification end after
    /// check_timeout_ms, and at most max_responders addresses of the certificate are asked. What was left out is listed
    /// in get_Attempts. A cached answer that is refused is removed, and the responder asked without the cache; the
    /// handler then sees two responses of it.
    ///
    /// Throws: policy refusals (0xC2110101 to 0xC2110111), kAddressHasCredentials, kCryptNotFound for an entry that
    /// names no certificate, kNoResponder, kHttpStatus, kNotSuccessful, kNotCurrent, kThisUpdateTooOld, what
    /// CResponse::Import throws, what the handlers refuse with, kCertificateRevoked for a revoked certificate.
    const CResponse& Send(bool verify);

    /// The DER request, built if needed. Writes its size to `*size`, which must not be null; with a non-null `buffer`
    /// also the bytes, when the room offered in `*size` suffices, else kMoreData is thrown.
    void Export(unsigned char* buffer, unsigned long* size);

    // ---- Sign -------------------------------------------------------------------------------------------------------

    /// Builds the request and signs it with the private key that the key provider information of `signer` names
    /// (CERT_KEY_PROV_INFO_PROP_ID). The subject of `signer` becomes the requestorName (RFC 6960, 4.1.2); the hash is
    /// the first of the key's provider that fits the key. The certificates asked for travel in the message and show in
    /// get_Certificates; a value other than those listed counts as CertsSigner. `password` opens the key, null when it
    /// needs none. Afterwards the message is frozen: only importing or assigning changes it.
    ///
    /// **A request that is already built silently stays unsigned**: sign before Export and Send, or change the message
    /// first; get_SignatureAlgorithmOID shows whether it is signed. Throws kRequestSigned on a signed request, what
    /// the build throws (kCryptNotFound for an entry without certificate), kBadAlgorithm when no algorithm fits the
    /// key, the converted last error when the key (kNoKeyProperty, kBadKeyset, kBadPublicKey), the PIN (kPinMissing,
    /// kWrongPin) or the chain fails. The request then is unsigned and can be signed again; certificates that had been
    /// added stay in its store. A null signer builds the request unsigned.
    void Sign(const _CERT_CONTEXT* signer, enumCertToInclude certsToInclude, const wchar_t* password);

    // ---- Receive ----------------------------------------------------------------------------------------------------
    // For the side that receives requests, and for forwarding requests made elsewhere:
    //
    //   CRequest received;
    //   received.Import(bytes, size);
    //   const _CERT_CONTEXT* signer = received.FindSigner(nullptr, 0);
    //   if (signer != nullptr && received.Verify(signer, nullptr, true) == 0 &&
    //       received.VerifyCertificate(signer, nullptr, 0) == 0) ...
    //
    // Check in this order: the signature first, then the certificate. VerifyCertificate may contact addresses that the
    // certificates name.
    //
    // Verdicts are returned, 0 for no objection; misuse is thrown. `criticalList` names the critical extensions that
    // are **refused**, as dotted texts separated by ";"; what it does not name passes, and an empty list refuses
    // nothing. Null refuses every critical extension, "*" none. Extensions that the request knows by name (nonce,
    // acceptable responses, historical request, service locator, CRL locator) are not examined. `stores` is an array of
    // `storeCount` store handles, null with count 0; they stay the caller's.

    /// Replaces the content by a whole DER OCSPRequest; Export and Send then give these very bytes, until the message
    /// is changed. Nonce, acceptable responses and extensions are those of the message, the response handler is
    /// forgotten, address and other connection parameters stay. The certificates asked about are known by their
    /// identifiers only. A signed message freezes the request; an unsigned one does not thaw one that is frozen.
    ///
    /// Throws kInvalidArgument for a null `data` with a size, kAsn1Error for bytes that are no request,
    /// kDuplicateExtension for a second extension of one known by name, kCryptNotFound for an entry that does not name
    /// its certificate by CertID, the converted last error for a malformed certificate. The request is then filled in
    /// part: assign another or import again before using it.
    void Import(const unsigned char* data, unsigned long size);

    /// Signature and critical extensions, those of the entries too when `checkSingleRequests` is true. Entries are
    /// checked with null instead of `criticalList`, except that "*" leaves them out. An unsigned request passes without
    /// a signature. `certificate` null takes the requestor's as get_RequestorCertificate(nullptr, 0) finds it, by name
    /// only: where several certificates have that name, pass the one that FindSigner returns. Whether the certificate
    /// can be trusted is not checked here, but by VerifyCertificate. Returns kBadSignature, kCertCritical. Throws
    /// kCryptNotFound when a signed request comes without a certificate to check it with, the converted last error when
    /// the check cannot be made (an algorithm unknown or too weak).
    [[nodiscard]] std::int32_t Verify(const _CERT_CONTEXT* certificate, const char* criticalList,
                                      bool checkSingleRequests) const;
    /// Critical extensions of one entry. Returns kCertCritical. Throws kInvalidIndex, except for the list "*".
    [[nodiscard]] std::int32_t VerifySR(unsigned long index, const char* criticalList) const;

    /// Whether the requestor's certificate has a chain to a trusted root, is in date and, like those above it but the
    /// root, not revoked. `certificate` null takes the requestor's as get_RequestorCertificate finds it. Certificates
    /// between come from the message, `stores` and the service. Addresses in certificates are contacted (for CRLs)
    /// only when the certificates already available lead to a trusted root. Returns the status of the chain policy
    /// (kChaining, kCertSignature, kUntrustedRoot, kCryptRevoked, kBasicConstraints, kWrongUsage, kTrustFail,
    /// kCertExpired, kNoRevocationCheck). Throws kCryptNotFound without a certificate, kRequestSigned when none is
    /// given for an unsigned request, converted last errors. kFlagCacheOnly has no effect here: those addresses are
    /// contacted all the same.
    [[nodiscard]] std::int32_t VerifyCertificate(const _CERT_CONTEXT* certificate, void** stores,
                                                 unsigned long storeCount) const;

    /// The requestor's certificate. **Ownership differs**: on an object that signed the request the result is a new
    /// reference to its signer, which the caller frees with CertFreeCertificateContext, each time; otherwise it is
    /// the request's own, valid until the next search, import or assignment, and the caller does not free it.
    ///
    /// On an object that did not sign, it is the first certificate whose subject is the requestorName, of those in the
    /// message, those in `stores` (a store that cannot be used is skipped), the user's store "My". Null when there
    /// is none. A name proves nothing: Verify checks whether the key fits. Throws kRequestSigned on an unsigned
    /// request, the converted last error (kFileNotFound) when "My" cannot be opened.
    const _CERT_CONTEXT* get_RequestorCertificate(void** stores, unsigned long storeCount) const;

    /// The certificate whose key made the signature, of those with the requestor's name in the message, in `stores` and
    /// in the user's store "My"; the first 16 are tried. Null when none fits. The request owns it, also on an object
    /// that signed the request, and keeps it as get_RequestorCertificate does: Verify and VerifyCertificate with a null
    /// certificate use it. Throws kRequestSigned on an unsigned request, and what Verify throws.
    [[nodiscard]] const _CERT_CONTEXT* FindSigner(void** stores, unsigned long storeCount) const;

    /// The Crypto service's number of the signature algorithm; 0, with last error kBadAlgorithm, when it has none.
    /// Throws kRequestSigned on an unsigned request.
    std::uint32_t get_SignatureAlgorithm() const;

    // ---- What came back ---------------------------------------------------------------------------------------------

    /// The HTTP body last received with status 200, **whether or not it was accepted**: after Send(true) also that of a
    /// response just rejected, and not always that of the response which Send returned. Store a response with
    /// CResponse::Export instead, after get_Proven() returned true. Empty before the first one, and for a copy.
    CBlob get_Response() const;
    /// The HTTP status of the last exchange; 456 when a cached exchange got no answer, 0 before any exchange.
    unsigned long get_HTTPStatus() const;

    /// Whether the response that the last Send returned was verified by it, found to prove every asked certificate
    /// good, and refused by no handler. False after Send(false), after a Send that threw, for a response that was
    /// returned although it was refused, and for a copy of the request.
    [[nodiscard]] bool get_Proven() const;

    /// The attempts of the last Send, in order, with every redirect; valid until the next one.
    const std::vector<Attempt>& get_Attempts() const;

    /// The store handle of certificates that travelled with the request; owned by the request, and replaced when
    /// another one is imported or assigned to it.
    void* get_Certificates() const;
    /// Dotted text; empty for an unsigned request.
    const char* get_SignatureAlgorithmOID() const;

private:
    friend class CResponse;
    friend class ResponderExchange;
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Orvane::PKI::OCSP::Client
