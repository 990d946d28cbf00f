// What the client's tests share: settings read anew for every object, the test PKI's root trusted, handles of
// certificates and short ways to requests and responses.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "platform/crypto/crypto_service.h"
#include "tests/support/blobs.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/settings_file.h"
#include "tests/support/status_matcher.h"

namespace testkit {

namespace ocsp = Orvane::PKI::OCSP;
using ocsp::Client::CRequest;
using ocsp::Client::CResponse;

inline ATL2::CCertContext contextOf(const Bytes& der) {
    return ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
}
inline ATL2::CCertContext contextOf(const Identity& identity) {
    return contextOf(identity.certificate);
}

/// What CryptRetrieveObjectByUrlW hands out: one block that says `count` bodies and holds one.
inline void* blobArray(const Bytes& body, DWORD count = 1) {
    const std::size_t head = sizeof(CRYPT_BLOB_ARRAY) + sizeof(CRYPT_DATA_BLOB);
    auto* block = static_cast<unsigned char*>(std::calloc(1, head + body.size()));
    auto* array = reinterpret_cast<CRYPT_BLOB_ARRAY*>(block);
    array->cBlob = count;
    array->rgBlob = reinterpret_cast<CRYPT_DATA_BLOB*>(block + sizeof(CRYPT_BLOB_ARRAY));
    array->rgBlob[0] = {static_cast<DWORD>(body.size()), block + head};
    std::memcpy(block + head, body.data(), body.size());
    return block;
}

/// A memory store with these certificates, in this order.
inline ATL2::CCertStore storeOf(const std::vector<Identity>& identities) {
    ATL2::CCertStore store;
    EXPECT_EQ(store.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), 0);
    for (const Identity& identity : identities) {
        EXPECT_TRUE(
            CertAddCertificateContextToStore(store.get(), contextOf(identity).get(), CERT_STORE_ADD_ALWAYS, nullptr));
    }
    return store;
}

/// The verdict that `check` returns, or the status that it throws.
template <typename Check>
std::int32_t outcomeOf(Check check) {
    std::int32_t verdict = 0;
    const std::int32_t thrown = thrownStatus([&] { verdict = check(); });
    return thrown != 0 ? thrown : verdict;
}

class ClientTest : public testing::Test {
protected:
    ClientTest() {
        settings("");
        crypto_add_trusted_root(contextOf(pki_.root).get());
    }
    ~ClientTest() override { crypto_forget_trusted_roots(); }

    /// The policy in force for objects made from now on: lines of the table [config.cades.ocsppolicy], and of [crypto].
    void settings(const std::string& policy, const std::string& crypto = "") {
        const std::string text = machineSettings(folder_, crypto, false) +
                                 "[config.cades.ocsppolicy]\nLegacyPolicyReading = true\n" + policy;
        ASSERT_EQ(support_settings_open(folder_.write("settings.toml", text).c_str()), 0);
    }

    static Bytes exported(CRequest& request) {
        unsigned long size = 0;
        request.Export(nullptr, &size);
        Bytes bytes(size);
        request.Export(bytes.data(), &size);
        return bytes;
    }

    static void import(CRequest& request, const Bytes& der) { request.Import(der.data(), der.size()); }
    static void import(CResponse& response, const Bytes& der, const CRequest* request = nullptr) {
        response.Import(der.data(), der.size(), request);
    }
    static std::int32_t importStatus(const Bytes& der, const CRequest* request = nullptr) {
        CResponse response;
        return thrownStatus([&] { import(response, der, request); });
    }

    /// The certificate with its private key, kept in a file of the folder.
    ATL2::CCertContext withKey(const Identity& identity) const {
        return withKey(identity, folder_.write(toHex(identity.serial()) + ".key", identity.key.pem()));
    }
    static ATL2::CCertContext withKey(const Identity& identity, const std::string& keyFile) {
        ATL2::CCertContext context = contextOf(identity);
        EXPECT_TRUE(crypto_set_key_uri(context.get(), keyFile.c_str()));
        return context;
    }

    static CertificateSpec named(const char* name) { return {.commonName = name}; }
    /// A delegate of its issuer that needs no revocation check.
    static CertificateSpec delegateSpec(const char* name) {
        return {.commonName = name, .extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true};
    }

    static Bytes encodingOf(const _CERT_CONTEXT* cert) {
        return cert == nullptr ? Bytes() : Bytes{cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded};
    }
    /// What a store holds, in its order.
    static std::vector<Bytes> contentOf(HCERTSTORE store) {
        std::vector<Bytes> all;
        const _CERT_CONTEXT* cert = nullptr;
        while ((cert = CertEnumCertificatesInStore(store, cert)) != nullptr) {
            all.push_back(encodingOf(cert));
        }
        return all;
    }

    /// A request about `subject` without a nonce.
    void ask(CRequest& request, const Identity& subject, const Identity& issuer, unsigned long index = 0) {
        request.put_SRCertIDFromCert(contextOf(subject).get(), contextOf(issuer).get(), index, nullptr);
    }

    const Pki& pki_ = Pki::shared();
    TempDir folder_;
};

/// A delegate of the CA that needs no revocation check, and what leads from it to the root.
class ResponderTest : public ClientTest {
protected:
    ResponderTest() {
        responder_ = issue(pki_.ca, delegateSpec("responder"));
        folder_.write("user/CA/root.crl", makeCrl(pki_.root, {}));
        folder_.write("user/CA/ca.pem", pki_.ca.certificatePem());
    }

    Identity responder_;
};

}  // namespace testkit
