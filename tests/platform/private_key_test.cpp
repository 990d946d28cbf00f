// Private keys in files written by the openssl command: each form opens, nothing else does, and there is no prompt.
#include <gtest/gtest.h>
#include <openssl/pkcs12.h>
#include <openssl/ui.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/provider_fixture.h"
#include "tests/platform/token_provider.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/settings_file.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr const char* kNoPin = nullptr;

DWORD givePin(const ProviderPtr& provider, const char* pin) {
    return CryptSetProvParam(provider.get(), PP_SIGNATURE_PIN, reinterpret_cast<const BYTE*>(pin), 0) != FALSE
               ? 0
               : GetLastError();
}

// Replaces OpenSSL's default prompt at the terminal.
int askTerminal(UI* /*dialogue*/, UI_STRING* /*question*/) {
    ADD_FAILURE() << "prompt at the terminal";
    return -1;
}

class PrivateKey : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static UI_METHOD* const terminal = UI_create_method("terminal");
        UI_method_set_reader(terminal, askTerminal);
        UI_set_default_method(terminal);
    }
    // The last error of acquiring the key of `identity_` at `uri` and of giving its PIN, 0 for none.
    DWORD open(const std::string& uri, const char* pin = kNoPin) {
        EXPECT_TRUE(crypto_set_key_uri(certificate_.get(), uri.c_str()));
        provider_.reset();
        const DWORD code = acquireKey(certificate_.get(), provider_);
        return code == 0 && pin != kNoPin ? givePin(provider_, pin) : code;
    }
    // 0, or the last error of using the key.
    DWORD sign() {
        std::string oid = chosenAlgorithm(provider_, certificate_.get());
        CRYPT_ALGORITHM_IDENTIFIER algorithm{oid.data(), {}};
        BYTE signature[512];
        DWORD size = sizeof signature;
        const BOOL made = CryptSignCertificate(provider_.get(), AT_SIGNATURE, X509_ASN_ENCODING, signature, 0,
                                               &algorithm, nullptr, signature, &size);
        return made != FALSE ? 0 : GetLastError();
    }
    // Runs "openssl ..." and returns the file it wrote.
    std::string made(const std::string& name, const std::string& command) const {
        EXPECT_EQ(run(words("openssl " + command + " -out " + folder_.file(name))).exitStatus, 0) << name;
        return folder_.file(name);
    }
    std::string pkcs8(const std::string& name, const std::string& options) const {
        return made(name, "pkcs8 -topk8 -in " + plain_ + options);
    }
    std::string pkcs12(const std::string& name, const std::string& options) const {
        return made(name, "pkcs12 -export -inkey " + plain_ + " -in " + own_ + options);
    }
    void use(const Identity& identity) {
        identity_ = identity;
        certificate_ = testkit::context(identity.certificate);
        plain_ = folder_.write("plain.pem", identity.key.pem());
        own_ = folder_.write("own.pem", identity.certificatePem());
    }

    TempDir folder_;
    Identity identity_;
    ContextPtr certificate_;
    std::string plain_, own_;
    ProviderPtr provider_;
};

TEST_F(PrivateKey, OpensEveryFormWrittenByOpenssl) {
    const Identity other = Pki::shared().revoked;
    const std::string otherPem = folder_.write("other.pem", other.key.pem());
    for (const auto kind : {KeyKind::kRsa2048, KeyKind::kEcP256}) {
        use(selfSigned({.key = Key::make(kind)}));
        const std::string bundle = folder_.write(
            "bundle.pem", "A note\n" + identity_.certificatePem() + other.key.pem() + identity_.key.pem());
        const Bytes der = readFile(pkcs8("p8.der", " -nocrypt -outform DER"));
        // An attribute that holds the octets of an identifier of encryptions without its last one.
        const Bytes odd = tlv::sequence({tlv::oid("1.2.3"), tlv::set({fromHex("040B06092A864886F70D010500")})});
        const Bytes withOdd = concat({Bytes(der.begin() + 2 + (der[1] & 0x7F), der.end()), tlv::context(0, odd)});
        struct Row {
            const char* name;
            std::string uri;
            const char* pin;  // null: opens without
        };
        const std::string traditional = "pkey -traditional -in " + plain_;
        const Row rows[] = {
            {"PKCS #8", plain_, kNoPin},
            {"by URI without authority", "FILE:" + plain_, kNoPin},
            {"by URI with this host", "file://localhost" + plain_, kNoPin},
            {"by relative path", std::filesystem::relative(plain_).string(), kNoPin},
            {"PKCS #8, DER", folder_.file("p8.der"), kNoPin},
            {"PKCS #8, with an odd attribute", folder_.write("odd.der", tlv::raw(0x30, withOdd)), kNoPin},
            {"traditional", made("old.pem", traditional), kNoPin},
            {"traditional, DER", made("old.der", traditional + " -outform DER"), kNoPin},
            {"traditional, encrypted", made("old2.pem", traditional + " -aes128 -passout pass:12ä"), "12ä"},
            {"PKCS #8, encrypted", pkcs8("p8.pem", " -passout pass:12ä"), "12ä"},
            {"PKCS #8, encrypted, DER", pkcs8("p82.der", " -passout pass:1234 -outform DER"), "1234"},
            {"PKCS #12", pkcs12("k.p12", " -passout pass:1ä"), "1ä"},
            {"PKCS #12 without password", pkcs12("n.p12", " -passout pass:"), kNoPin},
            {"behind another key", bundle, kNoPin},
        };
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            ASSERT_EQ(open(row.uri), 0U);
            for (const char* wrong : {"wrong", ""}) {
                EXPECT_EQ(sign(), row.pin == kNoPin ? 0U : NTE_SILENT_CONTEXT);
                EXPECT_EQ(givePin(provider_, wrong), row.pin == kNoPin ? 0U : SCARD_W_WRONG_CHV);
            }
            EXPECT_EQ(givePin(provider_, row.pin == kNoPin ? "not needed" : row.pin), 0U);
            EXPECT_EQ(sign(), 0U);
        }
    }
}

