// Compares how responses are read with the record codec, which decides what is accepted.
#pragma once

#include <sstream>
#include <string>

#include "message/basic_response_content.h"
#include "message/response_message.h"
#include "schema/generated/ocsp.h"
#include "tests/support/blobs.h"

namespace testkit {

inline std::string textOf(const Orvane::CBlob* blob) {
    return blob == nullptr ? "none" : hexOf(*blob);
}

inline std::string textOf(const Orvane::CDateTime* time) {
    return time == nullptr ? "none" : std::to_string(time->ticks());
}

inline std::string textOf(const Orvane::ASN1::CExtensions* extensions) {
    std::string text = extensions == nullptr ? "none" : "";
    for (const Orvane::ASN1::CExtension& extension :
         extensions != nullptr ? *extensions : Orvane::ASN1::CExtensions()) {
        text += std::string(extension.get_extnID()) + (extension.get_critical() ? "!" : "=") +
                hexOf(extension.get_extnValue()) + ",";
    }
    return text;
}

inline std::string textOf(const Orvane::ASN1::CAlgorithmIdentifier& algorithm) {
    return std::string(algorithm.get_algorithm()) + "=" + hexOf(algorithm.get_parameters());
}

inline std::string textOf(const Orvane::PKI::OCSP::CSingleResponse& entry) {
    std::ostringstream text;
    if (const auto* id = entry.get_reqCert().get_certID(); id != nullptr) {
        text << textOf(id->get_hashAlgorithm()) << ' ' << hexOf(id->get_issuerNameHash()) << ' '
             << hexOf(id->get_issuerKeyHash()) << ' ' << hexOf(id->get_serialNumber());
    }
    const auto& status = entry.get_certStatus();
    const auto* reason = status.get_revocationReason();
    text << ' ' << textOf(entry.get_reqCert().get_otherAlternative()) << ' ' << status.get_type() << ' '
         << textOf(status.get_revocationTime()) << ' ' << (reason == nullptr ? -1 : static_cast<int>(*reason)) << ' '
         << textOf(&entry.get_thisUpdate()) << ' ' << textOf(entry.get_nextUpdate()) << ' '
         << textOf(entry.get_singleExtensions());
    return text.str();
}

inline std::string textOf(const Orvane::PKI::OCSP::BasicResponseContent& content) {
    std::ostringstream text;
    text << content.version << ' ' << content.trailingSize << ' ' << content.responderID.get_type()
         << hexOf(content.responderID.get_value()) << ' ' << textOf(&content.producedAt) << ' '
         << textOf(content.signatureAlgorithm) << ' '
         << textOf(content.responseExtensions ? &*content.responseExtensions : nullptr) << '\n';
    for (const auto& entry : content.responses) {
        text << textOf(entry) << '\n';
    }
    for (const Orvane::CBlob& cert : content.certs ? *content.certs : Orvane::CBlobList()) {
        text << hexOf(cert) << '\n';
    }
    return text.str() + (content.certs ? "with certificates" : "");
}

/// What `read` returns, as text, or the status that it throws.
template <class Read>
std::string resultOf(Read read) {
    try {
        return Orvane::ASN1::withinFrame(read);
    } catch (const ATL::CAtlException& exception) {
        return "status " + std::to_string(exception.status());
    }
}

/// The two readings of a BasicOCSPResponse.
inline std::string readingOf(const Orvane::CBlob& data) {
    return resultOf([&] { return textOf(Orvane::PKI::OCSP::readBasicResponse(data)); });
}
inline std::string recordReadingOf(const Orvane::CBlob& data) {
    return resultOf([&] { return textOf(Orvane::PKI::OCSP::readBasicResponseByRecords(data)); });
}

/// The status of an OCSPResponse, "" for none.
inline std::string statusOfMessage(const Orvane::CBlob& data) {
    return resultOf([&] {
        Orvane::PKI::OCSP::CResponseMessage().decode(data);
        return std::string();
    });
}
inline std::string recordStatusOfMessage(const Orvane::CBlob& data) {
    using Traits = Orvane::ASN1::RecordTraits<asn1data::ASN1C_OCSPResponse, asn1data::asn1Copy_OCSPResponse>;
    return resultOf([&] {
        ASN1BERDecodeBuffer buffer(data.pbData(), Orvane::ASN1::messageSize(data));
        rtCtxtSetFlag(buffer.getCtxtPtr(), CTX_FLAG_ZERO_COPY);
        asn1data::ASN1T_OCSPResponse record{};
        Orvane::ASN1::decodeRecord<Traits>(buffer, record);
        return std::string();
    });
}

}  // namespace testkit
