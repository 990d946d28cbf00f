#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/crypto/chains/chain_sources.h"
#include "tests/platform/certificate_fixture.h"
#include "tests/platform/environment_fixture.h"
#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/settings_file.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr DWORD kUser = CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;
constexpr DWORD kMachine = CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_READONLY_FLAG | CERT_STORE_SHARE_CONTEXT_FLAG;

StorePtr open(const char* name, DWORD flags = kUser) {
    return StorePtr(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, flags, name));
}

ContextPtr firstOf(const StorePtr& store) {
    return ContextPtr(CertEnumCertificatesInStore(store.get(), nullptr));
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
    const std::string paths_ = "[crypto]\nmachine_stores = \"" + folder_.file("machine") + "\"\nuser_stores = \"" +
                               folder_.file("user") + "\"\nsystem_bundle = \"" + folder_.file("bundle.pem") + "\"\n";
    SettingsFile settings_{paths_};
};

TEST_F(SystemStore, ReadsBothDirectoriesInPemAndDer) {
    folder_.write("user/CA/b.pem", "a comment\n" + pki_.ca.certificatePem() + pki_.sibling.certificatePem());
    folder_.write("user/CA/a.der", pki_.subCa.certificate);
    folder_.write("machine/CA/c.crt", pki_.root.certificatePem());
    EXPECT_EQ(all(open("CA")), (std::vector<Bytes>{pki_.subCa.certificate, pki_.ca.certificate,
                                                   pki_.sibling.certificate, pki_.root.certificate}));
    EXPECT_EQ(all(open("CA", kMachine)), std::vector<Bytes>{pki_.root.certificate});
    const StorePtr wide(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, kUser, L"CA"));
    EXPECT_EQ(all(wide).size(), 4U);
}

TEST_F(SystemStore, IgnoresOtherFiles) {
    folder_.write("user/CA/c.der", "hello");
    folder_.write("user/CA/.hidden.pem", pki_.ca.certificatePem());
    folder_.write("user/CA/sub/e.pem", pki_.ca.certificatePem());
    // The one certificate that counts, between two blocks that do not, and with a side file that does not parse.
    const std::string broken = "-----BEGIN CERTIFICATE-----\n????\n-----END CERTIFICATE-----\n";
    folder_.write("user/CA/z.pem", broken + pki_.root.certificatePem() + "-----BEGIN CERTIFICATE-----\nMIIB\n");
    folder_.write("user/CA/z.toml", "ocsp = [\nkey = ");
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.root.certificate});
}

// What one file holds: certificates, CRLs, other things, broken ones, and whether a CRL may be among the latter.
std::string read(const Bytes& content, const char* name, decltype(&crypto_read_store_content) call) {
    std::array<int, 5> counts{};
    call(
        content.data(), static_cast<DWORD>(content.size()), name,
        [](const CRYPTO_STORE_ITEM* item, void* context) {
            auto& met = *static_cast<std::array<int, 5>*>(context);
            ++met.at(item->dwKind);
            met[0] |= item->fMayBeCrl;
        },
        &counts);
    const std::string text =
        std::to_string(counts[1]) + std::to_string(counts[2]) + std::to_string(counts[3]) + std::to_string(counts[4]);
    return text + (counts[0] != 0 ? " crl?" : "");
}

