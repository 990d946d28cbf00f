#include "checker/text/status_text.h"

#include <cstdio>

#include "handles/status.h"

namespace tallow::text {

std::string codeText(std::int32_t code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    return text;
}

std::string statusText(std::int32_t code) {
    const char* const known = status::text(code);
    return known == nullptr ? "status " + codeText(code) + "; ask the operator of the responder" : known;
}

}  // namespace tallow::text
