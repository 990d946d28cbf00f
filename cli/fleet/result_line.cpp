#include "cli/fleet/result_line.h"

#include <nlohmann/json.hpp>

#include "cli/fleet/job.h"
#include "cli/output.h"

namespace tallow::cli {

namespace {

using Json = nlohmann::json;

constexpr int kDeepest = 16;

// Printing a document recurses. What stands before the first mistake in malformed JSON is counted as the parser reads
// it.
bool isShallow(const std::string& text) {
    int depth = 0;
    bool isInText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isInText) {
            i += c == '\\' ? 1 : 0;  // and what it escapes
            isInText = c != '"';
            continue;
        }
        isInText = c == '"';
        depth += c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
        if (depth > kDeepest) {
            return false;
        }
    }
    return true;
}

std::string memberOf(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

std::optional<ResultLine> resultLineFrom(const std::string& text) {
    if (text.size() > kLongestResult || !isShallow(text)) {
        return std::nullopt;
    }
    const Json object = Json::parse(text, nullptr, false);
    if (!object.is_object() || memberOf(object, "schema") != kFleetLineSchema || !isJobId(memberOf(object, "job"))) {
        return std::nullopt;
    }
    const auto result = object.find("result");
    const std::string state = result != object.end() && result->is_object() ? memberOf(*result, "status") : "";
    for (const CertificateState known :
         {CertificateState::kGood, CertificateState::kRevoked, CertificateState::kUnknown, CertificateState::kError}) {
        if (state == nameOf(known)) {
            return ResultLine{object.dump(-1, ' ', true, Json::error_handler_t::replace), memberOf(object, "job"),
                              known};
        }
    }
    return std::nullopt;
}

}  // namespace tallow::cli
