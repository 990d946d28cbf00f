#include "platform/crypto/keys/key_cost.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/keys/pkcs12_handles.h"

namespace tallow::platform {

namespace {

constexpr unsigned long long kTooMany = kMaximumRounds + 1;

using CipherPtr = std::unique_ptr<EVP_CIPHER, OpenSslFree<EVP_CIPHER_free>>;
using Pbes2Ptr = std::unique_ptr<PBE2PARAM, OpenSslFree<PBE2PARAM_free>>;

// The octets of the object identifiers, without those that differ at their ends.
constexpr std::string_view kPbkdf2("\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x05\x0C", 11);
constexpr std::string_view kPbes1("\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x05", 10);
constexpr std::string_view kPkcs12Pbe("\x06\x0A\x2A\x86\x48\x86\xF7\x0D\x01\x0C\x01", 11);
constexpr std::string_view kScrypt("\x06\x09\x2B\x06\x01\x04\x01\xDA\x47\x04\x0B", 11);

std::string_view textOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

unsigned long long numberOf(const DerElement& element) {
    unsigned long long number = 0;
    for (BYTE const octet : element.content) {
        number = number > kTooMany ? kTooMany : number << 8U | octet;
    }
    return element.content.empty() || element.content[0] >= 0x80 ? kTooMany : std::min(number, kTooMany);
}

// The parameters SEQUENCE { salt, INTEGER ... }, of which the first `count` numbers are multiplied.
unsigned long long roundsOfParameters(ByteView parameters, int count) {
    DerReader outer(parameters);
    DerReader fields = outer.sequence();
    fields.next();
    unsigned long long rounds = 1;
    for (int i = 0; i < count; ++i) {
        rounds = std::min(rounds * numberOf(fields.expect(V_ASN1_INTEGER)), kTooMany);
    }
    return fields.failed() ? kTooMany : rounds;
}

unsigned long long roundsAfter(std::string_view oid, ByteView der, size_t sizeEnd, int count) {
    unsigned long long rounds = 0;
    const std::string_view text = textOf(der);
    for (size_t at = text.find(oid); at != std::string_view::npos; at = text.find(oid, at + 1)) {
        const size_t end = at + oid.size();
        // The ends of PBES1 (1 to 11); PBES2 (13) and PBKDF2 (12) share the prefix, and PBKDF2 has its own search.
        const bool isOther = sizeEnd == 1 && (end >= der.size() || der[end] == 0 || der[end] > 11);
        if (!isOther) {
            rounds = std::min(rounds + roundsOfParameters(der.subspan(std::min(end + sizeEnd, der.size())), count),
                              kTooMany);
        }
    }
    return rounds;
}

unsigned long long roundsOfMac(ByteView der) {
    const unsigned char* position = der.data();
    const Pkcs12Ptr container(d2i_PKCS12(nullptr, &position, static_cast<long>(der.size())));
    if (container == nullptr || PKCS12_mac_present(container.get()) != 1) {
        return 0;
    }
    const ASN1_INTEGER* rounds = nullptr;
    PKCS12_get0_mac(nullptr, nullptr, nullptr, &rounds, container.get());
    int64_t number = 1;
    return rounds != nullptr && (ASN1_INTEGER_get_int64(&number, rounds) != 1 || number < 0)
               ? kTooMany
               : std::min(static_cast<unsigned long long>(number), kTooMany);
}

bool isFetchable(int cipher) {
    return cipher != NID_undef && CipherPtr(EVP_CIPHER_fetch(nullptr, OBJ_nid2sn(cipher), nullptr)) != nullptr;
}

}  // namespace

unsigned long long roundsIn(ByteView der) {
    // OpenSSL limits the memory of scrypt; cost, block size and parallelism multiply.
    return roundsAfter(kPbkdf2, der, 0, 1) + roundsAfter(kPbes1, der, 1, 1) + roundsAfter(kPkcs12Pbe, der, 1, 1) +
           roundsAfter(kScrypt, der, 0, 3) + roundsOfMac(der);
}

unsigned long long roundsOf(const X509_ALGOR* algorithm) {
    unsigned char* encoded = nullptr;
    const int size = i2d_X509_ALGOR(algorithm, &encoded);
    const OpenSslBytesPtr owner(encoded);
    return size <= 0 ? kTooMany : roundsIn({encoded, static_cast<size_t>(size)});
}

bool canOpen(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* object = nullptr;
    int type = V_ASN1_UNDEF;
    const void* value = nullptr;
    X509_ALGOR_get0(&object, &type, &value, algorithm);
    if (OBJ_obj2nid(object) != NID_pbes2) {
        int cipher = NID_undef;
        int digest = NID_undef;
        return EVP_PBE_find(EVP_PBE_TYPE_OUTER, OBJ_obj2nid(object), &cipher, &digest, nullptr) == 1 &&
               isFetchable(cipher);
    }
    if (type != V_ASN1_SEQUENCE) {
        return false;
    }
    const auto* const sequence = static_cast<const ASN1_STRING*>(value);
    const unsigned char* position = ASN1_STRING_get0_data(sequence);
    const Pbes2Ptr parameters(d2i_PBE2PARAM(nullptr, &position, ASN1_STRING_length(sequence)));
    if (parameters == nullptr) {
        return false;
    }
    const int derivation = OBJ_obj2nid(parameters->keyfunc->algorithm);
    return (derivation == NID_id_pbkdf2 || derivation == NID_id_scrypt) &&
           isFetchable(OBJ_obj2nid(parameters->encryption->algorithm));
}

}  // namespace tallow::platform
