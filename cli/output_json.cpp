#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "checker/text/status_text.h"
#include "cli/error_text.h"
#include "cli/evidence_text.h"
#include "cli/output.h"

namespace tallow::cli {

using namespace text;

namespace {

using Json = nlohmann::ordered_json;

void add(Json& object, const char* name, const std::string& value) {
    if (!value.empty()) {
        object[name] = value;
    }
}

Json toValue(const CheckError& error) {
    return {{"code", codeText(error.code)}, {"text", error.text}};
}

// Code and text of what was not received or not accepted.
void addReason(Json& object, std::int32_t status, const std::string& reason) {
    if (status != 0) {
        object["code"] = codeText(status);
    }
    add(object, "text", reason);
}

Json toValue(const Attempt& attempt) {
    Json object{{"url", attempt.url}, {"source", nameOf(attempt.source)}};
    object["step"] = nameOf(attempt.reached);
    object["status"] = statusOf(attempt);
    object["httpStatus"] = attempt.httpStatus;
    object["milliseconds"] = attempt.duration.count();
    object["isFromCache"] = attempt.isFromCache;
    addReason(object, attempt.isRedirect ? 0 : attempt.status, attempt.reason);
    return object;
}

Json toValue(const Download& download) {
    Json object{{"content", download.content == Download::Content::kCrl ? "CRL" : "issuer"}, {"url", download.url}};
    object["status"] = download.status == 0 ? "received" : "failed";
    object["httpStatus"] = download.httpStatus;
    object["milliseconds"] = download.duration.count();
    object["isFromCache"] = download.isFromCache;
    addReason(object, download.status, download.reason);
    return object;
}

Json toValue(const ChainLink& link) {
    Json object{{"subject", link.subject}, {"issuer", link.issuer}};
    add(object, "serial", hexText(link.serial));
    add(object, "notBefore", timeText(link.notBefore));
    add(object, "notAfter", timeText(link.notAfter));
    object["revocation"] = nameOf(link.revocation);
    add(object, "crlIssuer", link.crlIssuer);
    add(object, "crlThisUpdate", timeText(link.crlThisUpdate));
    add(object, "crlNextUpdate", timeText(link.crlNextUpdate));
    add(object, "fault", link.fault);
    return object;
}

// A null value is never left to become an array or object by itself: when memory is missing, releases of nlohmann-json
// leave it with a null pointer that its destructor follows.
template <typename Element>
void addList(Json& object, const char* name, const std::vector<Element>& elements) {
    Json list = Json::array();
    for (const Element& element : elements) {
        list.push_back(toValue(element));
    }
    if (!list.empty()) {
        object[name] = std::move(list);
    }
}

Json freshnessOf(const CheckResult& result) {
    const bool isByNonce = result.verdict.freshness == Freshness::kNonceMatched;
    Json object{{"basis", isByNonce ? "nonce" : "dates"}};
    add(object, "nonce", result.nonce);
    add(object, "producedAt", result.producedAt);
    add(object, "thisUpdate", result.thisUpdate);
    add(object, "nextUpdate", result.nextUpdate);
    return object;
}

void addEvidence(Json& object, const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    const Evidence& evidence = verdict.evidence;
    add(object, "issuer", evidence.issuer);
    add(object, "issuerSource", nameOf(evidence.issuerSource));
    if (const std::optional<SentRequest> sent = sentRequestOf(verdict)) {
        object["certID"] = {{"hashAlgorithm", sent->hashOid},
                            {"issuerNameHash", sent->issuerNameHash},
                            {"issuerKeyHash", sent->issuerKeyHash},
                            {"serialNumber", sent->serial}};
        object["isNonceSent"] = !sent->nonce.empty();
    }
    // The signer of a response that was not accepted may be an attacker.
    if (hasAnswer(verdict)) {
        object["freshness"] = freshnessOf(result);
        Json& signer = object["signer"] = {{"name", verdict.signer}};
        add(signer, "serial", serialIn(verdict.signerCertificate));
        add(signer, "authority", nameOf(verdict.authority));
    }
    addList(object, "attempts", verdict.attempts);
    addList(object, "signerChain", evidence.signerChain);
    addList(object, "certificateChain", evidence.certificateChain);
    addList(object, "downloads", evidence.downloads);
}

// Adds to what `object` has.
void addResult(Json& object, const CheckResult& result) {
    object["file"] = result.file;
    if (result.line != 0) {
        object["line"] = result.line;
    }
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
        object["error"] = toValue(*result.error);
    }
    addEvidence(object, result);
    if (result.staple) {
        Json& staple = object["staple"] = {{"state", result.staple->state}, {"required", result.staple->isRequired}};
        add(staple, "text", result.staple->text);
    }
    if (result.unsaved) {
        object["unsaved"] = toValue(*result.unsaved);
    }
}

Json toValue(const Shown& shown) {
    if (shown.kind == Shown::Kind::kText) {
        return shown.text;
    }
    const bool isObject = shown.kind == Shown::Kind::kObject;
    auto value = isObject ? Json::object() : Json::array();
    for (const Shown& part : shown.parts) {
        isObject ? static_cast<void>(value[part.name] = toValue(part)) : value.push_back(toValue(part));
    }
    return value;
}

// Octets that are not UTF-8, for example in a file name, become U+FFFD. All but ASCII is escaped, since JSON allows
// bidirectional control characters and terminal controls.
std::string print(const Json& document, bool isOneLine = false) {
    return document.dump(isOneLine ? -1 : 2, ' ', true, Json::error_handler_t::replace) + '\n';
}

// The schema of a command, and that of its lines; null when it has none.
struct SchemaOfCommand {
    std::string_view command;
    const char* document;
    const char* line;
};
constexpr SchemaOfCommand kSchemas[] = {
    {"check", kCheckSchema, kCheckLineSchema},
    {"verify", kCheckSchema, kCheckLineSchema},
    {"staple", kStapleSchema, kStapleLineSchema},
    {"verify-request", kVerifyRequestSchema, nullptr},
    {"show", kShowSchema, nullptr},
    {"settings", kSettingsSchema, nullptr},
    {"store", kStoreSchema, nullptr},
};

}  // namespace

