// Installs into a temporary prefix, builds the examples against it with find_package and with pkg-config, and runs them
// against a real responder.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/responder.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kBuildTimeoutMs = 240000;

void runOrThrow(const std::vector<std::string>& command, const std::vector<std::string>& environment = {}) {
    const ProcessResult result = run(command, kBuildTimeoutMs, environment);
    if (result.exitStatus != 0) {
        throw std::runtime_error(command.front() + " failed: " + result.out + result.err);
    }
}

class InstalledPackage : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = std::make_unique<TempDir>();
        runOrThrow({TALLOW_CMAKE, "--install", TALLOW_BUILD_FOLDER, "--prefix", prefix()});
        buildWithFindPackage();
        buildWithPkgConfig();
        root_ = rootCa("Root");
        CertificateSpec spec;
        spec.commonName = "responder";
        spec.extendedKeyUsage = "OCSPSigning";
        spec.ocspNoCheck = true;
        signer_ = issue(root_, spec);
        good_ = issue(root_, {});
        revoked_ = issue(root_, {});
        folder_->write("home/tallow/stores/ROOT/root.pem", root_.certificatePem());
        folder_->write("root.der", root_.certificate);
    }
    static void TearDownTestSuite() { folder_.reset(); }

    static std::string prefix() { return folder_->file("prefix"); }
    static std::string program(const std::string& name) { return folder_->file(name); }

    static Responder responder() {
        ResponderOptions options;
        options.ca = root_;
        options.signer = signer_;
        options.index = {{good_, 'V'}, {revoked_, 'R'}};
        return Responder(options);
    }
    static ProcessResult ask(const std::vector<std::string>& command) {
        return run(command, 60000, {"XDG_DATA_HOME=" + folder_->file("home")});
    }
    // With the serial number of a certificate that the responder knows, so that it gives that one's status.
    static std::string leafNaming(const Responder& responder, const Identity& known) {
        CertificateSpec spec;
        spec.serial = known.serial();
        spec.ocspUrls = {responder.url()};
        return folder_->write("leaf.der", issue(root_, spec).certificate);
    }

    static std::unique_ptr<TempDir> folder_;
    static Identity root_, signer_, good_, revoked_;

private:
    static void buildWithFindPackage() {
        const std::string build = folder_->file("cmake");
        runOrThrow({TALLOW_CMAKE, "-S", TALLOW_EXAMPLES, "-B", build, "-DCMAKE_PREFIX_PATH=" + prefix(),
                    "-DCMAKE_C_COMPILER=" TALLOW_C_COMPILER, "-DCMAKE_CXX_COMPILER=" TALLOW_CXX_COMPILER,
                    "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror",
                    "-DCMAKE_C_FLAGS=-Wall -Wextra -Wpedantic -Werror"});
        runOrThrow({TALLOW_CMAKE, "--build", build});
    }
    static void buildWithPkgConfig() {
        const std::string flags = " $(pkg-config --cflags --libs tallow) -Wl,-rpath," + prefix() + "/" TALLOW_LIBDIR;
        const std::string examples = TALLOW_EXAMPLES;
        const std::vector<std::string> path{"PKG_CONFIG_PATH=" + prefix() + "/" TALLOW_LIBDIR "/pkgconfig"};
        runOrThrow({"sh", "-c",
                    TALLOW_CXX_COMPILER " -std=c++20 " + examples + "/check.cpp -o " + program("pc-check") + flags},
                   path);
        runOrThrow(
            {"sh", "-c", TALLOW_C_COMPILER " -std=c11 " + examples + "/check.c -o " + program("pc-check-c") + flags},
            path);
    }
};

std::unique_ptr<TempDir> InstalledPackage::folder_;
Identity InstalledPackage::root_;
Identity InstalledPackage::signer_;
Identity InstalledPackage::good_;
Identity InstalledPackage::revoked_;

TEST_F(InstalledPackage, ServesTheExampleWithClasses) {
    const Responder responder = InstalledPackage::responder();
    for (const std::string& example : {program("cmake/example-check"), program("pc-check")}) {
        SCOPED_TRACE(example);
        const ProcessResult good = ask({example, leafNaming(responder, good_), folder_->file("root.der")});
        EXPECT_EQ(good.exitStatus, 0) << good.err;
        EXPECT_EQ(good.out, "0x00000000 good\n");
        const ProcessResult revoked = ask({example, leafNaming(responder, revoked_), folder_->file("root.der")});
        EXPECT_EQ(revoked.exitStatus, 1) << revoked.err;
        EXPECT_THAT(revoked.out, StartsWith("0xC2110126 "));
    }
}

TEST_F(InstalledPackage, ServesTheExampleWithPlainFunctions) {
    const Responder responder = InstalledPackage::responder();
    const std::string settings = folder_->write("settings.toml",
                                                "[crypto]\nsystem_roots = false\n"
                                                "[config.cades.ocsppolicy]\nDefaultOCSPURL = \"" +
                                                    responder.url() + "\"\n");
    struct Row {
        const Identity& certificate;
        const char* out;
        int exitStatus;
    };
    for (const Row& row : {Row{good_, "0x00000000 good\n", 0}, Row{revoked_, "0x80092010 not proven good\n", 1}}) {
        const std::string leaf = folder_->write("leaf.der", row.certificate.certificate);
        const std::string pem = folder_->write("leaf.pem", row.certificate.certificatePem());
        const std::string request = folder_->file("request.der");
        runOrThrow({"openssl", "ocsp", "-issuer", folder_->write("root.pem", root_.certificatePem()), "-cert", pem,
                    "-no_nonce", "-reqout", request});
        for (const std::string& example : {program("cmake/example-check-c"), program("pc-check-c")}) {
            SCOPED_TRACE(example);
            const ProcessResult run = ask({example, request, leaf, folder_->file("root.der"), settings});
            EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
            EXPECT_EQ(run.out, row.out);
        }
    }
}

TEST_F(InstalledPackage, ServesTheExampleOfSignedRequests) {
    folder_->write("home/tallow/stores/CA/root.crl", makeCrl(root_, {}));
    const std::string leaf = folder_->write("leaf.der", good_.certificate);
    const std::string key = folder_->write("key.pem", good_.key.pem());
    const ProcessResult run = ask({program("cmake/example-signed-request"), leaf, folder_->file("root.der"), leaf, key,
                                   folder_->file("signed-request.der")});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "trusted requestor\n");
}

// A quoted include would need directories named "client" or "message" on the include path of every program.
TEST_F(InstalledPackage, HeadersIncludeEachOtherByTheirInstalledPaths) {
    const std::filesystem::path include = prefix() + "/include";
    int numHeaders = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(include)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        ++numHeaders;
        std::ifstream header(entry.path());
        for (std::string line; std::getline(header, line);) {
            EXPECT_THAT(line, testing::Not(HasSubstr("#include \""))) << entry.path();
            if (line.starts_with("#include <tallow/")) {
                const std::string target = line.substr(10, line.find('>') - 10);
                EXPECT_TRUE(exists(include / target)) << entry.path() << " includes " << target;
            }
        }
    }
    EXPECT_GT(numHeaders, 100);
}

TEST_F(InstalledPackage, HasACommandThatFindsItsLibraries) {
    const ProcessResult result = run({prefix() + "/bin/tallow", "--version"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("tallow "));
}

}  // namespace
