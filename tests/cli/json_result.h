// What --json printed, read by an independent parser; the only place of the tests that pays for that parser.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace testkit {

/// One map a certificate: each field by its name, those of "error" as "error.code" and "error.text". An exception when
/// the text is not one JSON document of exactly the form promised: "certificates" alone, nothing but texts in it.
std::vector<std::map<std::string, std::string>> parseResults(const std::string& json);

/// Every text of a document by its path, "OCSPRequest.requestList.0.reqCert.serialNumber". An exception for what is no
/// JSON or holds anything else.
std::map<std::string, std::string> parseTree(const std::string& json);

}  // namespace testkit
