// An OCSP response: decoding it, matching it with what was asked, and verifying it.
//
//   CResponse response;
//   response.Import(bytes, size, nullptr);
//   const _CERT_CONTEXT* responder = response.get_OCSPCertificate(nullptr, 0);
//   const unsigned long index = response.get_SRIndexByCert(certificate, issuer);
//   if (index != CResponse::kNoIndex && response.Verify(responder, nullptr) == 0 &&
//       response.VerifyCertificate(responder, true, nullptr, 0) == 0)
//       ... response.get_SRStatus(index) ...                  // kGood, kRevoked or kUnknown, now proven
//
// This proves who signed the entry, not that it is current: see VerifySR. A complete check in one call is that of
// checker/checker.h.
//
// Single responses are addressed by their position in the message, from 0. A response is used by one thread at a time,
// const operations included: they fill caches.
#pragma once

#include <cstdint>
#include <memory>

#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"
#include "message/extensions.h"
#include "message/responder_id.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

class CRequest;

class TALLOW_EXPORT CResponse {
public:
    /// What the index searches return when nothing matches.
    static constexpr unsigned long kNoIndex = ~0UL;

    /// Option bits of put_Flags.
    enum Flag : std::uint32_t { kFlagCacheOnly = 0x4 };  ///< chains and revocation checks use only cached data

    // ---- Make and fill ----------------------------------------------------------------------------------------------

    /// Reads the response policy: kNoPolicy when it could not be loaded.
    CResponse();
    /// Copies by importing the source's bytes; the certificates matched and the options are taken over, verdicts
    /// (authorised entries, accepted responder) are not. Copying an object that was never imported throws what the
    /// decoder throws, and leaves the target of an assignment as never imported; assigning an object to itself changes
    /// nothing.
    CResponse(const CResponse& source);
    CResponse& operator=(const CResponse& source);
    ~CResponse();

    /// Replaces the content by a DER OCSPResponse, or by a bare BasicOCSPResponse. With a `request` the nonces of both
    /// are compared and the certificates asked about are matched to the entries; **with null no nonce is compared**, so
    /// that a replayed response passes all checks. Nothing is compared with the clock. Clears the options below. Throws
    /// kUnsupportedType, kDuplicateExtension, kNonceMismatch, kNextBeforeThis, kThisUpdateTooOld, kCryptNotFound (an
    /// entry that does not name its certificate by CertID), kAsn1Error; the object then counts as never imported.
    void Import(const unsigned char* data, unsigned long size, const CRequest* request);
    /// The imported bytes: size protocol as CRequest::Export. Throws kNotImported.
    void Export(unsigned char* buffer, unsigned long* size) const;

    /// Flag bits. Set the options after an import.
    void put_Flags(unsigned int flags);
    /// CRLs cached before this time are not used. The object keeps the pointer, not the time: the record stays the
    /// caller's and must live as long as this response or a copy of it is used, or until the next import.
    void put_CacheResync(_FILETIME* time);
    /// A chain engine handle of the Crypto service, null for the default; stays the caller's.
    void put_ChainEngine(void* engine);

    // ---- Read -------------------------------------------------------------------------------------------------------
    // All throw kNotImported before an import; all but get_Status and get_SignatureAlgorithm throw kNotSuccessful when
    // the responder did not answer; those with an index throw kInvalidIndex. Pointers belong to the response and live
    // until it changes; null means absent. **An attacker may have written these values**: kGood of get_SRStatus proves
    // nothing before the checks of the section "Verify".

    /// The OCSPResponseStatus number, 0 for successful.
    std::uint32_t get_Status() const;
    unsigned long get_SRNumber() const;
    CDateTime get_ProducedAt() const;
    CResponderID::Type get_responderIDType() const;
    const CBlob& get_responderID() const;
    bool get_HasNonce() const;
    /// The Crypto service's number of the signature algorithm; 0, with last error kBadAlgorithm, when it has none.
    std::uint32_t get_SignatureAlgorithm() const;
    const char* get_SignatureAlgorithmOID() const;
    const CBlob& get_SignatureAlgorithmParameters() const;
    /// Store handle of the certificates carried; owned by the response.
    void* get_Certificates() const;
    /// Response-level extensions but the nonce. Never null.
    const ASN1::CExtensions* get_AdditionalExtensions() const;

    CCertID get_SRCertID(unsigned long index) const;                    ///< the certificate of the entry
    CCertStatus::Type get_SRStatus(unsigned long index) const;          ///< proves nothing before Verify
    const CDateTime* get_SRRevTime(unsigned long index) const;          ///< null unless revoked
    const ASN1::CrlReason* get_SRRevReason(unsigned long index) const;  ///< null when absent
    CDateTime get_SRThisUpdate(unsigned long index) const;              ///< when the status was known to be correct
    const CDateTime* get_SRNextUpdate(unsigned long index) const;       ///< null when absent
    const CExtHistoricalRequest* get_SRHistoricalRequest(unsigned long index) const;  ///< null when absent
    const CDateTime* get_SRArchiveCutoff(unsigned long index) const;                  ///< null when absent
    const CExtCrlID* get_SRCRLReference(unsigned long index) const;                   ///< null when absent
    /// Extensions other than CRL reference and historical request; an archive cutoff shows here too.
    const ASN1::CExtensions* get_SRAdditionalExtensions(unsigned long index) const;