TEST_F(SystemStore, ReadsEveryFormOfAFile) {
    const std::string pem = pki_.ca.certificatePem();
    const Bytes crl = makeCrl(pki_.ca, {});
    const std::string crlPem = toPem(crl, "X509 CRL");
    const Bytes carrier = selfSigned({.extensions = {{"1.2.3.4", bytesOf(std::string_view("\n" + pem))}}}).certificate;
    const Bytes& ca = pki_.ca.certificate;
    const auto cut = [](const Bytes& bytes) { return Bytes(bytes.begin(), bytes.end() - 1); };
    const auto text = [](const std::string& content) { return bytesOf(std::string_view(content)); };
    std::string withCrLf;
    for (const char c : pem) {
        withCrLf += c == '\n' ? "\r\n" : std::string(1, c);
    }
    std::string keys;
    for (int i = 0; i < 1000; ++i) {
        keys += "-----BEGIN KEY-----\n-----END KEY-----\n";
    }
    struct Row {
        const char* what;
        std::string expected;
        Bytes content;
        const char* name = "a";
    };
    for (const Row& row : {
             Row{"PEM inside a DER certificate", "1000", carrier},
             Row{"the same, cut", "0010", cut(carrier)},
             Row{"a CRL in DER", "0100", crl},
             Row{"joined blocks", "1100", text(pem.substr(0, pem.size() - 1) + crlPem)},
             Row{"CR LF, text and a byte order mark", "2000", text("\xEF\xBB\xBFnote\r\n" + withCrLf + withCrLf)},
             Row{"the older label", "1000", text(toPem(ca, "X509 CERTIFICATE"))},
             Row{"a label that carries trust", "0010", text(toPem(ca, "TRUSTED CERTIFICATE"))},
             Row{"a CRL under a wrong label", "0100", text(toPem(crl, "CERTIFICATE"))},
             Row{"a certificate under a wrong label", "0001 crl?", text(toPem(ca, "X509 CRL"))},
             Row{"a block cut off before another", "1001", text(pem.substr(0, 90) + pem)},
             Row{"a CRL cut off behind a certificate", "1001 crl?", text(pem + crlPem.substr(0, 90))},
             Row{"a label cut off", "1001 crl?", text(pem + "-----BEGIN X5")},
             Row{"a CRL in DER, cut", "0001 crl?", cut(crl)},
             Row{"DER behind DER", "0001 crl?", concat({ca, crl})},
             Row{"DER behind PEM", "1001 crl?", concat({text(pem), crl})},
             Row{"DER behind an empty line", "0001 crl?", concat({text("\r\n"), crl})},
             Row{"UTF-16", "0001 crl?", {0xFF, 0xFE, '-', 0, '-', 0}},
             Row{"what gzip makes", "0001 crl?", {0x1F, 0x8B, 0x08, 0x41}},
             Row{"hexadecimal digits", "0001 crl?", text("\n30:82:01\n0A\n")},
             Row{"base64 behind an empty line", "0001 crl?", text("\nMIIB")},
             Row{"labels in small letters", "1100", text(toPem(ca, "certificate") + toPem(crl, "x509 crl"))},
             Row{"a comment in Latin-1", "1000", text("Z\xFCrich\x1A\n" + pem)},
             Row{"a PKCS #7", "0010 crl?", text(toPem(crl, "PKCS7"))},
             Row{"a key", "0010", text(pki_.ca.key.pem())},
             Row{"text", "0010", text("hello")},
             Row{"text that should be a CRL", "0001 crl?", text("404 not found"), "/x/ca.crl"},
             Row{"nothing", "0001 crl?", {}, "a.pem"},
             Row{"zeros", "0001 crl?", Bytes(500)},
             Row{"a thousand keys, and a CRL that is cut", "00991 crl?", text(keys + crlPem.substr(0, 90))},
         }) {
        EXPECT_EQ(read(row.content, row.name, crypto_read_store_content), row.expected) << row.what;
    }
    // Stores ignore containers; a file that a user names may be one.
    const std::string container = folder_.file("c.p7b");
    run({"openssl", "crl2pkcs7", "-in", folder_.write("c.crl", crlPem), "-certfile", folder_.write("c.pem", pem),
         "-outform", "DER", "-out", container});
    const Bytes signedData = readFile(container);
    for (const Bytes& form : {signedData, text(toPem(signedData, "PKCS7")), text(toPem(signedData, "CMS"))}) {
        EXPECT_THAT(read(form, "a", crypto_read_store_content), testing::EndsWith(" crl?"));
        EXPECT_EQ(read(form, "a", crypto_read_named_content), "1100");
    }
}

