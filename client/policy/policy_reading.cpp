#include "client/policy/policy_reading.h"

#include <pthread.h>

#include "client/policy/policy_values.h"

namespace {

pthread_once_t oncePolicyReading = PTHREAD_ONCE_INIT;
pthread_once_t onceIssuerPropAIAEnabled = PTHREAD_ONCE_INIT;
int isLegacyPolicyReading = 0;
bool isIssuerPropAIAEnabled = true;

bool loadSwitch(const wchar_t* name) {
    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    Orvane::PKI::CGPBool value;
    value.Load(reserved, section, name, false);
    return value;
}

// A switch that cannot be read stays as it starts, for the life of the process.
void SetPolicyReading() noexcept {
    try {
        isLegacyPolicyReading = loadSwitch(L"LegacyPolicyReading") ? 1 : 0;
    } catch (...) {
        isLegacyPolicyReading = 0;
    }
}

void SetIssuerPropAIAEnabled() noexcept {
    try {
        isIssuerPropAIAEnabled = !loadSwitch(L"IssuerPropAIADisabled");
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
    pthread_once(&onceIssuerPropAIAEnabled, SetIssuerPropAIAEnabled);
    return isIssuerPropAIAEnabled;
}

}  // namespace Orvane::PKI::OCSP::Client
