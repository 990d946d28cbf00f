// The dialogues before TLS with a hostile server. The first octet chooses the protocol, the second how many octets
// arrive at once. A dialogue that succeeds leaves no octet unread.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "cli/server/server_failure.h"
#include "cli/server/starttls.h"

namespace {

using namespace tallow::cli;

class Script : public Wire {
public:
    Script(const std::uint8_t* data, std::size_t size, std::size_t most) : data_(data), left_(size), most_(most) {}

    std::size_t receive(char* octets, std::size_t size) override {
        const std::size_t count = std::min({size, left_, most_});
        if (count > 0) {
            std::memcpy(octets, data_, count);
        }
        data_ += count;
        left_ -= count;
        return count;
    }
    void send(std::string_view octets) override {
        if (octets.empty()) {
            std::abort();
        }
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
    std::size_t most_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kHeader = 2;
    if (size < kHeader) {
        return 0;
    }
    const auto protocols = startTlsProtocols();
    const StartTlsProtocol& protocol = protocols[data[0] % protocols.size()];
    // All that is there arrives at once: after a success, nothing may be left of it.
    const bool isAtOnce = data[1] == 0;
    Script script(data + kHeader, size - kHeader, isAtOnce ? size : data[1]);
    try {
        startTls(script, protocol, "server.example");
        char octet;
        constexpr std::size_t kOneRead = 4096;
        if (isAtOnce && size - kHeader <= kOneRead && script.receive(&octet, 1) != 0) {
            std::abort();
        }
    } catch (const ServerFailure& failure) {
        if (failure.what()[0] == '\0' || failure.code() == 0) {
            std::abort();
        }
    }
    return 0;
}
