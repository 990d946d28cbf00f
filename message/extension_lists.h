// Optional extension lists to and from their schema records.
#pragma once

#include <optional>

#include "asn1/extensions/extensions.h"
#include "asn1/extensions/extensions_traits.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

inline std::optional<ASN1::CExtensions> extensionsOf(bool present, const asn1data::ASN1T_MessageExtensions& record) {
    std::optional<ASN1::CExtensions> extensions;
    if (present) {
        ASN1::ASN1T_Extensions_traits::get(record, extensions.emplace());
    }
    return extensions;
}

}  // namespace Orvane::PKI::OCSP
