// What arrives of one hop of an exchange, within its limits: callbacks for libcurl. Sizes are counted as octets arrive.
#pragma once

#include <string>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// Our own reason to end a transfer.
enum class Breach { kNone, kBodySize, kHeaderSize, kCoding, kLength };

struct Arrival {
    Bytes body;
    std::size_t headerSize = 0;  // octets of the header lines
    Breach breach = Breach::kNone;
    std::size_t maxBodySize = 0;
    std::size_t maxHeaderSize = 0;

    // Before the next hop.
    void reset();

    // The limit that was exceeded, in words; empty when none was. `announced` is the Content-Length, -1 for none;
    // `sizeSetting` names the setting that limits the body.
    std::string breachText(long long announced, const char* sizeSetting) const;

    // CURLOPT_WRITEFUNCTION and CURLOPT_HEADERFUNCTION; `target` is the object.
    static std::size_t onBody(char* data, std::size_t unit, std::size_t count, void* target);
    static std::size_t onHeader(char* data, std::size_t unit, std::size_t count, void* target);
};

}  // namespace tallow::platform
