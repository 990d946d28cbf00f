#include "tests/cli/json_result.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace testkit {

namespace {

void flatten(const nlohmann::json& value, const std::string& path, std::map<std::string, std::string>& texts) {
    if (!value.is_structured()) {
        texts[path] = value.is_string() ? value.get<std::string>() : value.dump();
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
    if (document.size() != 2 || document.at("schema") != "tallow.check/1") {
        throw std::runtime_error("not the documented members: " + json);
    }
    std::vector<std::map<std::string, std::string>> results;
    for (const nlohmann::json& certificate : document.at("certificates")) {
        flatten(certificate, "", results.emplace_back());
    }
    return results;
}

}  // namespace testkit
