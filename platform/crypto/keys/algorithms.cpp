#include "platform/crypto/keys/algorithms.h"

#include <algorithm>
#include <array>
#include <cwchar>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/keys/gost_engine.h"
#include "platform/support/fork_gate.h"
#include "platform/support/made_once.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

constexpr DWORD kHash = CRYPT_HASH_ALG_OID_GROUP_ID;
constexpr DWORD kKey = CRYPT_PUBKEY_ALG_OID_GROUP_ID;
constexpr DWORD kSignature = CRYPT_SIGN_ALG_OID_GROUP_ID;

using enum KeyKind;
using enum Strength;

// A provider lists the hashes in this order, and signers prefer them in the order listed.
// clang-format off
constexpr std::array kAlgorithms{
    Algorithm{"2.16.840.1.101.3.4.2.1", L"sha256", kHash, CALG_SHA_256, 0, kNone, "SHA256", kGood, false, 256, "SHA-256"},
    Algorithm{"2.16.840.1.101.3.4.2.2", L"sha384", kHash, CALG_SHA_384, 0, kNone, "SHA384", kGood, false, 384, "SHA-384"},
    Algorithm{"2.16.840.1.101.3.4.2.3", L"sha512", kHash, CALG_SHA_512, 0, kNone, "SHA512", kGood, false, 512, "SHA-512"},
    Algorithm{"1.2.643.7.1.1.2.2", L"GOST R 34.11-2012 256 bit", kHash, CALG_GR3411_2012_256, 0, kNone, "md_gost12_256", kGood, true, 256, "GOST12-256"},
    Algorithm{"1.2.643.7.1.1.2.3", L"GOST R 34.11-2012 512 bit", kHash, CALG_GR3411_2012_512, 0, kNone, "md_gost12_512", kGood, true, 512, "GOST12-512"},
    Algorithm{"1.2.643.2.2.9", L"GOST R 34.11-94", kHash, CALG_GR3411, 0, kNone, "md_gost94", kGood, true, 256, "GOST94"},
    Algorithm{"2.16.840.1.101.3.4.2.4", L"sha224", kHash, CALG_SHA_224, 0, kNone, "SHA224", kGood, false, 224, nullptr},
    Algorithm{"1.3.14.3.2.26", L"sha1", kHash, CALG_SHA1, 0, kNone, "SHA1", kSha1, false, 160, "SHA-1"},
    Algorithm{"1.2.840.113549.2.5", L"md5", kHash, CALG_MD5, 0, kNone, "MD5", kBroken, false, 128, nullptr},
    Algorithm{"1.2.840.113549.2.4", L"md4", kHash, CALG_MD4, 0, kNone, nullptr, kBroken, false, 128, nullptr},
    Algorithm{"1.2.840.113549.2.2", L"md2", kHash, CALG_MD2, 0, kNone, nullptr, kBroken, false, 128, nullptr},

    Algorithm{"1.2.840.113549.1.1.1", L"RSA", kKey, CALG_RSA_KEYX, 0, kRsa, nullptr, kGood, false, 2048, "RSA"},
    Algorithm{"1.2.840.113549.1.1.10", L"RSASSA-PSS", kKey, CALG_RSA_SIGN, 0, kRsaPss, nullptr, kGood, false, 2048, nullptr},
    Algorithm{"1.2.840.10045.2.1", L"ECC", kKey, CALG_ECDSA, 0, kEllipticCurve, nullptr, kGood, false, 256, "ECDSA"},
    Algorithm{"1.3.101.112", L"Ed25519", kKey, CALG_ED25519, 0, kEd25519, nullptr, kGood, false, 256, "Ed25519"},
    Algorithm{"1.3.101.113", L"Ed448", kKey, CALG_ED448, 0, kEd448, nullptr, kGood, false, 456, "Ed448"},
    Algorithm{"1.2.840.10040.4.1", L"DSA", kKey, CALG_DSS_SIGN, 0, kDsa, nullptr, kGood, false, 2048, nullptr},
    Algorithm{"1.2.643.7.1.1.1.1", L"GOST R 34.10-2012 256 bit", kKey, CALG_GR3410_12_256, 0, kGost, nullptr, kGood, true, 256, "GOST3410-256"},
    Algorithm{"1.2.643.7.1.1.1.2", L"GOST R 34.10-2012 512 bit", kKey, CALG_GR3410_12_512, 0, kGost, nullptr, kGood, true, 512, "GOST3410-512"},
    Algorithm{"1.2.643.2.2.19", L"GOST R 34.10-2001", kKey, CALG_GR3410EL, 0, kGost, nullptr, kGood, true, 256, "GOST3410-2001"},

    Algorithm{"1.2.840.113549.1.1.11", L"sha256RSA", kSignature, CALG_SHA_256, CALG_RSA_SIGN, kRsa, "SHA256", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.12", L"sha384RSA", kSignature, CALG_SHA_384, CALG_RSA_SIGN, kRsa, "SHA384", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.13", L"sha512RSA", kSignature, CALG_SHA_512, CALG_RSA_SIGN, kRsa, "SHA512", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.14", L"sha224RSA", kSignature, CALG_SHA_224, CALG_RSA_SIGN, kRsa, "SHA224", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.5", L"sha1RSA", kSignature, CALG_SHA1, CALG_RSA_SIGN, kRsa, "SHA1", kSha1, false, 0, nullptr},
    Algorithm{"1.3.14.3.2.29", L"sha1RSA", kSignature, CALG_SHA1, CALG_RSA_SIGN, kRsa, "SHA1", kSha1, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.4", L"md5RSA", kSignature, CALG_MD5, CALG_RSA_SIGN, kRsa, nullptr, kBroken, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.3", L"md4RSA", kSignature, CALG_MD4, CALG_RSA_SIGN, kRsa, nullptr, kBroken, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.2", L"md2RSA", kSignature, CALG_MD2, CALG_RSA_SIGN, kRsa, nullptr, kBroken, false, 0, nullptr},
    Algorithm{"1.2.840.113549.1.1.10", L"RSASSA-PSS", kSignature, CALG_OID_INFO_PARAMETERS, CALG_RSA_SIGN, kRsaPss, nullptr, kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10045.4.3.2", L"sha256ECDSA", kSignature, CALG_SHA_256, CALG_ECDSA, kEllipticCurve, "SHA256", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10045.4.3.3", L"sha384ECDSA", kSignature, CALG_SHA_384, CALG_ECDSA, kEllipticCurve, "SHA384", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10045.4.3.4", L"sha512ECDSA", kSignature, CALG_SHA_512, CALG_ECDSA, kEllipticCurve, "SHA512", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10045.4.3.1", L"sha224ECDSA", kSignature, CALG_SHA_224, CALG_ECDSA, kEllipticCurve, "SHA224", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10045.4.1", L"sha1ECDSA", kSignature, CALG_SHA1, CALG_ECDSA, kEllipticCurve, "SHA1", kSha1, false, 0, nullptr},
    // Their hash is part of the scheme; the number is the hash under which a signer finds them.
    Algorithm{"1.3.101.112", L"Ed25519", kSignature, CALG_SHA_512, CALG_ED25519, kEd25519, nullptr, kGood, false, 0, nullptr},
    Algorithm{"1.3.101.113", L"Ed448", kSignature, CALG_SHA_512, CALG_ED448, kEd448, nullptr, kGood, false, 0, nullptr},
    Algorithm{"2.16.840.1.101.3.4.3.2", L"sha256DSA", kSignature, CALG_SHA_256, CALG_DSS_SIGN, kDsa, "SHA256", kGood, false, 0, nullptr},
    Algorithm{"1.2.840.10040.4.3", L"sha1DSA", kSignature, CALG_SHA1, CALG_DSS_SIGN, kDsa, "SHA1", kSha1, false, 0, nullptr},
    Algorithm{"1.2.643.7.1.1.3.2", L"GOST R 34.11-2012/34.10-2012 256 bit", kSignature, CALG_GR3411_2012_256, CALG_GR3410_12_256, kGost, "md_gost12_256", kGood, true, 0, nullptr},
    Algorithm{"1.2.643.7.1.1.3.3", L"GOST R 34.11-2012/34.10-2012 512 bit", kSignature, CALG_GR3411_2012_512, CALG_GR3410_12_512, kGost, "md_gost12_512", kGood, true, 0, nullptr},
    Algorithm{"1.2.643.2.2.3", L"GOST R 34.11-94/34.10-2001", kSignature, CALG_GR3411, CALG_GR3410EL, kGost, "md_gost94", kGood, true, 0, nullptr},
};
// clang-format on

// The public records of the table, made once.
struct PublicRecords {
    std::array<CRYPT_OID_INFO, kAlgorithms.size()> infos{};

    PublicRecords() noexcept {
        for (size_t i = 0; i < kAlgorithms.size(); ++i) {
            const Algorithm& row = kAlgorithms[i];
            CRYPT_OID_INFO& info = infos[i];
            info.cbSize = sizeof info;
            info.pszOID = row.oid;
            info.pwszName = row.name;
            info.dwGroupId = row.group;
            info.Algid = row.number;
            if (row.group == kSignature) {
                info.ExtraInfo = {sizeof row.publicKey, reinterpret_cast<BYTE*>(const_cast<ALG_ID*>(&row.publicKey))};
            }
        }
    }
};

PCCRYPT_OID_INFO publicRecord(const Algorithm* row) noexcept {
    static const PublicRecords records;
    if (row == nullptr) {
        SetLastError(CRYPT_E_NOT_FOUND);
        return nullptr;
    }
    return &records.infos[static_cast<size_t>(row - kAlgorithms.data())];
}

template <typename Predicate>
const Algorithm* findRow(Predicate predicate) noexcept {
    const auto* const row = std::find_if(kAlgorithms.begin(), kAlgorithms.end(), predicate);
    return row == kAlgorithms.end() ? nullptr : row;
}

}  // namespace

std::span<const Algorithm> algorithms() noexcept {
    return kAlgorithms;
}

const Algorithm* findAlgorithm(std::string_view oid, DWORD group) noexcept {
    return findRow([&](const Algorithm& row) { return (group == 0 || row.group == group) && row.oid == oid; });
}

const Algorithm* findHash(ALG_ID number) noexcept {
    return findRow([&](const Algorithm& row) { return row.group == kHash && row.number == number; });
}

const Algorithm* findSignature(ALG_ID hash, ALG_ID publicKey) noexcept {
    return findRow([&](const Algorithm& row) {
        return row.group == kSignature && row.number == hash && row.publicKey == publicKey;
    });
}

bool ensureInstalled(const Algorithm& algorithm) noexcept {
    return !algorithm.engine || gostAvailable();
}

const EVP_MD* digestOf(const Algorithm& algorithm) noexcept {
    if (algorithm.digest == nullptr) {
        return nullptr;
    }
    if (algorithm.engine) {
        return gostDigest(algorithm.digest);
    }
    static NeverDestroyed<std::array<MadeOnce<DigestPtr>, kAlgorithms.size()>> digests;
    return (*digests)[static_cast<size_t>(&algorithm - kAlgorithms.data())].get([&] {
        const OpenSslErrors errors;
        return DigestPtr(EVP_MD_fetch(nullptr, algorithm.digest, nullptr));
    });
}

}  // namespace tallow::platform

