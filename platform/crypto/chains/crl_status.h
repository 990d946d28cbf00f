// The revocation status of the certificates of one chain, by CRLs (RFC 5280, 6.3): complete, delta and indirect ones,
// divided by distribution point, by kind of certificate or by reason, signed by the CA or for it. OpenSSL parses values
// and verifies signatures; its own processing of CRLs, which differs between its releases, is not used.
//
// A certificate is good only after CRLs that cover every reason were found, signed by an authorised issuer, and do not
// list it. Everything else is unknown, or revoked.
#pragma once

#include <set>

#include "platform/crypto/chains/crl_note.h"
#include "platform/crypto/chains/crl_selection.h"
#include "platform/crypto/chains/crl_signer.h"

namespace tallow::platform {

// The error bits of an element whose status is unknown.
constexpr DWORD kUnknownRevocation = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

struct RevocationStatus {
    RevocationState state = RevocationState::kUnknown;
    DWORD reason = 0;  // CRLReason, when revoked
};

// For use in one call and on one thread.
class CrlCheck {
public:
    // All arguments must outlive the object.
    CrlCheck(const ChainSources& sources, const CrlRules& rules, FetchAllowance& allowance, SignatureLedger& ledger)
        : sources_(sources),
          ledger_(ledger),
          source_(sources.crls, rules, allowance),
          signers_(sources, rules.when, ledger, *this) {}

    // The status of the element `index` of the path. The last element has no issuer in the path, so it is unknown.
    RevocationStatus statusOf(const Path& path, std::size_t index);

private:
    struct Question {
        const Path& path;
        std::size_t index;
        const CrlSubject& subject;
    };
    struct Outcome {
        RevocationStatus status;
        ReasonMask covered = 0;
        bool isDisputed = false;  // a CRL contradicts those used
        std::vector<const CrlCandidate*> used;
        std::vector<const Crl*> withoutDelta;  // complete CRLs that no delta CRL updated
        const char* obstacle = nullptr;        // why CRLs cannot answer, in words; null: they can
    };

    // How delta CRLs and unusable CRLs affect a complete one.
    struct Change {
        const CrlCandidate* update = nullptr;  // the newest delta CRL that fits; null when there is none
        bool isDisputed = false;               // another CRL lists the certificate, or is newer
    };

    Outcome lookUp(const Path& path, std::size_t index, CrlCandidates& candidates);
    Outcome search(const Question& question, CrlCandidates& candidates);
    Change updateOf(const CrlCandidate& complete, const CrlGroup& group, const Certificate& signer);
    Outcome judge(const Question& question, const CrlCandidates& candidates);
    void judgeLater(const Question& question, const CrlCandidates& candidates, Outcome& outcome);
    void judgeGroup(const Question& question, const CrlGroup& group, Outcome& outcome);
    void judgeComplete(const CrlCandidate& complete, const CrlGroup& group, const Certificate& signer,
                       Outcome& outcome);
    Outcome askForDeltas(const Question& question, CrlCandidates& candidates, std::size_t maxRequests, Outcome outcome);

    const ChainSources& sources_;
    SignatureLedger& ledger_;
    CrlSource source_;
    CrlSigners signers_;
    bool cutShort_ = false;  // a CRL was skipped because of a limit, so nothing counts as good
};

}  // namespace tallow::platform
