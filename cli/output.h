// Results as text and as JSON. schemas/ describes the JSON documents.
#pragma once

#include <string>
#include <vector>

#include "cli/check_result.h"
#include "cli/shown.h"

namespace tallow::cli {

// The values of "schema". A change that is not an addition needs another number.
inline constexpr const char* kCheckSchema = "tallow.check/1";
inline constexpr const char* kCheckLineSchema = "tallow.check.line/1";
inline constexpr const char* kVerifyRequestSchema = "tallow.verify-request/1";
inline constexpr const char* kShowSchema = "tallow.show/1";
inline constexpr const char* kSettingsSchema = "tallow.settings/1";
inline constexpr const char* kStoreSchema = "tallow.store/1";
inline constexpr const char* kStapleSchema = "tallow.staple/1";
inline constexpr const char* kStapleLineSchema = "tallow.staple.line/1";
inline constexpr const char* kFleetLineSchema = "tallow.fleet.line/1";
inline constexpr const char* kErrorSchema = "tallow.error/1";

/// The verdict, the details, and as the last line what the verdict is based on. Only the verdict is coloured.
std::string toText(const CheckResult& result, bool isColoured = false);

/// {"schema":...,"certificates":[...]} with absent fields left out.
std::string toJson(const std::vector<CheckResult>& results);

/// One certificate as one line, with its schema.
std::string toJsonLine(const CheckResult& result);

/// One field in a line, its parts indented below.
std::string toText(const Shown& shown);

/// {"schema":...,"name of the root":{...}}
std::string toJson(const char* schema, const Shown& shown);

/// {"schema":...,...} in one line, with the fields of an object.
std::string toJsonLine(const char* schema, const Shown& shown);

/// {"schema":...,"error":{"code":...,"text":...,"exitStatus":...}}: the whole run failed. In one line for
/// the schemas of lines.
std::string toJson(const char* schema, const CheckError& error, int exitStatus);

/// The schema of what the command line asks for; null without --json and --jsonl. The command line need not be valid.
const char* schemaAsked(int argc, const char* const* argv);

/// "tallow: name: what happened (0x...)", for standard error.
std::string failureLine(const std::string& name, const CheckError& error);

/// One line for each failure of the certificate, for standard error; empty when there is none.
std::string failureLines(const CheckResult& result);

}  // namespace tallow::cli
