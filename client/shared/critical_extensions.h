// Which critical extensions of a message are refused: one rule for requests and responses.
#pragma once

#include <string>
#include <string_view>

#include "asn1/extensions/extensions.h"

namespace Orvane::PKI::OCSP::Client {

/// Refuses every critical extension with null, none with "*", and with a list "1.2.3;4.5.6" exactly those named.
/// Mind the direction: a critical extension that is not in the list passes.
class CriticalExtensionRule {
public:
    explicit CriticalExtensionRule(const char* refused) : refusesAll_(refused == nullptr) {
        if (refused != nullptr) {
            examinesNone_ = std::string_view(refused) == "*";
            list_ = ';' + std::string(refused) + ';';
        }
    }

    bool examinesNone() const { return examinesNone_; }
    /// False for null.
    bool refuses(const ASN1::CExtensions* extensions) const {
        if (examinesNone_ || extensions == nullptr) {
            return false;
        }
        for (const ASN1::CExtension& extension : *extensions) {
            if (extension.get_critical() && (refusesAll_ || lists(extension.get_extnID()))) {
                return true;
            }
        }
        return false;
    }

private:
    // The separators around both keep an OID from matching the beginning of a longer one.
    bool lists(const char* oid) const { return list_.find(';' + std::string(oid) + ';') != std::string::npos; }

    bool refusesAll_;
    bool examinesNone_ = false;
    std::string list_;
};

}  // namespace Orvane::PKI::OCSP::Client