// Whether a chain built now would know that a CRL may be missing. Opening the stores shows it all changes.
bool mayLackCrl() {
    showStoreChanges();
    return tallow::platform::chainSources(nullptr, nullptr).crlsIncomplete;
}

TEST_F(SystemStore, NeverTreatsAnUnreadableFileAsEmpty) {
    folder_.write("user/CA/a.crl", makeCrl(pki_.ca, {}));
    EXPECT_FALSE(mayLackCrl());
    {
        const NoDescriptors none;
        EXPECT_TRUE(mayLackCrl());
        EXPECT_EQ(open("CA"), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_OPEN_FILES);
    }
    EXPECT_FALSE(mayLackCrl());
    EXPECT_EQ(tallow::platform::chainSources(nullptr, nullptr).crls.size(), 1U);
    // The directory opens, the file does not: a link to nowhere, and to itself.
    const std::filesystem::path link = folder_.path() / "user" / "CA" / "b";
    for (const auto& target : {folder_.path() / "nothing", link}) {
        std::filesystem::create_symlink(target, link);
        EXPECT_TRUE(mayLackCrl()) << target;
        const StorePtr store = open("CA");
        EXPECT_TRUE(tallow::platform::Store::of(store.get())->mayLackCrl());
        std::filesystem::remove(link);
    }
    folder_.write("user/ROOT/broken.crl", "half a download");
    EXPECT_TRUE(mayLackCrl());
    std::filesystem::remove_all(folder_.path() / "user" / "ROOT");
    std::filesystem::remove_all(folder_.path() / "user" / "CA");
    EXPECT_FALSE(mayLackCrl());
    folder_.write("user/CA", "in the way");
    EXPECT_TRUE(mayLackCrl());
}

