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
        ca_ = issueCa(root_, "CA");
        CertificateSpec spec;
        spec.commonName = "responder";
        spec.extendedKeyUsage = "OCSPSigning";
        spec.ocspNoCheck = true;
        signer_ = issue(ca_, spec);
        good_ = issue(ca_, {});
        revoked_ = issue(ca_, {});
        folder_->write("root.pem", root_.certificatePem());
        folder_->write("ca.pem", ca_.certificatePem());
        folder_->write("ca.der", ca_.certificate);
        folder_->write("root.crl", makeCrl(root_, {}));
        folder_->write("home/tallow/stores/ROOT/root.pem", root_.certificatePem());
        folder_->write("home/tallow/stores/CA/ca.pem", ca_.certificatePem());
        folder_->write("home/tallow/stores/CA/root.crl", makeCrl(root_, {}));
    }
    static void TearDownTestSuite() { folder_.reset(); }

    static std::string prefix() { return folder_->file("prefix"); }
    static std::string program(const std::string& name) { return folder_->file(name); }
    static std::string example(const std::string& name) { return program("cmake/example-" + name); }
    static std::string file(const std::string& name) { return folder_->file(name); }

    static Responder responder() {
        ResponderOptions options;
        options.ca = ca_;
        options.signer = signer_;
        options.index = {{good_, 'V'}, {revoked_, 'R'}};
        return Responder(options);
    }
    static ProcessResult ask(const std::vector<std::string>& command) {
        return run(command, 60000, {"XDG_DATA_HOME=" + folder_->file("home")});
    }
    static ProcessResult inFolder(const std::string& script) {
        return ask({"sh", "-c", "cd " + folder_->path().string() + "; " + script});
    }
    // With the serial number of a certificate that the responder knows, so that it gives that one's status.
    static std::string leafNaming(const Responder& responder, const Identity& known) {
        CertificateSpec spec;
        spec.serial = known.serial();
        spec.ocspUrls = {responder.url()};
        return folder_->write("leaf.der", issue(ca_, spec).certificate);
    }

    static std::unique_ptr<TempDir> folder_;
    static Identity root_, ca_, signer_, good_, revoked_;

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
                    TALLOW_CXX_COMPILER " -std=c++20 " + examples + "/classes.cpp -o " + program("pc-classes") + flags},
                   path);
        runOrThrow(
            {"sh", "-c", TALLOW_C_COMPILER " -std=c11 " + examples + "/check.c -o " + program("pc-check-c") + flags},
            path);
    }
};

std::unique_ptr<TempDir> InstalledPackage::folder_;
Identity InstalledPackage::root_;
Identity InstalledPackage::ca_;
Identity InstalledPackage::signer_;
Identity InstalledPackage::good_;
Identity InstalledPackage::revoked_;

// Each program takes certificates of a CA below the root, and a responder that this CA named.
TEST_F(InstalledPackage, ServesTheExamplesThatAsk) {
    const Responder responder = InstalledPackage::responder();
    struct Row {
        const char* description;
        std::vector<std::string> before, after;  // the arguments before and after the certificate
        std::string good, revoked;               // how the output begins
    };
    const std::string good = "The certificate CN=subject is good (thisUpdate ";
    const std::string revoked = "The certificate CN=subject is revoked since ";
    const Row rows[] = {
        {"check", {example("check")}, {file("root.pem")}, good, revoked},
        {"own roots", {example("own-roots"), file("root.pem"), file("ca.pem"), file("root.crl")}, {}, good, revoked},
        {"evidence",
         {example("evidence"), file("root.pem"), file("root.crl")},
         {file("ca.pem"), file("response.der")},
         good,
         revoked},
        {"C", {example("check-c")}, {file("ca.pem"), file("root.pem"), file("root.crl")}, good, revoked},
        {"C by pkg-config",
         {program("pc-check-c")},
         {file("ca.pem"), file("root.pem"), file("root.crl")},
         good,
         revoked},
        {"classes", {example("classes")}, {file("ca.der")}, "0x00000000 good\n", "0xC2110126 "},
        {"pkg-config", {program("pc-classes")}, {file("ca.der")}, "0x00000000 good\n", "0xC2110126 "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.description);
        for (const bool isGood : {true, false}) {
            std::vector<std::string> command = row.before;
            command.push_back(leafNaming(responder, isGood ? good_ : revoked_));
            command.insert(command.end(), row.after.begin(), row.after.end());
            const ProcessResult result = ask(command);
            EXPECT_EQ(result.exitStatus, isGood ? 0 : 1) << result.err;
            EXPECT_THAT(result.out, StartsWith(isGood ? row.good : row.revoked));
        }
    }
}

TEST_F(InstalledPackage, HasManualPagesAndCompletions) {
    std::vector<std::string> files{"bash-completion/completions/tallow", "zsh/site-functions/_tallow"};
    if (run({"sh", "-c", "command -v scdoc"}).exitStatus == 0) {
        files.insert(files.end(), {"man/man1/tallow-check.1", "man/man5/tallow.toml.5", "man/man7/tallow-statuses.7"});
    }
    for (const std::string& file : files) {
        EXPECT_TRUE(std::filesystem::exists(prefix() + "/share/" + file)) << file;
    }
}