TEST_F(PrivateKey, OfAnotherCertificateIsRejected) {
    use(Pki::shared().revoked);
    const std::string locked = pkcs8("locked.pem", " -passout pass:1234");
    const std::string pfx = pkcs12("k.p12", " -passout pass:1234");
    certificate_ = testkit::context(Pki::shared().good.certificate);
    EXPECT_EQ(open(plain_), NTE_BAD_PUBLIC_KEY);
    for (const std::string& file : {locked, pfx}) {
        ASSERT_EQ(open(file), 0U) << file;
        EXPECT_EQ(givePin(provider_, "1234"), NTE_BAD_PUBLIC_KEY) << file;
        EXPECT_EQ(sign(), NTE_SILENT_CONTEXT) << file;
    }
}

// A file like those of keystores with several entries; the openssl command cannot write one.
TEST_F(PrivateKey, IsFoundAmongSeveralInAPkcs12File) {
    use(Pki::shared().good);
    for (const char* pin : {"1234", kNoPin}) {
        STACK_OF(PKCS12_SAFEBAG)* bags = nullptr;
        for (const Identity* identity : std::initializer_list<const Identity*>{&Pki::shared().revoked, &identity_}) {
            ASSERT_NE(PKCS12_add_key(&bags, identity->key.get(), 0, 2048, pin == kNoPin ? -1 : NID_aes_256_cbc, pin),
                      nullptr);
        }
        STACK_OF(PKCS7)* safes = nullptr;
        ASSERT_EQ(PKCS12_add_safe(&safes, bags, -1, 0, nullptr), 1);
        PKCS12* const file = PKCS12_add_safes(safes, 0);
        ASSERT_EQ(PKCS12_set_mac(file, pin, -1, nullptr, 0, 2048, EVP_sha256()), 1);
        unsigned char* der = nullptr;
        const int size = i2d_PKCS12(file, &der);
        const std::string path = folder_.write("several.p12", std::string(der, der + size));
        OPENSSL_free(der);
        PKCS12_free(file);
        sk_PKCS7_pop_free(safes, PKCS7_free);
        sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
        EXPECT_EQ(open(path, pin), 0U);
        EXPECT_EQ(sign(), 0U);
        certificate_ = testkit::context(Pki::shared().ca.certificate);
        EXPECT_EQ(open(path, pin), NTE_BAD_PUBLIC_KEY);
        use(Pki::shared().good);
    }
}

// A file chooses how its key is encrypted, and how much work opening it takes.
TEST_F(PrivateKey, WithUnsupportedEncryptionIsReportedAsSuch) {
    use(Pki::shared().good);
    // A million rounds become eight, of the MAC as well.
    const auto costly = [&](const std::string& file) {
        Bytes bytes = readFile(file);
        const Bytes million = {0x02, 0x03, 0x0F, 0x42, 0x40};
        const auto next = [&] { return std::search(bytes.begin(), bytes.end(), million.begin(), million.end()); };
        EXPECT_NE(next(), bytes.end());
        for (auto found = next(); found != bytes.end(); found = next()) {
            found[2] = 0x7F;
        }
        return folder_.write("costly" + std::to_string(bytes.size()), bytes);
    };
    const std::string legacy = pkcs12("old.p12", " -passout pass:1234 -legacy");
    EXPECT_EQ(open(legacy, "1234"), 0U) << "its certificates alone are closed so";
    EXPECT_EQ(sign(), 0U);
    const std::string weak =
        pkcs12("rc2.p12", " -passout pass:1234 -legacy -keypbe PBE-SHA1-RC2-40 -certpbe PBE-SHA1-RC2-40");
    EXPECT_EQ(open(weak, "wrong"), SCARD_W_WRONG_CHV);
    const std::string rounds = " -passout pass:1234 -iter 1000000";
    const std::string der = costly(pkcs8("much.der", rounds + " -outform DER"));
    // A file is refused for all its keys together.
    std::string six;
    for (int i = 0; i < 6; ++i) {
        six += toPem(readFile(pkcs8("one.der", rounds + " -outform DER")), "ENCRYPTED PRIVATE KEY");
    }
    for (const std::string& file :
         {weak, der, folder_.write("six.pem", six),
          folder_.write("much.pem", toPem(readFile(der), "ENCRYPTED PRIVATE KEY")), costly(pkcs12("much.p12", rounds)),
          pkcs8("des.pem", " -passout pass:1234 -v1 PBE-MD5-DES -provider legacy -provider default")}) {
        EXPECT_EQ(open(file, "1234"), ERROR_NOT_SUPPORTED) << file;
    }
}

