// A line of a list of certificates: whatever it contains, it is an entry or a mistake in one line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/batch/item_source.h"
#include "cli/batch/responder_hosts.h"
#include "cli/input_files.h"

using namespace tallow::cli;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.empty()) {
        return 0;
    }
    try {
        const ListEntry entry = entryOf({1, text, ""}, "list");
        if (entry.certificate.empty() != entry.identifier.has_value() || entry.name.empty() ||
            (!entry.url.empty() && hostOf(entry.url).empty())) {
            std::abort();
        }
    } catch (const InputError&) {
        return 0;
    }
    return 0;
}
