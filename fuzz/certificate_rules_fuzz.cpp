// One certificate through the checks of each path element: its own faults, its policies, and the policies of a path
// that consists of only this certificate.
#include <cstddef>
#include <cstdint>

#include "platform/crypto/chains/certificate_policies.h"
#include "platform/crypto/chains/certificate_rules.h"

using namespace tallow::platform;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CertificateRef certificate = Certificate::create({data, size});
    if (!certificate || certificate->x509() == nullptr) {
        return 0;
    }
    static_cast<void>(faultsOf(*certificate));
    const PolicyStatements statements = policyStatementsOf(*certificate);
    constexpr std::size_t kLength = 4;
    const RequiredPolicies required{.any = false, .isRequired = true, .accepted = {std::string("\x2A\x03", 2)}};
    PolicyPath policies(kLength, required);
    for (std::size_t i = 0; i < kLength; ++i) {
        static_cast<void>(policies.add(statements));
    }
    return 0;
}
