// The rules of one call of a Checker: what is trusted, until when, at which time. Private to the library.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "checker/checker.h"
#include "checker/notes.h"
#include "client/policy/settings_scope.h"
#include "client/request/request.h"
#include "foundation/date_time.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

/// What a Checker was made of.
struct CheckerData {
    Options options;
    bool isSystem = false;
    bool hasPolicy = false;
    ATL2::CCertStore roots;   // trusted in addition to the system's, if that counts
    ATL2::CCertStore others;  // these roots too, intermediate certificates and CRLs
};

/// While it is alive, everything that this thread asks of the library and the services follows the Checker: its trust,
/// policy, proxy, time limit and the time of the verdict. Throws what the policy throws, ERROR_NOT_SUPPORTED with a
/// service that cannot restrict a check.
class Call {
public:
    struct Purpose {
        std::optional<Time> at;  // the time of the verdict; absent: now
        bool isOffline = false;  // nothing is downloaded
    };
    Call(const CheckerData& checker, const Purpose& purpose);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    const CheckerData& checker() const { return checker_; }
    Orvane::PKI::OCSP::Client::CRequest& request() { return *request_; }

    /// What the service told so far.
    const Notes& notes() const { return notes_; }
    Notes& notes() { return notes_; }

    /// The proxy in use; empty for none. May contain a login.
    const std::wstring& proxy() const { return proxy_; }
    /// The notes about chains begin anew.
    void startChain() { notes_.startChain(); }

    /// What the verdict is made from, filled on the way; without downloads.
    Evidence& evidence() { return evidence_; }
    /// The chain of a signer whose response got this far; of several responses the one that got furthest counts.
    void keepSignerChain(std::vector<ChainLink> chain, Step reached);
    /// The whole evidence; the call has none afterwards.
    Evidence takeEvidence() noexcept;

    /// A certificate of this call only, for issuers and chains.
    void add(const ATL2::CCertContext& certificate);
    /// A collection of these and the certificates and CRLs of the Checker; owned by this object.
    void* store() const { return collection_.get(); }

    /// The time of the verdict.
    Orvane::CDateTime now() const;
    /// Nothing is downloaded, because policy permits neither the proxy nor going without one.
    bool isProxyRefused() const { return isProxyRefused_; }
    /// Whether addresses in certificates may be contacted.
    bool mayDownload() const { return (record_.dwFlags & CRYPTO_CHECK_NO_DOWNLOADS) == 0; }
    bool isPast() const { return purpose_.at.has_value(); }
    std::chrono::steady_clock::time_point deadline() const { return deadline_; }
    /// How long the call may take in all.
    std::chrono::milliseconds timeout() const { return timeout_; }
    bool isOver() const { return std::chrono::steady_clock::now() >= deadline_; }

    /// Runs code of the caller, which may make checks of its own, without the rules of this call.
    void outside(const std::function<void()>& run);

private:
    void begin();
    void impose();

    const CheckerData& checker_;
    const Purpose purpose_;
    std::chrono::steady_clock::time_point deadline_;
    std::optional<Orvane::PKI::OCSP::Client::WithoutPolicy> withoutPolicy_;
    ATL2::CCertStore own_, collection_;
    std::optional<Orvane::PKI::OCSP::Client::CRequest> request_;
    std::wstring proxy_, proxyLogin_;
    bool isProxyRefused_ = false;
    std::chrono::milliseconds timeout_{0};
    Notes notes_;
    Evidence evidence_;
    Step signerReached_ = Step::kInput;
    FILETIME time_{};
    CRYPTO_CHECK record_{};
};

}  // namespace tallow