// Another program carries request and response: openssl here, through named pipes.
TEST_F(InstalledPackage, ServesTheExampleWithOwnHttp) {
    const Responder responder = InstalledPackage::responder();
    leafNaming(responder, good_);
    const ProcessResult result =
        inFolder("mkfifo request answer; timeout 30 openssl ocsp -noverify -reqin request -url " + responder.url() +
                 " -respout answer >carrier.log 2>&1 & exec " + example("own-http") +
                 " root.pem root.crl leaf.der ca.pem request answer");
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("POST to " + responder.url() + " as "));
    EXPECT_THAT(result.out, HasSubstr("the nonce matched"));
}

TEST_F(InstalledPackage, ServesTheExamplesThatKeepResponses) {
    {
        const Responder responder = InstalledPackage::responder();
        leafNaming(responder, good_);
        const ProcessResult staple = inFolder("{ until [ -s staple.der ]; do sleep 0.05; done; } | " +
                                              example("staple") + " root.pem root.crl leaf.der ca.pem staple.der");
        EXPECT_EQ(staple.exitStatus, 0) << staple.err;
        EXPECT_THAT(staple.out, HasSubstr(" is good "));
    }
    const std::string verify = example("evidence") + " root.pem root.crl leaf.der ca.pem staple.der ";
    const ProcessResult now = inFolder(verify + "$(date +%s)");
    EXPECT_EQ(now.exitStatus, 0) << now.out << now.err;
    const ProcessResult earlier = inFolder(verify + "$(date -d '-1 day' +%s)");
    EXPECT_EQ(earlier.exitStatus, 1);
    EXPECT_THAT(earlier.out, HasSubstr("is not proven good"));
}

TEST_F(InstalledPackage, ServesTheExamplesOfSignedAndReceivedRequests) {
    const Identity requestor = issue(root_, {});
    folder_->write("leaf.der", good_.certificate);
    folder_->write("requestor.der", requestor.certificate);
    folder_->write("key.pem", requestor.key.pem());
    const ProcessResult made =
        inFolder(example("signed-request") + " leaf.der ca.der requestor.der key.pem request.der");
    EXPECT_EQ(made.exitStatus, 0) << made.err;
    const ProcessResult received = inFolder(example("received") + " root.pem root.crl request.der");
    EXPECT_EQ(received.exitStatus, 0) << received.err;
    EXPECT_EQ(received.out, "CN=subject asks about 1\n");
    const ProcessResult other = inFolder(example("received") + " ca.pem root.crl request.der");
    EXPECT_EQ(other.exitStatus, 1);
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

// In a copy of the package elsewhere. The current directory and the search path contain a module that fits, which must
// not be found.
TEST_F(InstalledPackage, LoadsOnlyTheModuleForHttpBesideItsLibrary) {
    const Responder responder = InstalledPackage::responder();
    leafNaming(responder, good_);
    const std::string make = " | " TALLOW_C_COMPILER " -shared -fPIC -x c - -o $module";
    struct Row {
        const char* description;
        std::string change;  // of $module, by a script
        std::string cause;   // "" where the module is used
    };
    const Row rows[] = {
        {"as installed", "true", ""},
        {"missing", "rm $module", "cannot be loaded: cannot open shared object file: No such file or directory"},
        {"no library", "echo text >$module", "cannot be loaded: file too short"},
        {"another library", "echo 'int other;'" + make, "is no module of tallow"},
        {"another version",
         "echo 'const char* tallow_http_build(void) { return \"9.9\"; } void tallow_http_connect(void) {}'" + make,
         "is of another build (9.9, not "},
        {"a function is missing", "echo 'void none(void); void (*user)(void) = none;'" + make,
         "cannot be loaded: undefined symbol: none"},
    };
    const std::string library = TALLOW_LIBDIR;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.description);
        const std::string copy = "rm -rf moved && cp -a " + prefix() + " moved && cd moved && module=$(echo " +
                                 library + "/tallow/libtallow-http*) && cp -a " + library +
                                 "/tallow . && cp tallow/* . && ";
        const ProcessResult result = inFolder(copy + row.change + " && LD_LIBRARY_PATH=" + library +
                                              ":. bin/tallow check ../leaf.der ../ca.pem --trust ../root.pem --crl "
                                              "../root.crl && bin/tallow check ../leaf.der ../ca.pem");
        EXPECT_EQ(result.exitStatus, row.cause.empty() ? 0 : 3) << result.out << result.err;
        for (const std::string& text : {"/moved/" + library + "/tallow/libtallow-http.so.", row.cause,
                                        std::string("; install tallow again"), std::string("(0x8007007E)\n")}) {
            EXPECT_EQ(result.err.find(text) != std::string::npos, !row.cause.empty() || text.empty()) << result.err;
        }
        EXPECT_EQ(inFolder("moved/bin/tallow --version").exitStatus, 0);
    }
    EXPECT_THAT(run({"ldd", prefix() + "/bin/tallow"}).out, testing::Not(HasSubstr("libcurl")));
}

}  // namespace
