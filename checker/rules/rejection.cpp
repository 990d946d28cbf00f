#include "checker/rules/rejection.h"

#include "checker/text/safe_text.h"
#include "checker/text/status_text.h"

namespace tallow::rules {

const char* nameOf(Rule rule) {
    switch (rule) {
        case Rule::kPolicy:
            return "reading the policy";
        case Rule::kCertificate:
            return "reading the certificate";
        case Rule::kIssuer:
            return "finding the issuer";
        case Rule::kRequest:
            return "building the request";
        case Rule::kForm:
            return "decoding";
        case Rule::kStatus:
            return "response status";
        case Rule::kNonce:
            return "nonce";
        case Rule::kFindSigner:
            return "finding the signer";
        case Rule::kSignature:
            return "signature";
        case Rule::kSigner:
            return "certificate of the signer";
        case Rule::kEntry:
            return "entry";
        case Rule::kChain:
            break;
    }
    return "chain of the certificate";
}

std::string reasonOf(const Rejection& rejection) {
    return text::safeLine(rejection.text.empty() ? text::statusText(rejection.code) : rejection.text);
}

}  // namespace tallow::rules
