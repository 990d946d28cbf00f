#include "cli/batch/identifier.h"

#include <algorithm>

#include "cli/input_files.h"
#include "cli/run_inputs.h"
#include "foundation/blob.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/cert_id.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Orvane::CBlob;

std::string oidOf(const std::string& hash) {
    static const std::map<std::string, std::string> kNames{{"sha1", "1.3.14.3.2.26"},
                                                           {"sha256", "2.16.840.1.101.3.4.2.1"},
                                                           {"sha384", "2.16.840.1.101.3.4.2.2"},
                                                           {"sha512", "2.16.840.1.101.3.4.2.3"}};
    const auto found = kNames.find(plainHashName(hash));
    return found == kNames.end() ? hash : found->second;
}

bool isHex(const std::string& text, std::size_t longest) {
    return !text.empty() && text.size() <= longest &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

CBlob octetsOf(const std::string& hex) {
    CBlob octets;
    octets.readFromHexString(hex.c_str());
    return octets;
}

Bytes bytesOf(const CBlob& octets) {
    return {octets.pbData(), octets.pbData() + octets.cbData()};
}

// The content of the DER INTEGER: a number from 0 on, in as few octets as possible.
CBlob serialOf(const std::string& hex) {
    const std::size_t first = std::min(hex.find_first_not_of('0'), hex.size() - 1);
    std::string digits = hex.substr(first);
    digits.insert(0, digits.size() % 2, '0');
    return octetsOf((digits.front() >= '8' ? "00" : "") + digits);
}

}  // namespace

std::optional<Identifier> identifierIn(std::map<std::string, std::string>& members, const std::string& label) {
    constexpr std::size_t kLongestNumber = 128;
    Identifier identifier{members["hash"], members["issuerNameHash"], members["issuerKeyHash"], members["serial"]};
    if (identifier.hash.empty() && identifier.issuerNameHash.empty() && identifier.issuerKeyHash.empty() &&
        identifier.serial.empty()) {
        return std::nullopt;
    }
    if (!members["certificate"].empty()) {
        throw InputError(label, "has a certificate and an identifier; leave one of them out", status::kInvalidData);
    }
    if (!isHex(identifier.issuerNameHash, kLongestNumber) || !isHex(identifier.issuerKeyHash, kLongestNumber) ||
        !isHex(identifier.serial, kLongestNumber)) {
        throw InputError(label,
                         "is no identifier; give \"hash\" (sha1, sha256, sha384, sha512 or an OID), and in hexadecimal "
                         "\"issuerNameHash\", \"issuerKeyHash\" and \"serial\"",
                         status::kInvalidData);
    }
    std::string oid = oidOf(identifier.hash);
    if (CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID) == nullptr) {
        throw InputError(label, "has no known \"hash\"; give sha1, sha256, sha384, sha512 or an OID",
                         status::kBadAlgorithm);
    }
    if (members["issuer"].empty() || members["url"].empty()) {
        throw InputError(label,
                         "is an identifier without \"issuer\" or \"url\"; add the certificate of its issuer and "
                         "the address of the responder",
                         status::kInvalidData);
    }
    return identifier;
}

bool isIssuer(const ATL2::CCertContext& issuer, const Identifier& identifier) {
    try {
        const CBlob encoding(issuer->pbCertEncoded, issuer->cbCertEncoded);
        const Orvane::ASN1::CAlgorithmIdentifierEx algorithm(oidOf(identifier.hash).c_str());
        const Orvane::PKI::OCSP::CCertID id(algorithm, encoding, encoding);  // for its two hashes
        return id.get_issuerNameHash() == octetsOf(identifier.issuerNameHash) &&
               id.get_issuerKeyHash() == octetsOf(identifier.issuerKeyHash);
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

ReceivedRequest::Asked askedOf(const Identifier& identifier) {
    return {oidOf(identifier.hash), bytesOf(octetsOf(identifier.issuerNameHash)),
            bytesOf(octetsOf(identifier.issuerKeyHash)), bytesOf(serialOf(identifier.serial))};
}

}  // namespace tallow::cli
