#include "bench/fresh_keys.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "tests/support/openssl_ptr.h"

namespace bench {

namespace {

using testkit::FreeWith;
using testkit::require;
using BignumPtr = std::unique_ptr<BIGNUM, FreeWith<BN_free>>;
using BignumCtxPtr = std::unique_ptr<BN_CTX, FreeWith<BN_CTX_free>>;
using ParamBuilderPtr = std::unique_ptr<OSSL_PARAM_BLD, FreeWith<OSSL_PARAM_BLD_free>>;
using ParamsPtr = std::unique_ptr<OSSL_PARAM, FreeWith<OSSL_PARAM_free>>;

constexpr int kPrimeBits = 1024;

// Any two of N primes make a key, so N primes are enough for N (N - 1) / 2 keys.
std::pair<const BIGNUM*, const BIGNUM*> nextPrimes(BN_CTX* context) {
    static std::vector<BignumPtr> primes;
    static std::size_t first = 0;
    while (first + 1 >= primes.size()) {  // the last one was combined with all before it
        first = 0;
        primes.emplace_back(BN_new());
        require(BN_generate_prime_ex2(primes.back().get(), kPrimeBits, 0, nullptr, nullptr, nullptr, context) == 1,
                "making a prime");
    }
    return {primes[first++].get(), primes.back().get()};
}

}  // namespace

testkit::Key freshRsaKey() {
    const BignumCtxPtr context(BN_CTX_new());
    const auto [p, q] = nextPrimes(context.get());
    std::array<BignumPtr, 8> numbers;
    for (BignumPtr& number : numbers) {
        number.reset(BN_new());
    }
    const auto& [n, e, d, pLess, qLess, dp, dq, inverse] = numbers;
    const BignumPtr phi(BN_new());
    require(BN_set_word(e.get(), RSA_F4) == 1 && BN_mul(n.get(), p, q, context.get()) == 1 &&
                BN_sub(pLess.get(), p, BN_value_one()) == 1 && BN_sub(qLess.get(), q, BN_value_one()) == 1 &&
                BN_mul(phi.get(), pLess.get(), qLess.get(), context.get()) == 1 &&
                BN_mod_inverse(d.get(), e.get(), phi.get(), context.get()) != nullptr &&
                BN_mod(dp.get(), d.get(), pLess.get(), context.get()) == 1 &&
                BN_mod(dq.get(), d.get(), qLess.get(), context.get()) == 1 &&
                BN_mod_inverse(inverse.get(), q, p, context.get()) != nullptr,
            "calculating a key");

    const ParamBuilderPtr builder(OSSL_PARAM_BLD_new());
    for (const auto& [name, number] : {std::pair<const char*, const BIGNUM*>{OSSL_PKEY_PARAM_RSA_N, n.get()},
                                       {OSSL_PKEY_PARAM_RSA_E, e.get()},
                                       {OSSL_PKEY_PARAM_RSA_D, d.get()},
                                       {OSSL_PKEY_PARAM_RSA_FACTOR1, p},
                                       {OSSL_PKEY_PARAM_RSA_FACTOR2, q},
                                       {OSSL_PKEY_PARAM_RSA_EXPONENT1, dp.get()},
                                       {OSSL_PKEY_PARAM_RSA_EXPONENT2, dq.get()},
                                       {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, inverse.get()}}) {
        require(OSSL_PARAM_BLD_push_BN(builder.get(), name, number) == 1, "naming a part of a key");
    }
    const ParamsPtr parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const testkit::PkeyCtxPtr loader(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_fromdata_init(loader.get()) == 1 &&
                EVP_PKEY_fromdata(loader.get(), &key, EVP_PKEY_KEYPAIR, parameters.get()) == 1,
            "making a key");
    return testkit::Key::own(key);
}

}  // namespace bench
