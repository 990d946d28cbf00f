// Why a rule rejects a response. The rules know neither options nor output: error_text.h turns this into a line.
#pragma once

#include <cstdint>
#include <string>

namespace tallow::cli {

struct Rejection {
    std::int32_t code = 0;  // a status word of handles/status.h
    const char* step = "";  // what was checked, "signature"
    std::string text = {};  // object, cause and remedy; empty when the text of the status suffices
};

}  // namespace tallow::cli