std::string toJson(const char* schema, const Shown& shown) {
    Json document{{"schema", schema}};
    document[shown.name] = toValue(shown);
    return print(document);
}

std::string toJsonLine(const char* schema, const Shown& shown) {
    Json document{{"schema", schema}};
    document.update(toValue(shown));
    return print(document, true);
}

std::string toJson(const std::vector<CheckResult>& results) {
    Json list = Json::array();
    for (const CheckResult& result : results) {
        addResult(list.emplace_back(Json::object()), result);
    }
    Json document{{"schema", kCheckSchema}};
    document["certificates"] = std::move(list);
    return print(document);
}

std::string toJsonLine(const CheckResult& result) {
    Json document{{"schema", kCheckLineSchema}};
    addResult(document, result);
    return print(document, true);
}

std::string toJson(const char* schema, const CheckError& error, int exitStatus) {
    Json document{{"schema", schema}};
    document["error"] = toValue(error);
    document["error"]["exitStatus"] = exitStatus;
    return print(document, std::string_view(schema).find(".line/") != std::string_view::npos);
}

const char* schemaAsked(int argc, const char* const* argv) {
    const char* const* const end = std::find(argv, argv + argc, std::string_view("--"));
    const auto has = [argv, end](std::string_view option) { return std::find(argv, end, option) != end; };
    const bool isDocument = has("--json");
    if (argc < 2 || (!isDocument && !has("--jsonl"))) {
        return nullptr;
    }
    const auto* const known = std::find_if(std::begin(kSchemas), std::end(kSchemas),
                                           [argv](const SchemaOfCommand& row) { return row.command == argv[1]; });
    if (known == std::end(kSchemas) || (!isDocument && known->line == nullptr)) {
        return kErrorSchema;
    }
    return isDocument ? known->document : known->line;
}

}  // namespace tallow::cli
