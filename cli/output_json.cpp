#include <nlohmann/json.hpp>

#include "checker/text/status_text.h"
#include "cli/error_text.h"
#include "cli/output.h"

namespace tallow::cli {

using namespace text;

namespace {

void add(nlohmann::ordered_json& object, const char* name, const std::string& value) {
    if (!value.empty()) {
        object[name] = value;
    }
}

nlohmann::ordered_json toObject(const CheckResult& result) {
    nlohmann::ordered_json object;
    object["file"] = result.file;
    add(object, "subject", result.subject);
    add(object, "serial", result.serial);
    object["status"] = nameOf(result.state);
    add(object, "responder", result.responder);
    add(object, "producedAt", result.producedAt);
    add(object, "thisUpdate", result.thisUpdate);
    add(object, "nextUpdate", result.nextUpdate);
    add(object, "revocationTime", result.revocationTime);
    add(object, "revocationReason", result.revocationReason);
    add(object, "nonce", result.nonce);
    add(object, "chain", result.chain);
    if (result.error) {
        object["error"] = {{"code", codeText(result.error->code)}, {"text", result.error->text}};
    }
    return object;
}

nlohmann::ordered_json toValue(const Shown& shown) {
    if (shown.kind == Shown::Kind::kText) {
        return shown.text;
    }
    const bool isObject = shown.kind == Shown::Kind::kObject;
    auto value = isObject ? nlohmann::ordered_json::object() : nlohmann::ordered_json::array();
    for (const Shown& part : shown.parts) {
        isObject ? static_cast<void>(value[part.name] = toValue(part)) : value.push_back(toValue(part));
    }
    return value;
}

// Bytes that are not UTF-8, for example in a file name, become U+FFFD. All but ASCII is escaped, since JSON allows
// bidirectional control characters and terminal controls.
std::string print(const nlohmann::ordered_json& document) {
    return document.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace

std::string toJson(const Shown& shown) {
    nlohmann::ordered_json document;
    document[shown.name] = toValue(shown);
    return print(document);
}

std::string toJson(const std::vector<CheckResult>& results) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const CheckResult& result : results) {
        list.push_back(toObject(result));
    }
    nlohmann::ordered_json document;
    document["certificates"] = std::move(list);
    return print(document);
}

}  // namespace tallow::cli
