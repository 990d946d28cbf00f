#include "tests/cli/json_result.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace testkit {

namespace {

void flatten(const nlohmann::json& value, const std::string& path, std::map<std::string, std::string>& texts) {
    if (!value.is_structured()) {
        texts[path] = value.get<std::string>();
        return;
    }
    for (const auto& [name, part] : value.items()) {
        flatten(part, path.empty() ? name : path + "." + name, texts);
    }
}

}  // namespace

std::map<std::string, std::string> parseTree(const std::string& json) {
    std::map<std::string, std::string> texts;
    flatten(nlohmann::json::parse(json), "", texts);  // rejects invalid UTF-8, and text after the document
    return texts;
}

std::vector<std::map<std::string, std::string>> parseResults(const std::string& json) {
    const nlohmann::json document = nlohmann::json::parse(json);
    if (document.size() != 1) {
        throw std::runtime_error("more than the list of certificates: " + json);
    }
    std::vector<std::map<std::string, std::string>> results;
    for (const nlohmann::json& certificate : document.at("certificates")) {
        flatten(certificate, "", results.emplace_back());
    }
    return results;
}

}  // namespace testkit
