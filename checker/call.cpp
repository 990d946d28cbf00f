#include "checker/call.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "checker/trust_impl.h"
#include "client/policy/address_masks.h"
#include "client/policy/policy_binding.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/optional_services.h"
#include "handles/status.h"

namespace tallow {

namespace {

using Orvane::CDateTime;
using Orvane::PKI::OCSP::Client::CRequest;
using Orvane::PKI::OCSP::Client::CRequestPolicy;
using Orvane::PKI::OCSP::Client::PolicyBinding;

}  // namespace

Call::Call(const CheckerData& checker, const Purpose& purpose)
    : checker_(checker), purpose_(purpose), withoutPolicy_(std::in_place, !checker.hasPolicy), own_(memoryStore()) {
    if (crypto_begin_check == nullptr || crypto_end_check == nullptr || crypto_check_time_left == nullptr) {
        ATL::AtlThrowImpl(ATL2::convertLastError(ERROR_NOT_SUPPORTED));
    }
    for (const std::int32_t result :
         {collection_.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr), collection_.AddStoreToCollection(own_, 0, 0),
          collection_.AddStoreToCollection(checker.others, 0, 0)}) {
        if (result != status::kOk) {
            ATL::AtlThrowImpl(result);
        }
    }
    begin();
}

Call::~Call() {
    crypto_end_check(&record_);
}

void Call::begin() {
    CRequest& request = request_.emplace();
    if (!checker_.options.proxy.empty()) {
        request.put_ProxyAddress(text::wide(checker_.options.proxy).c_str());
    }
    PolicyBinding<CRequestPolicy> policy;
    policy.bind();
    proxy_ = request.get_ProxyAddress();
    if (!checker_.options.proxyUser.empty()) {
        if (proxy_.empty()) {
            throw BadInput(status::kInvalidArgument, "a login at a proxy is given, but no proxy; name the proxy");
        }
        const std::wstring name = text::wide(checker_.options.proxyUser);
        const std::wstring password = text::wide(checker_.options.proxyPassword);
        request.put_ProxyUserName(name.c_str());
        request.put_ProxyPassword(password.c_str());
        proxyLogin_ = name + L':' + password;
    }
    const bool mayUseProxy = Orvane::PKI::OCSP::Client::mayUseProxy(
        *policy, {.proxyAddress = proxy_.c_str(), .proxyAuthType = static_cast<long>(request.get_ProxyAuthType())});
    isProxyRefused_ = !mayUseProxy && !purpose_.isOffline && checker_.options.downloads;
    record_.cbSize = sizeof record_;
    if (!mayUseProxy || purpose_.isOffline || !checker_.options.downloads) {
        record_.dwFlags |= CRYPTO_CHECK_NO_DOWNLOADS;
    }
    record_.dwFlags |= checker_.isSystem ? 0 : CRYPTO_CHECK_NO_STORES;
    record_.dwFlags |= checker_.options.useCache ? 0 : CRYPTO_CHECK_NO_CACHE;
    record_.pwszProxy = proxy_.c_str();
    record_.pwszProxyCredentials = proxyLogin_.c_str();  // empty: it is part of the address, if there is one
    record_.dwProxyAuthSchemes = permittedAuthSchemes(*policy, proxy_.c_str(), true);
    record_.pfnOnNote = &Notes::take;
    record_.pvOnNote = &notes_;
    record_.hRoots = checker_.roots.get();
    if (purpose_.at) {
        time_ = text::dateOf(*purpose_.at).getFileTime();
        record_.pTime = &time_;
    }
    constexpr std::chrono::milliseconds kOfSettings{0};
    constexpr std::chrono::milliseconds kWithoutSettings{10000};
    const std::chrono::milliseconds timeout =
        checker_.options.timeout.value_or(checker_.hasPolicy ? kOfSettings : kWithoutSettings);
    record_.dwTimeout = static_cast<DWORD>(std::min<std::int64_t>(timeout.count(), std::numeric_limits<DWORD>::max()));
    impose();  // last: what throws before it leaves no rules behind
    timeout_ = std::chrono::milliseconds(crypto_check_time_left());
    deadline_ = std::chrono::steady_clock::now() + timeout_;
}

void Call::impose() {
    if (!crypto_begin_check(&record_)) {
        ATL2::throwLastErrorOrFail();
    }
}

void Call::outside(const std::function<void()>& run) {
    crypto_end_check(&record_);
    withoutPolicy_.reset();
    std::exception_ptr thrown;
    try {
        run();
    } catch (...) {
        thrown = std::current_exception();
    }
    withoutPolicy_.emplace(!checker_.hasPolicy);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - std::chrono::steady_clock::now());
    record_.dwTimeout = static_cast<DWORD>(std::max<std::int64_t>(1, left.count()));
    impose();
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

void Call::add(const ATL2::CCertContext& certificate) {
    tallow::add(own_, certificate);
}

void Call::keepSignerChain(std::vector<ChainLink> chain, Step reached) {
    if (reached >= signerReached_) {
        evidence_.signerChain = std::move(chain);
        signerReached_ = reached;
    }
}

Evidence Call::takeEvidence() noexcept {
    evidence_.downloads = notes_.takeDownloads();
    return std::move(evidence_);
}

CDateTime Call::now() const {
    return purpose_.at ? text::dateOf(*purpose_.at) : CDateTime::Now();
}

}  // namespace tallow
