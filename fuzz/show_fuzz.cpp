// What the command reads itself from untrusted octets: `tallow show`, whose lines must be safe for a terminal.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "cli/output.h"
#include "cli/show.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::optional<tallow::cli::Shown> shown = tallow::cli::shownOf(Orvane::CBlob(data, size));
    if (!shown) {
        return 0;
    }
    for (const char c : tallow::cli::toText(*shown)) {
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F) {
            std::abort();
        }
    }
    return 0;
}