TEST_F(PrivateKey, OnATokenOpensWithOneAttempt) {
    use(Pki::shared().good);
    EXPECT_EQ(open("pkcs11:token=test"), NTE_NOT_SUPPORTED);  // unsupported scheme
    {
        const TokenProvider token({Pki::shared().revoked.key, identity_.key}, "1234");
        ASSERT_EQ(open("pkcs11:token=test"), 0U);
        EXPECT_EQ(sign(), NTE_SILENT_CONTEXT);
        EXPECT_EQ(token.numWrongPins(), 0);
        EXPECT_EQ(givePin(provider_, "4321"), SCARD_W_WRONG_CHV);
        EXPECT_EQ(token.numWrongPins(), 1);
        EXPECT_EQ(givePin(provider_, "1234"), 0U);
        EXPECT_EQ(sign(), 0U);
    }
    const TokenProvider others({Pki::shared().revoked.key}, "");
    EXPECT_EQ(open("pkcs11:token=test"), NTE_BAD_PUBLIC_KEY);
    const TokenProvider empty({}, "");
    EXPECT_EQ(open("pkcs11:token=test"), NTE_BAD_KEYSET);
}

TEST_F(PrivateKey, NeverShowsThePinInTheTrace) {
    use(Pki::shared().good);
    const std::string trace = folder_.file("trace.log");
    const SettingsFile settings("[trace]\nenabled = true\nfile = \"" + trace + "\"\n");
    EXPECT_EQ(open(pkcs8("p8.pem", " -passout pass:right-secret"), "wrong-secret"), SCARD_W_WRONG_CHV);
    EXPECT_EQ(givePin(provider_, "right-secret"), 0U);
    EXPECT_EQ(open("pkcs11:token=test?pin-value=third-secret"), NTE_NOT_SUPPORTED);
    const Bytes bytes = readFile(trace);
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find("pkcs11"), std::string::npos);
    EXPECT_EQ(text.find("secret"), std::string::npos) << text;
}

TEST_F(PrivateKey, ReportsWhyThereIsNoKey) {
    use(Pki::shared().good);
    EXPECT_EQ(acquireKey(certificate_.get(), provider_), CRYPT_E_NO_KEY_PROPERTY);
    const std::string pipe = folder_.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR), 0);
    const std::string huge = folder_.write("huge.pem", identity_.key.pem());
    std::filesystem::resize_file(huge, std::uintmax_t{1} << 40);
    std::string rubbish;
    for (unsigned int i = 0; rubbish.size() < 500000; ++i) {
        rubbish += static_cast<char>(i * i * 2654435761U >> 13U);
    }
    const std::string certificates = made("c.p12", "pkcs12 -export -nokeys -passout pass:1234 -in " + own_);
    const std::pair<std::string, DWORD> rows[] = {
        {folder_.file("missing.pem"), NTE_BAD_KEYSET},
        {folder_.path().string(), NTE_BAD_KEYSET},
        {pipe, NTE_BAD_KEYSET},
        {"/dev/zero", NTE_BAD_KEYSET},
        {huge, NTE_BAD_KEYSET},
        {folder_.write("empty", ""), NTE_BAD_KEYSET},
        {folder_.write("rubbish.der", rubbish), NTE_BAD_KEYSET},
        {folder_.write("cut.pem", identity_.key.pem().substr(0, 90)), NTE_BAD_KEYSET},
        {folder_.write("cut.der", fromHex("06092A864886F70D0105")), NTE_BAD_KEYSET},  // before the kind of encryption
        {own_, NTE_BAD_KEYSET},
        {"file://elsewhere/key.pem", NTE_NOT_SUPPORTED},
        {"tpm2:handle=1", NTE_NOT_SUPPORTED},
    };
    for (const auto& [uri, error] : rows) {
        EXPECT_EQ(open(uri), error) << uri;
    }
    EXPECT_EQ(open(certificates, "1234"), NTE_BAD_KEYSET);
    HCRYPTPROV keyless = 0;
    ASSERT_TRUE(CryptAcquireContextA(&keyless, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    provider_.reset(keyless);
    EXPECT_EQ(sign(), NTE_NO_KEY);
    EXPECT_EQ(givePin(provider_, "1234"), NTE_NO_KEY);
    EXPECT_FALSE(CryptSetProvParam(keyless, 99, nullptr, 0));
    EXPECT_EQ(GetLastError(), NTE_BAD_TYPE);
    for (const char* text : {"", "\xFF", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(crypto_set_key_uri(certificate_.get(), text));
        EXPECT_EQ(GetLastError(), E_INVALIDARG);
    }
}

}  // namespace
}  // namespace testkit
