// What came out for one certificate, as plain data: whoever prints it decides nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tallow::cli {

enum class CertificateState { kGood, kRevoked, kUnknown, kError };

/// "good", "revoked", "unknown" or "error".
const char* nameOf(CertificateState state);

struct CheckError {
    std::int32_t code = 0;
    std::string text;                   // one line: what happened, at which step, what to do
    std::vector<std::string> attempts;  // one line for each responder that was asked
};

/// Texts are UTF-8; what comes from certificates and responders may hold anything and is made safe when printed. Times
/// are ISO 8601 in UTC. Absent is empty.
struct CheckResult {
    std::string file;
    std::string subject;
    std::string serial;  // hexadecimal
    CertificateState state = CertificateState::kError;
    std::string responder;  // address
    std::string producedAt;
    std::string thisUpdate;
    std::string nextUpdate;
    std::string revocationTime;
    std::string revocationReason;
    std::optional<CheckError> error;  // for kError alone
};

}  // namespace tallow::cli
