// Where OpenSSL and GnuTLS judge by other rules than the model, each rule with a name. What no rule explains is a
// finding.
#pragma once

#include <string>

#include "proof/forgeries/model.h"

namespace proof {

struct Expectation {
    Answer answer = Answer::kUnproven;
    std::string rule;  // why it differs from the model; empty when it does not
};

/// What OpenSSL's functions say.
Expectation expectedOfOpenSsl(const Description& description, const Judgement& judgement);

/// Whether GnuTLS finds the response authentic with the issuer trusted.
bool expectedOfGnuTls(const Description& description, const Judgement& judgement);

}  // namespace proof
