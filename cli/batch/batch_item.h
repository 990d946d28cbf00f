// One certificate of a list, ready to be checked.
#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/batch/identifier.h"

namespace tallow::cli {

/// The longest address that a line or a job may name, in octets.
inline constexpr std::size_t kLongestUrl = 2048;

struct BatchItem {
    std::size_t line = 0;                            // in the list, from 1
    std::size_t number = 0;                          // of the certificate in its file, from 1
    std::string label;                               // names the result
    std::exception_ptr failure = {};                 // why it cannot be checked; most of what follows is empty then
    const char* step = "reading the certificate";    // what a mistake is found at
    bool isUrlForeign = false;                       // neither the user nor the list named `url`
    std::optional<Identifier> identifier = {};       // in place of a certificate; with an issuer and a URL
    std::string certificate = {};                    // DER; PEM when others follow
    std::shared_ptr<const std::string> others = {};  // of its file, that are not checked: PEM; null: none
    std::string issuer = {};                         // DER or PEM; empty: it is searched
    std::string thumbprint = {};                     // of what is asked about, in hexadecimal; only for a resume file
    std::optional<std::chrono::sys_seconds> start = {};         // notBefore of the certificate
    std::optional<std::chrono::sys_seconds> expiry = {};        // notAfter
    std::string url = {};                                       // the responder that the list names; empty: none
    std::shared_ptr<const std::vector<std::string>> crls = {};  // of its file, DER; null: none
    std::vector<std::string> hosts = {};  // "host:port" of the responders, each once; one empty text when not known
    std::string group = {};               // equal for the same hosts, URL and issuer only; short
};

}  // namespace tallow::cli
