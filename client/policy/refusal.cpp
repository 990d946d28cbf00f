#include "client/policy/refusal.h"

#include "handles/exception.h"
#include "handles/optional_services.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

void throwRefusal(const Refusal& refusal) {
    if (refusal.key != nullptr) {
        ATL::AtlThrowImpl(refusal.status);
    }
}

std::string keyWithPlace(const wchar_t* key) {
    std::string name;
    for (; *key != L'\0'; ++key) {
        name += static_cast<char>(*key);  // keys are ASCII
    }
    if (support_settings_keys == nullptr) {
        return name;
    }
    const std::string path = "\\config\\cades\\ocsppolicy\\" + name;
    static_cast<void>(support_settings_keys(
        path.c_str(),
        [](void* context, const SUPPORT_SETTINGS_KEY* found) {
            *static_cast<std::string*>(context) +=
                std::string(" (") + found->file + ":" + std::to_string(found->line) + ")";
        },
        &name));
    return name;
}

}  // namespace Orvane::PKI::OCSP::Client
