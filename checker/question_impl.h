// What a Question holds. Private to the library.
#pragma once

#include <string>
#include <vector>

#include "checker/checker.h"
#include "checker/judge.h"
#include "checker/subject.h"

namespace tallow {

struct TALLOW_HIDDEN Question::Impl {
    CertificateToCheck target;
    Bytes request;
    std::string hashOid;
    NonceRule nonce;
    std::vector<std::string> responders;
};

}  // namespace tallow
