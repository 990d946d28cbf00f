// What a server of a fleet may send in place of a job and of a result: whatever it contains, it is one of those, or it
// is left out.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/fleet/job.h"
#include "cli/fleet/result_line.h"
#include "cli/input_files.h"

using namespace tallow::cli;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (const std::optional<ResultLine> line = resultLineFrom(text)) {
        const std::optional<ResultLine> again = resultLineFrom(line->text);
        if (!isJobId(line->job) || line->text.find('\n') != std::string::npos || !again || again->text != line->text ||
            again->state != line->state) {
            std::abort();
        }
    }
    try {
        const BatchItem item = itemOf("1", text, "");
        if (item.certificate.empty() != item.identifier.has_value() || item.label.empty() || item.hosts.empty() ||
            item.crls) {
            std::abort();
        }
        static_cast<void>(itemOf("1", jobOf(item), ""));
    } catch (const InputError&) {
        return 0;
    }
    return 0;
}
