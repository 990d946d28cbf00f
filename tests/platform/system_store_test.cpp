#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/crypto/store.h"
#include "tests/platform/certificate_fixture.h"
#include "tests/platform/settings_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr DWORD kUser = CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;
constexpr DWORD kMachine = CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_READONLY_FLAG | CERT_STORE_SHARE_CONTEXT_FLAG;

StorePtr open(const char* name, DWORD flags = kUser) {
    return StorePtr(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, flags, name));
}

std::vector<Bytes> all(const StorePtr& store) {
    std::vector<Bytes> met;
    PCCERT_CONTEXT context = nullptr;
    while ((context = CertEnumCertificatesInStore(store.get(), context)) != nullptr) {
        met.push_back(encoded(context));
    }
    return met;
}

class SystemStore : public testing::Test {
protected:
    const Pki& pki_ = Pki::shared();
    TempDir folder_;
    SettingsFile settings_{"[crypto]\nmachine_stores = \"" + folder_.file("machine") + "\"\nuser_stores = \"" +
                           folder_.file("user") + "\"\nsystem_bundle = \"" + folder_.file("bundle.pem") + "\"\n"};
};

TEST_F(SystemStore, ShowsTheFilesOfBothFoldersInPemAndDer) {
    folder_.write("user/CA/b.pem", "a comment\n" + pki_.ca.certificatePem() + pki_.sibling.certificatePem());
    folder_.write("user/CA/a.der", pki_.subCa.certificate);
    folder_.write("machine/CA/c.crt", pki_.root.certificatePem());
    EXPECT_EQ(all(open("CA")), (std::vector<Bytes>{pki_.subCa.certificate, pki_.ca.certificate,
                                                   pki_.sibling.certificate, pki_.root.certificate}));
    EXPECT_EQ(all(open("CA", kMachine)), std::vector<Bytes>{pki_.root.certificate});
    StorePtr const wide(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, kUser, L"CA"));
    EXPECT_EQ(all(wide).size(), 4U);
}

TEST_F(SystemStore, PassesOverWhatIsNeitherCertificateNorCrl) {
    folder_.write("user/CA/a.pem", "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    folder_.write("user/CA/b.pem", pki_.good.key.pem());
    folder_.write("user/CA/c.der", "hello");
    folder_.write("user/CA/d", "");
    folder_.write("user/CA/.hidden.pem", pki_.ca.certificatePem());
    folder_.write("user/CA/sub/e.pem", pki_.ca.certificatePem());
    // The one certificate that counts, between two blocks that do not, and with a side file that does not parse.
    std::string const broken = "-----BEGIN CERTIFICATE-----\n????\n-----END CERTIFICATE-----\n";
    folder_.write("user/CA/z.pem", broken + pki_.root.certificatePem() + "-----BEGIN CERTIFICATE-----\nMIIB\n");
    folder_.write("user/CA/z.toml", "ocsp = [\nkey = ");
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.root.certificate});
}

