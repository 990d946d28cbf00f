// A whole OCSP request (RFC 6960, 4.1.1).
//
//   OCSPRequest ::= SEQUENCE { tbsRequest TBSRequest, optionalSignature [0] EXPLICIT OCSPSignature OPTIONAL }
//   TBSRequest  ::= SEQUENCE { version [0] EXPLICIT INTEGER OPTIONAL, requestorName [1] EXPLICIT GeneralName OPTIONAL,
//                              requestList SEQUENCE OF Request, requestExtensions [2] EXPLICIT Extensions OPTIONAL }
#pragma once

#include <memory>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/blob.h"
#include "message/single_request.h"

namespace Orvane::PKI::OCSP {

/// Build: put_requestList, put_requestExtensions, for a signed request put_requestorName and sign, then encode.
/// Read: decode, then the getters. Pointers and references from getters live until the object changes.
class TALLOW_EXPORT CRequestMessage {
public:
    CRequestMessage();
    /// `writeVersion` true writes the version field even though it holds its default, v1, for the few responders that
    /// insist on seeing it; false gives plain DER, which leaves the default out.
    explicit CRequestMessage(bool writeVersion);
    CRequestMessage(const CRequestMessage&);
    CRequestMessage& operator=(const CRequestMessage&);
    ~CRequestMessage();

    /// Replaces the content by a whole DER OCSPRequest. Throws kAsn1Error for malformed input, kAsn1Memory when memory
    /// is exhausted or the records would take more of it than 64 times the size of `data` and 1 MiB; the object keeps
    /// its old content then.
    void decode(const CBlob& data);
    /// The whole DER OCSPRequest. After decode or sign with the tbsRequest bytes that were read or signed.
    CBlob encode() const;

    const CSingleRequestList& get_requestList() const;
    void put_requestList(const CSingleRequestList& list);
    void put_requestList(CSingleRequestList&& list);

    /// Null when absent; an empty list when the message has a list without an entry.
    const ASN1::CExtensions* get_requestExtensions() const;
    void put_requestExtensions(const ASN1::CExtensions* extensions);

    /// The DER Name inside requestorName's directoryName. A name that was read is encoded again from its values, so
    /// that one in lax BER comes back as DER. When requestorName is absent or of another kind: null for an unsigned
    /// request, an empty blob for a signed one.
    const CBlob* get_requestorName() const;
    void put_requestorName(const CBlob* name);

    /// Null for an unsigned request.
    const ASN1::CAlgorithmIdentifier* get_signatureAlgorithm() const;
    /// The DER certificates that travel with the signature; null when absent.
    const CBlobList* get_signatureCerts() const;

    /// Signs the TBSRequest with the private key of the provider handle `hProv` (stays the caller's) and key
    /// specification `keySpec`. `certs` may be null or empty; the field is left out then. Call it after all put_
    /// operations: changing the content drops the signature. Throws the converted last error when the key cannot sign.
    void sign(unsigned long long hProv, unsigned int keySpec, const ASN1::CAlgorithmIdentifierEx& signatureAlgorithm,
              const CBlobList* certs);

    /// True when the signature verifies with the public key of the DER `certificate`; false when it does not, and for
    /// an unsigned request. Throws the converted last error when the check cannot be made: the bytes are no
    /// certificate, the algorithm is not known or refused.
    [[nodiscard]] bool verify(const CBlob& certificate) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace Orvane::PKI::OCSP
