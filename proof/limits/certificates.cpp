// Drivers for the rules that one certificate must satisfy.
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <memory>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;
using tallow::Answer;
using tallow::Checker;

namespace {

using BignumPtr = std::unique_ptr<BIGNUM, FreeWith<BN_free>>;

Answer answerAbout(const SmallPki& pki, const Identity& leaf, const Identity& ca) {
    ResponseSpec spec(ca, {EntrySpec(certIdOf(leaf, ca))});
    return Checker(pki.trust(), {.verifyChain = true})
        .verify(buildResponse(spec), {.certificate = leaf.certificate, .issuer = ca.certificate})[0]
        .answer;
}

void has64Extensions(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    for (const int count : {64, 65}) {
        CertificateSpec spec{.commonName = "many"};
        spec.keyIdentifiers = false;
        for (int i = 0; i < count; ++i) {
            spec.extensions.emplace_back("1.2.3." + std::to_string(i), tlv::null());
        }
        probe.expect((answerAbout(pki, issue(pki.ca, spec), pki.ca) == Answer::kGood) == (count == 64),
                     std::to_string(count) + (count == 64 ? " extensions are accepted" : " extensions are refused"));
    }
}

// Policies of three CAs that are mapped to each other, all with all.
void followsPolicies(Probe& probe) {
    const Machine machine;
    const auto policies = [](std::size_t count) {
        Bytes all;
        for (std::size_t i = 0; i < count; ++i) {
            const Bytes one = tlv::sequence({tlv::oid("1.2.3." + std::to_string(i + 1))});
            all.insert(all.end(), one.begin(), one.end());
        }
        return tlv::sequence({all});
    };
    const auto mappings = [](std::size_t count) {
        Bytes all;
        for (std::size_t i = 0; i < count; ++i) {
            const Bytes one = tlv::sequence({tlv::oid("1.2.3." + std::to_string(i % 7 + 1)),
                                             tlv::oid("1.2.3." + std::to_string((i * 31) % count + 1))});
            all.insert(all.end(), one.begin(), one.end());
        }
        return tlv::sequence({all});
    };
    bool isSound = true;
    const double factor = growth(
        [&](std::size_t count) -> std::function<void()> {
            SmallPki pki;
            const ExtensionList lists = {{"2.5.29.32", policies(count)}, {"2.5.29.33", mappings(count)}};
            pki.ca = issue(pki.root, {.commonName = "ca", .key = pki.ca.key, .ca = true, .extensions = lists});
            const Identity below = issue(pki.ca, {.commonName = "below", .ca = true, .extensions = lists});
            const Identity leaf = issue(below, {.commonName = "leaf", .extensions = {{"2.5.29.32", policies(count)}}});
            const Machine machine;
            machine.write("ROOT/root.pem", bytesOf(pki.root.certificatePem()));
            isSound =
                isSound && chainOf(leaf.certificate, {.carried = {pki.ca.certificate, below.certificate}}).isSound();
            return [leaf, ca = pki.ca.certificate, below, root = pki.root.certificate] {
                static_cast<void>(chainOf(leaf.certificate, {.carried = {root, ca, below.certificate}}));
            };
        },
        2000);
    probe.expect(isSound, "chains with policies are sound");
    probe.expectWithin(factor, 0, kLinear, "times the time for four times the policies");
    probe.measured("four times the policies", factor, "times the time");
}

using Parameters = std::vector<std::pair<const char*, const BIGNUM*>>;

Key keyOf(int kind, const Parameters& numbers) {
    const std::unique_ptr<OSSL_PARAM_BLD, FreeWith<OSSL_PARAM_BLD_free>> builder(OSSL_PARAM_BLD_new());
    for (const auto& [name, number] : numbers) {
        require(OSSL_PARAM_BLD_push_BN(builder.get(), name, number) == 1, "making a key");
    }
    const std::unique_ptr<OSSL_PARAM, FreeWith<OSSL_PARAM_free>> parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const PkeyCtxPtr making(EVP_PKEY_CTX_new_id(kind, nullptr));
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_fromdata_init(making.get()) == 1 &&
                EVP_PKEY_fromdata(making.get(), &key, EVP_PKEY_KEYPAIR, parameters.get()) == 1,
            "making a key");
    return Key::own(key);
}

// A modulus that is the product of primes of these sizes: two large ones take long to find.
Key rsaKey(const std::vector<int>& bitsOfPrimes) {
    const std::unique_ptr<BN_CTX, FreeWith<BN_CTX_free>> context(BN_CTX_new());
    const BignumPtr n(BN_new());
    const BignumPtr phi(BN_new());
    const BignumPtr e(BN_new());
    const BignumPtr d(BN_new());
    bool isMade = false;
    while (!isMade) {
        require(BN_one(n.get()) == 1 && BN_one(phi.get()) == 1 && BN_set_word(e.get(), 65537) == 1, "making a key");
        for (const int bits : bitsOfPrimes) {
            const BignumPtr prime(BN_new());
            require(BN_generate_prime_ex(prime.get(), bits, 0, nullptr, nullptr, nullptr) == 1 &&
                        BN_mul(n.get(), n.get(), prime.get(), context.get()) == 1 && BN_sub_word(prime.get(), 1) == 1 &&
                        BN_mul(phi.get(), phi.get(), prime.get(), context.get()) == 1,
                    "making a key");
        }
        isMade = BN_mod_inverse(d.get(), e.get(), phi.get(), context.get()) != nullptr;
    }
    return keyOf(
        EVP_PKEY_RSA,
        {{OSSL_PKEY_PARAM_RSA_N, n.get()}, {OSSL_PKEY_PARAM_RSA_E, e.get()}, {OSSL_PKEY_PARAM_RSA_D, d.get()}});
}