using namespace tallow::platform;

DWORD CertOIDToAlgId(LPCSTR pszObjId) {
    const Algorithm* const row = pszObjId == nullptr ? nullptr : findAlgorithm(pszObjId, 0);
    if (row == nullptr) {
        SetLastError(CRYPT_E_NOT_FOUND);
        return 0;
    }
    return row->number;
}

PCCRYPT_OID_INFO CryptFindOIDInfo(DWORD dwKeyType, void* pvKey, DWORD dwGroupId) {
    const ForkGate gate;
    // The upper half of the group holds search flags that mean nothing here.
    const DWORD group = dwGroupId & 0xFFFFU;
    const auto inGroup = [group](const Algorithm& row) { return group == 0 || row.group == group; };
    if (pvKey == nullptr) {
        SetLastError(E_INVALIDARG);
        return nullptr;
    }
    switch (dwKeyType) {
        case CRYPT_OID_INFO_OID_KEY:
            return publicRecord(findAlgorithm(static_cast<const char*>(pvKey), group));
        case CRYPT_OID_INFO_NAME_KEY:
            return publicRecord(findRow([&](const Algorithm& row) {
                return inGroup(row) && std::wcscmp(row.name, static_cast<const wchar_t*>(pvKey)) == 0;
            }));
        case CRYPT_OID_INFO_ALGID_KEY: {
            ALG_ID number = 0;
            std::memcpy(&number, pvKey, sizeof number);
            // A signature is found by its pair: its own number is that of a hash.
            return publicRecord(findRow(
                [&](const Algorithm& row) { return inGroup(row) && row.group != kSignature && row.number == number; }));
        }
        case CRYPT_OID_INFO_SIGN_KEY: {
            std::array<ALG_ID, 2> pair{};
            std::memcpy(pair.data(), pvKey, sizeof pair);
            return publicRecord(group == 0 || group == kSignature ? findSignature(pair[0], pair[1]) : nullptr);
        }
        default:
            SetLastError(E_INVALIDARG);
            return nullptr;
    }
}
