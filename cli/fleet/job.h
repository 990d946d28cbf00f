// One certificate or identifier as it waits in the queue: a JSON object with texts only.
//
//   {"name": "www.pem", "certificate": "-----BEGIN ...", "others": "...", "issuer": "...", "url": "http://..."}
//
// In place of the certificate it may have an identifier: "hash", "issuerNameHash", "issuerKeyHash" and "serial". Issuer
// and URL must be there then, so that the answer can be proven, and the issuer must fit.
//
// Who may write to the server may put anything there: nothing in a job is a path, and everything is bounded.
#pragma once

#include <string>

#include "cli/batch/batch_item.h"

namespace tallow::cli {

/// The longest job, and the longest id of one, in octets.
inline constexpr std::size_t kLongestJob = 1U << 20;
inline constexpr std::size_t kLongestJobId = 192;

/// Throws InputError for a certificate with so many others that the job would be too long.
std::string jobOf(const BatchItem& item);

/// The certificate or identifier to check, with its responders; `urlOfOptions` is asked where the job names none.
/// Throws InputError, beginning with `id`, for anything else.
BatchItem itemOf(const std::string& id, const std::string& job, const std::string& urlOfOptions);

/// The name of the run in the id of a job; empty when it has none.
std::string runOf(const std::string& id);

/// Whether it can name a job: 1 to 192 letters, digits, dots, hyphens and underscores.
bool isJobId(const std::string& text);

}  // namespace tallow::cli
