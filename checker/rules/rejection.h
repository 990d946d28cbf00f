// Why a rule rejects a response. The rules know neither options nor output.
#pragma once

#include <cstdint>
#include <string>

namespace tallow::rules {

/// What was checked, in the order of a check.
enum class Rule {
    kPolicy,
    kCertificate,
    kIssuer,
    kRequest,
    kForm,
    kStatus,
    kNonce,
    kFindSigner,
    kSignature,
    kSigner,
    kEntry,
    kChain,
};

/// In words: "signature".
const char* nameOf(Rule rule);

struct Rejection {
    std::int32_t code = 0;  // a status word of handles/status.h
    Rule rule = Rule::kIssuer;
    std::string text = {};  // object, cause and remedy; empty when the text of the status suffices
};

/// The cause in one line, without the rule.
std::string reasonOf(const Rejection& rejection);

}  // namespace tallow::rules
