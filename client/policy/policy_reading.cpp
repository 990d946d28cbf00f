#include "client/policy/policy_reading.h"

#include <pthread.h>

#include "client/policy/policy_settings.h"
#include "client/policy/settings_scope.h"

namespace {

namespace settings = Orvane::PKI::OCSP::Client::settings;

pthread_once_t oncePolicyReading = PTHREAD_ONCE_INIT;
pthread_once_t onceIssuerPropAIAEnabled = PTHREAD_ONCE_INIT;
int isLegacyPolicyReading = 0;
bool isIssuerPropAIAEnabled = true;

bool loadSwitch(const settings::Flag& setting) {
    Orvane::PKI::CGPBool value;
    load(value, setting);
    return value;
}

// A switch that cannot be read keeps its default until the process ends.
void SetPolicyReading() noexcept {
    try {
        isLegacyPolicyReading = loadSwitch(settings::LegacyPolicyReading) ? 1 : 0;
    } catch (...) {
        isLegacyPolicyReading = 0;
    }
}

void SetIssuerPropAIAEnabled() noexcept {
    try {
        isIssuerPropAIAEnabled = !loadSwitch(settings::IssuerPropAIADisabled);
    } catch (...) {
        isIssuerPropAIAEnabled = true;
    }
}

}  // namespace

int IsLegacyPolicyReading() noexcept {
    pthread_once(&oncePolicyReading, SetPolicyReading);
    return isLegacyPolicyReading;
}

namespace Orvane::PKI::OCSP::Client {

bool IssuerPropAIAEnabled() noexcept {
    if (isPolicyIgnored()) {
        return false;  // the addresses are the administrator's
    }
    pthread_once(&onceIssuerPropAIAEnabled, SetIssuerPropAIAEnabled);
    return isIssuerPropAIAEnabled;
}

}  // namespace Orvane::PKI::OCSP::Client
