// The address of a server as a user or a script writes it: what is accepted reads the same again, and is safe to send.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/server/server_address.h"
#include "cli/server/server_failure.h"

using tallow::cli::ServerAddress;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint16_t kDefaultPort = 443;
    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.c_str();  // as an argument, which ends at a NUL
    ServerAddress address;
    try {
        address = tallow::cli::readServerAddress(text, kDefaultPort);
    } catch (const tallow::cli::AddressMistake&) {
        return 0;
    }
    const ServerAddress again = tallow::cli::readServerAddress(address.label(), 1);
    if (again.host != address.host || again.port != address.port || again.isNumeric != address.isNumeric) {
        std::abort();
    }
    // It is put into the XML of XMPP as it is.
    if (address.host.empty() || address.host.find_first_of("<>&'\"\r\n \t") != std::string::npos) {
        std::abort();
    }
    return 0;
}
