#include "cli/explain.h"

#include <charconv>

#include "checker/text/status_text.h"
#include "cli/input_files.h"

namespace tallow::cli {

Outcome runExplain(const ExplainOptions& options) {
    std::string_view digits = options.code;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
    }
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        throw InputError(options.code, "is no status; give one like 0xC2110122");
    }
    return {text::codeText(static_cast<std::int32_t>(code)) + ": " + text::statusText(static_cast<std::int32_t>(code)) +
                '\n',
            "", kExitGood};
}

}  // namespace tallow::cli
