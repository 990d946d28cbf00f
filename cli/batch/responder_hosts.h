// Which servers a certificate names as its responders: checks that ask the same one are counted together.
#pragma once

#include <string>
#include <vector>

#include "handles/cert_context.h"

namespace tallow::cli {

/// "host:port" of an http or https address, in lower case; empty for any other text.
std::string hostOf(const std::string& url);

/// The hosts of the responders in the certificate, each once, in their order; those that cannot be read are left out.
std::vector<std::string> responderHostsOf(const ATL2::CCertContext& certificate);

}  // namespace tallow::cli
