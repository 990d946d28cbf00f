// What a CResponse holds. Invariants:
// - Encoded is written last in an import: while it is empty, the object counts as never imported.
// - After an import with status 0, SRCertificates has one slot for each single response.
// - The keys of the maps are positions in BasicResponse.get_responses().
// - clear() does not change OCSPCertificate: a certificate accepted for an earlier import stays until another is
// accepted.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "asn1/algorithms/algorithm_identifier.h"
#include "client/policy/policy_binding.h"
#include "client/policy/response_policy.h"
#include "client/response/entry_index.h"
#include "client/response/response.h"
#include "client/shared/network_check.h"
#include "handles/cert_chain_context.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "message/basic_response.h"

namespace Orvane::PKI::OCSP::Client {

struct TALLOW_HIDDEN CResponse::Impl {
    explicit Impl(CResponse& owner);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl& source);

    void clear();
    void Import(const unsigned char* data, unsigned long size);
    void MakeSingleResponseList();

    // The guards of every accessor, in this order.
    void requireImported() const;                  // kNotImported
    void requireSuccessful() const;                // the above, then kNotSuccessful
    void requireEntry(unsigned long index) const;  // the above, then kInvalidIndex

    // By position; kInvalidIndex past the end.
    const CSingleResponse& get_SingleResponse(unsigned long index) const { return Entries.at(index); }

    // Whether the key of `certificate` (DER) made the signature of BasicResponse. Signer keeps a success, so that a
    // verdict in several steps checks the signature once.
    bool isSignedBy(const CBlob& certificate);
    // True when `candidate` fits the responder id and its key verifies the signature; it is then kept, independent of
    // its store, in OCSPCertificate. `numTried` counts the signature checks of a search, which are bounded.
    bool TryToAcceptOCSPCertificate(const ATL2::CCertContext& candidate, int& numTried);
    bool acceptFromStore(HCERTSTORE store, int& numTried);
    const _CERT_CONTEXT* findResponder(void** stores, unsigned long count);
    // The certificate to check with: the one given, the one accepted, or the one found now. Throws kCryptNotFound when
    // there is none, and first what requireSuccessful throws.
    const _CERT_CONTEXT* responderToCheck(const _CERT_CONTEXT* given, void** stores, unsigned long count);
    int IsOCSPNocheck(const _CERT_CONTEXT* cert) const;

    // The steps of VerifyCertificate.
    ATL2::CCertChainContext buildChain(const _CERT_CONTEXT* cert, const ATL2::CCertStore& collection,
                                       DWORD flags) const;
    std::int32_t applyResponderPolicy(const ATL2::CCertChainContext& chain, bool& noCheck);
    std::int32_t checkRevocation(const _CERT_CONTEXT* first, const ATL2::CCertStore& collection, DWORD flags) const;

    CResponse& Owner;
    std::uint32_t Status = 0;
    CBasicResponse BasicResponse;
    EntryIndex Entries;  // of BasicResponse.get_responses(), and reset whenever that changes
    ASN1::CExtensions AdditionalExtensions;
    std::map<unsigned long, CExtCrlID> SRCRLReferences;
    std::map<unsigned long, CExtArchiveCutoff> SRArchiveCutoffs;
    std::map<unsigned long, CExtHistoricalRequest> SRHistoricalRequests;
    std::map<unsigned long, ASN1::CExtensions> SRAdditionalExtensions;
    std::vector<std::int32_t> SRAuthorized;          // by entry, filled by VerifyCertificate; non-zero: authorised
    std::vector<ATL2::CCertContext> SRCertificates;  // the certificate asked about, where known
    ATL2::CCertStore Certificates;                   // carried in the response
    ATL2::CCertContext OCSPCertificate;
    CBlob Signer;  // the certificate whose key verified the signature of BasicResponse; empty until one did
    CBlob Nonce;
    CBlob Encoded;
    bool CheckNextUpdate = false;      // only for a response just received
    _FILETIME* CacheResync = nullptr;  // the caller's
    void* ChainEngine = nullptr;       // the caller's
    std::uint32_t Flags = 0;
    std::optional<DownloadRules> Downloads;  // of the request it answers; without one the service follows policy
    PolicyBinding<CResponsePolicy> Policy;
    ASN1::CAlgorithmIdentifierEx SignatureAlgorithm;  // caches the number that get_SignatureAlgorithm looked up

private:
    void readResponseExtensions();
    void openCertificates();
    void sortExtension(unsigned long index, const CSingleResponse& entry, const ASN1::CExtension& extension);
    void takeHistoricalRequest(unsigned long index, const CSingleResponse& entry, const ASN1::CExtension& extension);
};

}  // namespace Orvane::PKI::OCSP::Client
