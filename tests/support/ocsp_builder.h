// OCSP responses in which every field can be set, also to invalid values. Written with the TLV writer, signed with
// libcrypto.
//
//   Bytes der = buildResponse(ResponseSpec(pki.delegate, {EntrySpec(certIdOf(pki.good, pki.ca))}));
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/pki.h"

namespace testkit {

inline constexpr const char* kBasicResponseOid = "1.3.6.1.5.5.7.48.1.1";
inline constexpr const char* kNonceOid = "1.3.6.1.5.5.7.48.1.2";

struct CertIdSpec {
    std::string hashOid = kSha1Oid;
    Bytes issuerNameHash;
    Bytes issuerKeyHash;
    Bytes serial;  // content octets

    Bytes encode() const;
};

/// The identifier of `subject` under `issuer`.
CertIdSpec certIdOf(const Identity& subject, const Identity& issuer, const std::string& hashOid = kSha1Oid);

struct ExtensionSpec {
    std::string oid;
    bool critical = false;
    Bytes value;  // content of extnValue

    Bytes encode() const;
};

enum class EntryStatus { kGood, kRevoked, kUnknown };

struct EntrySpec {
    EntrySpec() = default;
    explicit EntrySpec(CertIdSpec certId, EntryStatus entryStatus = EntryStatus::kGood);

    CertIdSpec id;
    EntryStatus status = EntryStatus::kGood;
    std::string revocationTime = generalizedTimeText(-7200);
    std::optional<int> revocationReason;
    std::string thisUpdate = generalizedTimeText(-60);
    std::optional<std::string> nextUpdate = generalizedTimeText(3600);
    std::vector<ExtensionSpec> extensions;
    std::optional<Bytes> raw;  // replaces the whole SingleResponse

    Bytes encode() const;
};

enum class ResponderIdKind { kByName, kByKey };

struct ResponseSpec {
    explicit ResponseSpec(Identity responseSigner, std::vector<EntrySpec> responses = {});

    // Outermost.
    int responseStatus = 0;  // responseBytes are written for 0 only
    std::string responseType = kBasicResponseOid;
    bool bare = false;  // only the BasicOCSPResponse
    Bytes trailing;     // after the whole message

    // ResponseData.
    std::optional<int> version;            // [0] left out when absent
    std::optional<Bytes> versionContents;  // takes the place of the number
    ResponderIdKind responderIdKind = ResponderIdKind::kByName;
    std::optional<Bytes> responderId;  // the whole CHOICE in place of what follows from `signer`
    std::string producedAt = generalizedTimeText(0);
    std::vector<EntrySpec> entries;
    std::vector<ExtensionSpec> extensions;

    // Signature and certificates.
    Identity signer;
    std::string hash = "SHA256";
    bool pss = false;
    std::optional<Bytes> signatureAlgorithm;              // DER in place of the true one
    bool corruptSignature = false;                        // last octet flipped
    bool includeSigner = true;                            // the signer's certificate comes first
    std::vector<Bytes> certificates;                      // further ones, in this order
    std::optional<std::vector<Bytes>> exactCertificates;  // these and no other, in this order
};

Bytes buildResponse(const ResponseSpec& spec);

/// A nonce extension whose value is an OCTET STRING of `nonce`.
ExtensionSpec nonceExtension(const Bytes& nonce);

}  // namespace testkit
