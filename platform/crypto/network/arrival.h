// What arrives of one hop of an exchange, within its limits: callbacks for libcurl. Sizes are counted as octets arrive.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// Our own reason to end a transfer, or not to accept it.
enum class Breach { kNone, kBodySize, kHeaderSize, kHeaderLine, kHeaderEnd, kCoding, kLength, kLengths, kAround };

struct Arrival {
    Bytes body;
    std::size_t headerSize = 0;  // octets of the header lines
    Breach breach = Breach::kNone;
    int numStatusLines = 0;  // more than one: interim answers came first
    int numLengths = 0;      // Content-Length lines
    std::int64_t length = kNoLength;
    bool isHeaderComplete = false;
    bool hasCoding = false;         // a Transfer-Encoding line
    std::uint64_t numReceived = 0;  // octets, with what is around header and body
    std::size_t maxBodySize = 0;
    std::size_t maxHeaderSize = 0;

    // Before the next hop.
    void reset();

    // Counts what is around the chunks of a body, too, which libcurl reads without end. True when it is too much.
    bool exceedsWith(std::uint64_t octetsReceived);

    // One answer that ends exactly where its header says. After any other, the connection is not used again.
    bool isExact() const;

    static constexpr std::int64_t kNoLength = -1;
    // A body in chunks may take so many times its largest size. Chunks of one octet take six times theirs.
    static constexpr std::uint64_t kMostAround = 16;

    // The limit that was exceeded, in words; empty when none was. `announced` is the Content-Length, -1 for none;
    // `sizeSetting` names the setting that limits the body.
    std::string breachText(long long announced, const char* sizeSetting) const;

    // CURLOPT_WRITEFUNCTION and CURLOPT_HEADERFUNCTION; `target` is the object.
    static std::size_t onBody(char* data, std::size_t unit, std::size_t count, void* target);
    static std::size_t onHeader(char* data, std::size_t unit, std::size_t count, void* target);

private:
    // Of a header line, which it counts.
    Breach breachOf(std::string_view line);
};

}  // namespace tallow::platform
