#include "client/policy/settings_scope.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

thread_local bool isIgnored = false;

}  // namespace

WithoutPolicy::WithoutPolicy(bool isWanted) noexcept : before_(isIgnored) {
    isIgnored = isWanted;
}

WithoutPolicy::~WithoutPolicy() {
    isIgnored = before_;
}

bool isPolicyIgnored() noexcept {
    return isIgnored;
}

}  // namespace Orvane::PKI::OCSP::Client
