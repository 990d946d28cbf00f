// The correct verdict about a description, by RFC 6960, RFC 5280 and the rules that docs/command.md and
// docs/security.md state. It sees neither octets nor the library.
#pragma once

#include <set>
#include <string>

#include "proof/forgeries/description.h"

namespace proof {

enum class Answer { kUnproven, kGood, kRevoked, kUnknown };

/// What a description violates.
enum class Violation {
    kResponseStatus,     // not successful, or not a basic response
    kForm,               // another version, or octets after the message
    kNonce,              // not that of the request, or one although it has none
    kSignerNotFound,     // no certificate at hand fits the responder id
    kSignature,          // not made with the key of a certificate that fits
    kWeakHash,           // SHA-1
    kAuthority,          // neither the issuer nor its delegate
    kSignerKeyUsage,     // keyUsage forbids signatures
    kDates,              // a certificate of the chain is not valid now
    kDatesWhenProduced,  // or was not at producedAt
    kChain,              // RFC 5280, section 6.1, the dates excepted
    kTrust,              // the root is not trusted
    kRevocation,         // a certificate of the chain is revoked, or this is not known
    kCriticalExtension,  // of the response
    kImpossibleDates,    // an entry whose nextUpdate is not after thisUpdate, whatever it is about
    kIssuerOfLeaf,       // the issuer is no CA, or did not sign the certificate
    kEntry,              // the entries prove nothing
};

struct Judgement {
    Answer answer = Answer::kUnproven;
    std::set<Violation> violations;  // empty when `answer` is not kUnproven
    const Entry* entry = nullptr;    // that decided
};

Judgement judge(const Description& description);

/// What a reader of the first entry with the SHA-1 identifier of the leaf finds, as OpenSSL's functions do that compare
/// only thisUpdate and nextUpdate with the clock.
Answer firstEntry(const Description& description);

const char* nameOf(Answer answer);
const char* nameOf(Violation violation);

}  // namespace proof