    // ---- Match ------------------------------------------------------------------------------------------------------

    /// Position of the first entry with these hashes and serial number (the hash algorithm is not compared), or
    /// kNoIndex.
    unsigned long get_SRIndexByCertID(const CCertID& certID) const;
    /// Position of the first entry about `cert`, each tried with its own hash algorithm, or kNoIndex; the certificate
    /// found is remembered for VerifySR. `issuer` null builds a chain to find it: kNoSigner when there is none.
    /// A null `cert` throws kInvalidArgument.
    unsigned long get_SRIndexByCert(const _CERT_CONTEXT* cert, const _CERT_CONTEXT* issuer) const;
    /// True when the response's nonce has exactly these bytes.
    [[nodiscard]] bool VerifyNonce(const unsigned char* data, unsigned long size) const;

    // ---- Verify -----------------------------------------------------------------------------------------------------
    // Verdicts are returned, 0 for success; misuse is thrown as above. **A verdict of 0 says nothing about the status**
    // of a certificate: a response that says "revoked" verifies as well. Once all three checks have returned 0, the
    // value of get_SRStatus is proven. `criticalOIDs`: null refuses every critical
    // extension, "*" examines none, a list "1.2.3;4.5.6" names the OIDs that are **refused** when critical.

    /// The responder's certificate: the first that fits the responder id and verifies the signature, of those carried,
    /// those in `stores` (array of `count` store handles, may be null), the user's stores AddressBook, CA and ROOT.
    /// Null when there is none. Owned by the response and valid until the next search or assignment; an import does not
    /// forget it: as long as nothing else is accepted, Verify and VerifyCertificate with a null `cert` use it for the
    /// new content too, so search again after an import.
    const _CERT_CONTEXT* get_OCSPCertificate(void** stores, unsigned long count) const;

    /// Signature and response-level critical extensions. `cert` null takes the responder's certificate as above; a
    /// certificate given is used without checking that it fits the responder id. Returns kBadSignature, kCertCritical.
    /// Throws kCryptNotFound when no responder certificate is to be found.
    [[nodiscard]] std::int32_t Verify(const _CERT_CONTEXT* cert, const char* criticalOIDs) const;

    /// The responder's certificate: chain, authorisation for each entry, revocation. With `verifySR` also VerifySR on
    /// every entry; without it, 0 says nothing about an entry until VerifySR is asked about it. Nor does it say
    /// anything about the signature: give Verify the same certificate. Returns kCertExpired, kWrongUsage, kTrustFail,
    /// kCryptRevoked, kNoRevocationCheck, or the status with which the chain was refused. Throws kCryptNotFound and
    /// converted last errors.
    [[nodiscard]] std::int32_t VerifyCertificate(const _CERT_CONTEXT* cert, bool verifySR, void** stores,
                                                 unsigned long count) const;

    /// One entry; not its certificate status. `authorized` null uses what VerifyCertificate found (kNotSuccessful is
    /// thrown when it did not run), else the value pointed to. The checks, in this order:
    /// - kWrongUsage: the signer may not answer for this entry;
    /// - kNextBeforeThis: nextUpdate is not after thisUpdate;
    /// - kNotCurrent: nextUpdate has passed. **Only for a response that CRequest::Send received**, and not for an entry
    ///   marked as historical. Imported bytes are never compared with the clock, nor are producedAt and thisUpdate
    ///   here: an old response, and one from the future, passes.
    /// - kCertExpired: thisUpdate is not before the end of validity of the certificate, where one was matched to the
    ///   entry (get_SRIndexByCert, or an import with a request made from certificates);
    /// - kCriticalSingleExtension: a critical extension of the entry is refused.
    [[nodiscard]] std::int32_t VerifySR(unsigned long index, const char* criticalOIDs, bool* authorized) const;

    /// Revocation state of `cert` under `issuer` from the CRL stores and `store`: 0, or the converted last error of the
    /// service, kFail when it sets none. A service for callers; the checks above do not use it.
    [[nodiscard]] std::int32_t VerifyRevocation(const _CERT_CONTEXT* cert, const _CERT_CONTEXT* issuer,
                                                void* store) const;

private:
    friend class CRequest;
    struct Impl;

    // Import with a request. `isFromWire`: the bytes were received just now, so VerifySR requires nextUpdate to lie in
    // the future; a stored response is never compared with the clock.
    void importFor(const CRequest& request, const unsigned char* data, unsigned long size, bool isFromWire);

    std::unique_ptr<Impl> impl_;
};

/// Non-zero when the certificate's SHA-1 thumbprint is in the policy list AuthorizedOCSPs, which is read anew at
/// every call. Throws the converted last error when the thumbprint cannot be computed.
[[nodiscard]] TALLOW_EXPORT int IsOCSPAuthorized(const _CERT_CONTEXT* cert);

}  // namespace Orvane::PKI::OCSP::Client