void hasRsaOf8192Bits(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    for (const bool isLarger : {false, true}) {
        std::vector<int> primes(8, 1024);
        if (isLarger) {
            primes.push_back(32);
        }
        const Identity ca = issue(pki.root, {.commonName = "rsa", .key = rsaKey(primes), .ca = true});
        const Identity leaf = issue(ca, {.commonName = "leaf"});
        probe.expect((answerAbout(pki, leaf, ca) == Answer::kGood) == !isLarger,
                     isLarger ? "a CA with RSA of 8220 bits does not count" : "a CA with RSA of 8192 bits counts");
    }
}

BignumPtr numberOf(EVP_PKEY* key, const char* name) {
    BIGNUM* number = nullptr;
    require(EVP_PKEY_get_bn_param(key, name, &number) == 1, "reading a DSA key");
    return BignumPtr(number);
}

// Searching a prime of this size takes long. This one is the product of a prime of 1024 bits and another number: with
// the generator 1 modulo the other number, keys work in the subgroup as they should.
Key dsaKey(int bits) {
    const Key made = Key::make(KeyKind::kDsa1024);
    EVP_PKEY* const small = made.get();
    const BignumPtr p1 = numberOf(small, OSSL_PKEY_PARAM_FFC_P);
    const BignumPtr q = numberOf(small, OSSL_PKEY_PARAM_FFC_Q);
    const BignumPtr x = numberOf(small, OSSL_PKEY_PARAM_PRIV_KEY);
    const BignumPtr g = numberOf(small, OSSL_PKEY_PARAM_FFC_G);
    const BignumPtr p(BN_new());
    const BignumPtr other(BN_new());
    const BignumPtr part(BN_new());
    const BignumPtr y(BN_new());
    const std::unique_ptr<BN_CTX, FreeWith<BN_CTX_free>> context(BN_CTX_new());
    do {
        require(BN_rand(other.get(), bits - 1023, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD) == 1 &&
                    BN_mul(p.get(), p1.get(), other.get(), context.get()) == 1,
                "making a modulus");
    } while (BN_num_bits(p.get()) != bits ||
             BN_mod_inverse(part.get(), p1.get(), other.get(), context.get()) == nullptr);
    // g + p1 * ((1 - g) / p1 modulo the other number)
    require(BN_sub(y.get(), BN_value_one(), g.get()) == 1 &&
                BN_mod_mul(part.get(), part.get(), y.get(), other.get(), context.get()) == 1 &&
                BN_nnmod(part.get(), part.get(), other.get(), context.get()) == 1 &&
                BN_mul(part.get(), part.get(), p1.get(), context.get()) == 1 &&
                BN_add(g.get(), g.get(), part.get()) == 1 &&
                BN_mod_exp(y.get(), g.get(), x.get(), p.get(), context.get()) == 1,
            "making a generator");
    return keyOf(EVP_PKEY_DSA, {{OSSL_PKEY_PARAM_FFC_P, p.get()},
                                {OSSL_PKEY_PARAM_FFC_Q, q.get()},
                                {OSSL_PKEY_PARAM_FFC_G, g.get()},
                                {OSSL_PKEY_PARAM_PUB_KEY, y.get()},
                                {OSSL_PKEY_PARAM_PRIV_KEY, x.get()}});
}

void hasDsaOf4096Bits(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    for (const int bits : {4096, 4104}) {
        const Identity ca = issue(pki.root, {.commonName = "dsa", .key = dsaKey(bits), .ca = true});
        const Identity leaf = issue(ca, {.commonName = "leaf"});
        bool isIssuer = true;
        try {
            static_cast<void>(Checker(pki.trust()).issuerOf(leaf.certificate, ca.certificate));
        } catch (const tallow::BadInput&) {
            isIssuer = false;
        }
        probe.expect(isIssuer == (bits == 4096),
                     "DSA of " + std::to_string(bits) + (bits == 4096 ? " bits verifies" : " bits does not verify"));
    }
}

}  // namespace

std::vector<Driver> certificateDrivers() {
    constexpr const char* kCertificate = "a certificate";
    return {
        {kCertificate, "64 extensions", has64Extensions},
        {kCertificate, "policies in n log n", followsPolicies},
        {kCertificate, "RSA keys of 8192 bits", hasRsaOf8192Bits},
        {kCertificate, "DSA keys of 4096 bits", hasDsaOf4096Bits},
    };
}

}  // namespace proof
