// What --json printed, read by an independent parser; the only place of the tests that pays for that parser.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace testkit {

/// One map a certificate: each field by its path, "error.code", "attempts.0.url". An exception when the text is not one
/// JSON document of the form promised: "schema" and "certificates".
std::vector<std::map<std::string, std::string>> parseResults(const std::string& json);

/// Every text of a document by its path, "OCSPRequest.requestList.0.reqCert.serialNumber"; numbers and truth values as
/// in JSON. An exception for what is no JSON.
std::map<std::string, std::string> parseTree(const std::string& json);

}  // namespace testkit