TEST_F(SystemStore, NeitherWaitsForNorFollowsWhatIsNoFile) {
    namespace fs = std::filesystem;
    folder_.write("user/CA/a.pem", pki_.ca.certificatePem());
    fs::path const folder = folder_.path() / "user" / "CA";
    ASSERT_EQ(::mkfifo((folder / "b.pem").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((folder / "a.toml").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", folder / "c.pem");
    fs::create_symlink(folder / "nothing", folder / "d.pem");
    fs::create_symlink(folder / "e.pem", folder / "e.pem");
    folder_.write("user/CA/huge.der", "");
    fs::resize_file(folder / "huge.der", (64U << 20U) + 1);
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
}

TEST_F(SystemStore, OpensAFolderOfThousandsOfFiles) {
    for (int i = 0; i < 3000; ++i) {
        folder_.write("user/CA/" + std::to_string(i) + ".der", i % 3 == 0 ? pki_.ca.certificate : Bytes{0x30, 0x01});
    }
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
}

TEST_F(SystemStore, MustExistOnlyWhenAskedTo) {
    EXPECT_EQ(open("My"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_NE(open("My", CERT_SYSTEM_STORE_CURRENT_USER), nullptr);
    EXPECT_NE(open("CA", kMachine), nullptr);
    folder_.write("user/My/readme.toml", "");
    EXPECT_NE(open("My"), nullptr);
    for (const char* name : {"", "..", ".", "../machine/CA", "CA/sub", "/etc"}) {
        EXPECT_EQ(open(name), nullptr) << name;
        EXPECT_EQ(GetLastError(), E_INVALIDARG) << name;
    }
    EXPECT_EQ(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, kUser, nullptr), nullptr);
    EXPECT_EQ(CertOpenStore(reinterpret_cast<LPCSTR>(3), 0, 0, kUser, "CA"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(SystemStore, ShowsTheSystemsRootsInRootUnlessSwitchedOff) {
    folder_.write("bundle.pem", pki_.root.certificatePem());
    folder_.write("user/ROOT/mine.pem", pki_.sameNameCa.certificatePem());
    EXPECT_EQ(all(open("ROOT")), (std::vector<Bytes>{pki_.sameNameCa.certificate, pki_.root.certificate}));
    EXPECT_EQ(all(open("ROOT", kMachine)), std::vector<Bytes>{pki_.root.certificate});
    EXPECT_EQ(open("CA"), nullptr);
    SettingsFile const without("[crypto]\nsystem_roots = false\nuser_stores = \"" + folder_.file("user") +
                               "\"\nsystem_bundle = \"" + folder_.file("bundle.pem") + "\"\n");
    EXPECT_EQ(all(open("ROOT")), std::vector<Bytes>{pki_.sameNameCa.certificate});
}

TEST_F(SystemStore, IsEmptyWhileTheSettingsAreBroken) {
    folder_.write("bundle.pem", pki_.root.certificatePem());
    folder_.write("machine/ROOT/mine.pem", pki_.sameNameCa.certificatePem());
    SettingsFile const late("[crypto]\nsystem_roots = false\nmax_crl_bytes = \"many\"\nmachine_stores = \"" +
                            folder_.file("machine") + "\"\nsystem_bundle = \"" + folder_.file("bundle.pem") + "\"\n");
    EXPECT_EQ(all(open("ROOT", kMachine)), std::vector<Bytes>{pki_.sameNameCa.certificate});
    long limit = 0;
    EXPECT_NE(support_registry_get_long("\\crypto\\max_crl_bytes", &limit), 0);
    // Broken from now on, but not so that a root counts which the file keeps out.
    EXPECT_TRUE(all(open("ROOT", kMachine)).empty());
}

TEST_F(SystemStore, ReadsCrlsFromTheSameFolder) {
    Bytes const crl = makeCrl(pki_.ca, {});
    folder_.write("user/CA/a.crl", crl);
    folder_.write("user/CA/b.pem", toPem(makeCrl(pki_.root, {}), "X509 CRL") + pki_.ca.certificatePem());
    StorePtr const store = open("CA");
    std::vector<tallow::platform::CrlRef> const crls = tallow::platform::Store::of(store.get())->crls();
    ASSERT_EQ(crls.size(), 2U);
    EXPECT_EQ(crls[0]->der, crl);
    EXPECT_EQ(all(store).size(), 1U);
}

TEST_F(SystemStore, SetsWhatTheSideFileSaysOnTheFirstCertificate) {
    folder_.write("user/ROOT/ca.pem", pki_.ca.certificatePem() + pki_.root.certificatePem());
    folder_.write("user/ROOT/ca.toml",
                  "key = \"ca.key\"\nocsp = [\"http://127.0.0.1:1/a\", \"http://127.0.0.1:2/\"]\n");
    StorePtr const store = open("ROOT");
    ContextPtr const first(CertEnumCertificatesInStore(store.get(), nullptr));
    auto const description = [](const char* url) {
        return tlv::sequence(
            {tlv::oid("1.3.6.1.5.5.7.48.1"), tlv::contextPrimitive(6, bytesOf(std::string_view(url)))});
    };
    EXPECT_EQ(property(first.get(), CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID),
              tlv::sequence({description("http://127.0.0.1:1/a"), description("http://127.0.0.1:2/")}));
    Bytes const block = property(first.get(), CERT_KEY_PROV_INFO_PROP_ID);
    CRYPT_KEY_PROV_INFO info{};
    ASSERT_GE(block.size(), sizeof info);
    std::memcpy(&info, block.data(), sizeof info);
    std::string const key = folder_.file("user/ROOT/ca.key");
    EXPECT_EQ(std::wstring(info.pwszContainerName), std::wstring(key.begin(), key.end()));
    ContextPtr const second(CertEnumCertificatesInStore(store.get(), CertDuplicateCertificateContext(first.get())));
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(property(second.get(), CERT_KEY_PROV_INFO_PROP_ID).empty());
}

TEST_F(SystemStore, NoticesChangedAndRemovedFiles) {
    std::string const file = folder_.write("user/CA/a.pem", pki_.ca.certificatePem());
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
    folder_.write("user/CA/a.pem", pki_.root.certificatePem() + "\n");
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.root.certificate});
    folder_.write("user/CA/a.toml", "ocsp = [\"http://127.0.0.1/\"]\n");
    StorePtr const withSide = open("CA");
    ContextPtr const context(CertEnumCertificatesInStore(withSide.get(), nullptr));
    EXPECT_FALSE(property(context.get(), 81).empty());
    // What a caller sets stays with the store he opened.
    EXPECT_TRUE(CertSetCertificateContextProperty(context.get(), 81, 0, nullptr));
    StorePtr const again = open("CA");
    ContextPtr const fresh(CertEnumCertificatesInStore(again.get(), nullptr));
    EXPECT_FALSE(property(fresh.get(), 81).empty());
    std::filesystem::remove(file);
    EXPECT_TRUE(all(open("CA")).empty());
}

}  // namespace
}  // namespace testkit
