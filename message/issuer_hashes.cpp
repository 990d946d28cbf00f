#include "message/issuer_hashes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "asn1/codec/codec.h"
#include "handles/last_error.h"
#include "message/certificate_key.h"

namespace Orvane::PKI::OCSP {

namespace {

// A chain has two or three issuers.
constexpr std::size_t kNumKept = 4;
// Of name and key together; an RSA key of 4096 bits has 526. Larger issuers are hashed each time.
constexpr std::size_t kMaxOctets = 1024;
constexpr std::size_t kMaxHash = 64;

using Octets = std::span<const unsigned char>;

// One issuer with its hashes. It holds no pointers, so a thread that ends has nothing to free.
class KeptIssuer {
public:
    bool is(ALG_ID algorithm, Octets name, Octets key) const {
        const Octets all(octets_);
        return algorithm_ == algorithm && std::ranges::equal(all.first(sizeName_), name) &&
               std::ranges::equal(all.subspan(sizeName_, sizeKey_), key);
    }
    IssuerHashes hashes() const { return {CBlob(nameHash_.data(), sizeHash_), CBlob(keyHash_.data(), sizeHash_)}; }

    static bool fits(Octets name, Octets key, const IssuerHashes& hashes) {
        return name.size() <= kMaxOctets && key.size() <= kMaxOctets - name.size() &&
               hashes.name.cbData() <= kMaxHash && hashes.key.cbData() == hashes.name.cbData();
    }
    void keep(ALG_ID algorithm, Octets name, Octets key, const IssuerHashes& hashes) {
        algorithm_ = algorithm;
        sizeName_ = static_cast<std::uint16_t>(name.size());
        sizeKey_ = static_cast<std::uint16_t>(key.size());
        sizeHash_ = static_cast<std::uint16_t>(hashes.name.cbData());
        std::ranges::copy(key, std::ranges::copy(name, octets_.begin()).out);
        std::copy_n(hashes.name.pbData(), sizeHash_, nameHash_.begin());
        std::copy_n(hashes.key.pbData(), sizeHash_, keyHash_.begin());
    }

private:
    ALG_ID algorithm_ = 0;  // 0: nothing is kept
    std::uint16_t sizeName_ = 0;
    std::uint16_t sizeKey_ = 0;
    std::uint16_t sizeHash_ = 0;
    std::array<unsigned char, kMaxOctets> octets_{};
    std::array<unsigned char, kMaxHash> nameHash_{};
    std::array<unsigned char, kMaxHash> keyHash_{};
};

thread_local std::array<KeptIssuer, kNumKept> keptIssuers;
thread_local std::size_t nextKept = 0;

}  // namespace

IssuerHashes issuerHashes(ALG_ID algorithm, const CERT_INFO& issuer) {
    const Octets name(issuer.Subject.pbData, issuer.Subject.cbData);
    const CRYPT_BIT_BLOB& bits = issuer.SubjectPublicKeyInfo.PublicKey;
    const Octets key(bits.pbData, bits.cbData);
    for (const KeptIssuer& kept : keptIssuers) {
        if (kept.is(algorithm, name, key)) {
            return kept.hashes();
        }
    }
    IssuerHashes hashes{hashOf(algorithm, name.data(), name.size()), hashOf(algorithm, key.data(), key.size())};
    if (KeptIssuer::fits(name, key, hashes)) {
        keptIssuers.at(nextKept).keep(algorithm, name, key, hashes);
        nextKept = (nextKept + 1) % kNumKept;
    }
    return hashes;
}

CCertID identifierOf(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CERT_INFO& certificate,
                     const CERT_INFO& issuer) {
    return ASN1::withinFrame([&] {
        const ALG_ID algorithm = CertOIDToAlgId(hashAlgorithm.get_algorithm());
        if (algorithm == 0) {
            ATL2::throwLastErrorOrFail();
        }
        const IssuerHashes hashes = issuerHashes(algorithm, issuer);
        ASN1::CBigInteger serial(certificate.SerialNumber.pbData, certificate.SerialNumber.cbData);
        serial.reverse();  // the service keeps numbers least significant octet first
        CCertID id;
        id.put_hashAlgorithm(hashAlgorithm);
        id.put_issuerNameHash(hashes.name);
        id.put_issuerKeyHash(hashes.key);
        id.put_serialNumber(serial);
        return id;
    });
}

}  // namespace Orvane::PKI::OCSP
