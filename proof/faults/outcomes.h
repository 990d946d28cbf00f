// What the library says about a response, with every value that it returns.
#pragma once

#include <memory>
#include <string>

#include "proof/faults/bases.h"

namespace proof {

struct Outcome {
    enum class Answer { kNone, kGood, kRevoked, kUnknown };
    Answer answer = Answer::kNone;
    std::string values;      // all that must not change; one a line
    std::string carried;     // what no signature covers and no rule fixes: the certificates that are in the message
    std::string parameters;  // of the signature algorithm, likewise unsigned
};

/// The two ways of one base: the checker, as the command uses it, and the classes with the verifying handler.
class Contender {
public:
    explicit Contender(const Base& base);
    ~Contender();
    Contender(Contender&&) noexcept;

    Outcome byChecker(const Bytes& response) const;
    Outcome byClasses(const Bytes& response) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

const char* nameOf(Outcome::Answer answer);

}  // namespace proof