TEST_F(SystemStore, NeverLosesACrlThatIsRenamedMeanwhile) {
    std::string name = folder_.write("user/CA/a.crl", makeCrl(pki_.ca, {}));
    std::jthread mover([&](const std::stop_token& stop) {
        for (int i = 1; !stop.stop_requested(); ++i) {
            const std::string next = folder_.file(i % 2 == 0 ? "user/CA/a.crl" : "user/CA/b.crl");
            std::filesystem::rename(name, next);
            name = next;
            std::this_thread::sleep_for(std::chrono::microseconds(i % 100));
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(600);
    for (bool isLost = false; !isLost && std::chrono::steady_clock::now() < end;) {
        open("CA");
        const auto sources = tallow::platform::chainSources(nullptr, nullptr);
        isLost = sources.crls.empty() && !sources.crlsIncomplete;
        EXPECT_FALSE(isLost);
    }
    mover.request_stop();
    mover.join();
    EXPECT_FALSE(mayLackCrl());
}

TEST_F(SystemStore, IgnoresRootsThatOthersMayWrite) {
    const std::string root = folder_.write("machine/ROOT/a.pem", pki_.root.certificatePem());
    folder_.write("machine/CA/a.pem", pki_.root.certificatePem());
    const std::string side = folder_.write("machine/CA/a.toml", "ocsp = [\"http://127.0.0.1/\"]");
    const std::string bundle = folder_.write("bundle.pem", pki_.ca.certificatePem());
    const std::string roots = folder_.file("machine/ROOT");
    const std::string stores = folder_.file("machine");
    using Row = std::tuple<std::string, mode_t, bool, size_t>;
    for (const auto& [path, mode, ofAnother, numRoots] :
         {Row{root, 0644, false, 2}, Row{root, 0664, false, 1}, Row{root, 0646, false, 1}, Row{root, 0644, true, 1},
          Row{roots, 0775, false, 1}, Row{roots, 01777, false, 1}, Row{roots, 0755, true, 1},
          Row{stores, 0777, false, 1}, Row{stores, 01777, false, 2}, Row{stores, 01777, true, 1},
          Row{bundle, 0666, false, 1}, Row{bundle, 0644, true, 1}}) {
        if (const Changed changed(path, mode, ofAnother); changed.isDone()) {
            EXPECT_EQ(all(open("ROOT", kMachine)).size(), numRoots) << path << std::oct << mode;
            EXPECT_EQ(all(open("CA", kMachine)).size(), 1U) << "what is signed needs no trust in its file";
        }
    }
    const Changed changed(side, 0666, false);
    EXPECT_TRUE(property(firstOf(open("CA", kMachine)).get(), CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID).empty());
    const std::string here = std::filesystem::relative(stores).string();
    const SettingsFile relative("[crypto]\nsystem_roots = false\nmachine_stores = \"" + here + "\"\n");
    EXPECT_TRUE(all(open("ROOT", kMachine)).empty()) << here;
}

TEST_F(SystemStore, IgnoresTheHomeOfAnotherUser) {
    folder_.write("home/.local/share/tallow/stores/CA/a.pem", pki_.ca.certificatePem());
    const SettingsFile settings("[crypto]\nsystem_roots = false\nmachine_stores = \"\"\n");
    const Environment environment{{"XDG_DATA_HOME", ""}, {"HOME", folder_.file("home")}};
    EXPECT_EQ(all(open("CA")).size(), 1U);
    if (const Changed changed(folder_.file("home"), 0755, true); changed.isDone()) {
        EXPECT_EQ(open("CA"), nullptr);
        std::string told;
        crypto_list_store(
            "ROOT", CERT_SYSTEM_STORE_CURRENT_USER,
            [](const CRYPTO_STORE_ITEM* item, void* text) { *static_cast<std::string*>(text) += item->szProblem; },
            &told);
        EXPECT_NE(told.find("another user"), std::string::npos) << told;
    }
}

TEST_F(SystemStore, IgnoresPipesDevicesAndLargeFiles) {
    namespace fs = std::filesystem;
    folder_.write("user/CA/a.pem", pki_.ca.certificatePem());
    const fs::path folder = folder_.path() / "user" / "CA";
    ASSERT_EQ(::mkfifo((folder / "b.pem").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((folder / "a.toml").c_str(), 0600), 0);
    EXPECT_FALSE(mayLackCrl());
    fs::create_symlink("/dev/zero", folder / "c.pem");
    EXPECT_FALSE(mayLackCrl());
    fs::resize_file(folder_.write("user/CA/huge.pem", ""), (64U << 20U) + 1);
    EXPECT_TRUE(mayLackCrl());
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
    fs::remove(folder / "huge.pem");
    ASSERT_EQ(::mkfifo((folder / "b.crl").c_str(), 0600), 0);
    EXPECT_TRUE(mayLackCrl());
}

TEST_F(SystemStore, MustExistOnlyWithTheFlag) {
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

TEST_F(SystemStore, IncludesTheSystemRootsUnlessSwitchedOff) {
    folder_.write("bundle.pem", pki_.root.certificatePem());
    folder_.write("machine/ROOT/mine.pem", pki_.sameNameCa.certificatePem());
    EXPECT_EQ(all(open("ROOT")), (std::vector<Bytes>{pki_.sameNameCa.certificate, pki_.root.certificate}));
    EXPECT_EQ(open("CA"), nullptr);
    const SettingsFile without(paths_ + "system_roots = false\nmax_crl_bytes = \"many\"\n");
    EXPECT_EQ(all(open("ROOT")), std::vector<Bytes>{pki_.sameNameCa.certificate});
    long limit = 0;
    EXPECT_NE(support_registry_get_long("\\crypto\\max_crl_bytes", &limit), 0);
    // The settings are unusable from now on; the system roots that they exclude stay out.
    EXPECT_TRUE(all(open("ROOT", kMachine)).empty());
}

TEST_F(SystemStore, ShowsChainsAReadingThatIsAtMostShortlyOld) {
    const auto recent = [] { return tallow::platform::recentSystemStore("CA", tallow::platform::StoreView::kUser); };
    const auto numFiles = [&] { return recent()->files().files.size(); };
    const std::string file = folder_.write("user/CA/a.pem", pki_.ca.certificatePem());
    bool isSame = false;
    for (int i = 0; i < 100 && !isSame; ++i) {  // the process may be stopped in between
        isSame = recent() == recent();
    }
    EXPECT_TRUE(isSame);
    folder_.write("user/CA/b.pem", pki_.root.certificatePem());
    for (int i = 0; i < 500 && numFiles() != 2; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(numFiles(), 2U) << "noticed after a while";
    std::filesystem::remove(file);
    open("CA");
    EXPECT_EQ(numFiles(), 1U) << "noticed when the store is opened";
    {
        const SettingsFile other("[crypto]\nuser_stores = \"" + folder_.file("other") + "\"\n");
        EXPECT_EQ(numFiles(), 0U) << "noticed with the settings";
    }
    settings_.write(paths_);
    folder_.write("user/CA/broken.crl", "half a download");
    open("CA");
    const auto broken = recent();
    EXPECT_TRUE(broken->files().mayLackCrl());
    std::filesystem::remove_all(folder_.path() / "user" / "CA");
    folder_.write("user/CA", "no directory");
    open("CA");
    EXPECT_NE(recent(), recent()) << "failures are not kept";
}

TEST_F(SystemStore, AppliesTheSideFileToTheFirstCertificate) {
    folder_.write("user/ROOT/ca.pem", pki_.ca.certificatePem() + pki_.root.certificatePem());
    folder_.write("user/ROOT/ca.toml",
                  "key = \"ca.key\"\nocsp = [\"http://127.0.0.1:1/a\", \"http://127.0.0.1:2/\"]\n");
    const StorePtr store = open("ROOT");
    const ContextPtr first = firstOf(store);
    const auto description = [](const char* url) {
        return tlv::sequence(
            {tlv::oid("1.3.6.1.5.5.7.48.1"), tlv::contextPrimitive(6, bytesOf(std::string_view(url)))});
    };
    EXPECT_EQ(property(first.get(), CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID),
              tlv::sequence({description("http://127.0.0.1:1/a"), description("http://127.0.0.1:2/")}));
    const Bytes block = property(first.get(), CERT_KEY_PROV_INFO_PROP_ID);
    CRYPT_KEY_PROV_INFO info{};
    ASSERT_GE(block.size(), sizeof info);
    std::memcpy(&info, block.data(), sizeof info);
    const std::string key = folder_.file("user/ROOT/ca.key");
    EXPECT_EQ(std::wstring(info.pwszContainerName), std::wstring(key.begin(), key.end()));
    const ContextPtr second(CertEnumCertificatesInStore(store.get(), CertDuplicateCertificateContext(first.get())));
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(property(second.get(), CERT_KEY_PROV_INFO_PROP_ID).empty());
}

TEST_F(SystemStore, NoticesChangedAndRemovedFiles) {
    const std::string file = folder_.write("user/CA/a.pem", pki_.ca.certificatePem());
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.ca.certificate});
    folder_.write("user/CA/a.pem", pki_.root.certificatePem() + "\n");
    EXPECT_EQ(all(open("CA")), std::vector<Bytes>{pki_.root.certificate});
    folder_.write("user/CA/a.toml", "ocsp = [\"http://127.0.0.1/\"]\n");
    const ContextPtr context = firstOf(open("CA"));
    EXPECT_FALSE(property(context.get(), 81).empty());
    // What a caller sets stays with the store he opened.
    EXPECT_TRUE(CertSetCertificateContextProperty(context.get(), 81, 0, nullptr));
    EXPECT_FALSE(property(firstOf(open("CA")).get(), 81).empty());
    std::filesystem::remove(file);
    EXPECT_TRUE(all(open("CA")).empty());
}

}  // namespace
}  // namespace testkit
