#include "client/request/attempt_stage.h"

namespace Orvane::PKI::OCSP::Client {

const char* stageName(AttemptStage stage) noexcept {
    switch (stage) {
        case AttemptStage::kNotAsked:
            return "asking";
        case AttemptStage::kAddressPolicy:
            return "address policy";
        case AttemptStage::kExchange:
            return "exchange";
        case AttemptStage::kHttpStatus:
            return "HTTP status";
        case AttemptStage::kDecoding:
            return "decoding";
        case AttemptStage::kResponseStatus:
            return "response status";
        case AttemptStage::kProducedAt:
            return "time of production";
        case AttemptStage::kVerification:
            break;
    }
    return "verification";
}

}  // namespace Orvane::PKI::OCSP::Client
