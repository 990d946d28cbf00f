#include "tests/cli/json_result.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace testkit {

std::vector<std::map<std::string, std::string>> parseResults(const std::string& json) {
    const nlohmann::json document = nlohmann::json::parse(json);  // refuses what is no UTF-8, and text behind the end
    if (document.size() != 1) {
        throw std::runtime_error("more than the list of certificates: " + json);
    }
    std::vector<std::map<std::string, std::string>> results;
    for (const nlohmann::json& certificate : document.at("certificates")) {
        std::map<std::string, std::string>& fields = results.emplace_back();
        for (const auto& [name, value] : certificate.items()) {
            if (name != "error") {
                fields[name] = value.get<std::string>();
                continue;
            }
            for (const auto& [part, text] : value.items()) {
                fields["error." + part] = text.get<std::string>();
            }
        }
    }
    return results;
}

namespace {

void flatten(const nlohmann::json& value, const std::string& path, std::map<std::string, std::string>& texts) {
    if (!value.is_structured()) {
        texts[path] = value.get<std::string>();
        return;
    }
    for (const auto& [name, part] : value.items()) {
        std::string partPath = path.empty() ? "" : path + ".";
        partPath += name;
        flatten(part, partPath, texts);
    }
}

}  // namespace

std::map<std::string, std::string> parseTree(const std::string& json) {
    std::map<std::string, std::string> texts;
    flatten(nlohmann::json::parse(json), "", texts);
    return texts;
}

}  // namespace testkit
