// Installs into a temporary prefix, builds the examples against it with find_package and with pkg-config, and runs them
// against a real responder.
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/package/package_fixture.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class InstalledPackage : public PackageFixture {
protected:
    static void SetUpTestSuite() {
        setUpPki();
        runOrThrow({TALLOW_CMAKE, "--install", TALLOW_BUILD_FOLDER, "--prefix", prefix()});
        buildExamples(prefix(), file("cmake"));
        buildByPkgConfig(prefix(), "classes.cpp", program("pc-classes"));
        buildByPkgConfig(prefix(), "check.c", program("pc-check-c"));
    }

    static std::string prefix() { return folder_->file("prefix"); }
    static std::string library(const std::string& name) { return prefix() + "/" TALLOW_LIBDIR "/" + name; }
    static std::string program(const std::string& name) { return folder_->file(name); }
    static std::string example(const std::string& name) { return program("cmake/example-" + name); }
    static ProcessResult inFolder(const std::string& script) {
        return ask({"sh", "-c", "cd " + folder_->path().string() + "; " + script});
    }
};

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
        {"own trace", {example("own-trace")}, {file("root.pem")}, good, revoked},
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
            EXPECT_EQ(result.err.find("log: ") != std::string::npos, row.before[0] == example("own-trace"));
        }
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
            EXPECT_THAT(line, Not(HasSubstr("#include \""))) << entry.path();
            if (line.starts_with("#include <tallow/")) {
                const std::string target = line.substr(10, line.find('>') - 10);
                EXPECT_TRUE(exists(include / target)) << entry.path() << " includes " << target;
            }
        }
    }
    EXPECT_GT(numHeaders, 100);
}

// The files below a directory, relative to it.
std::set<std::string> filesBelow(const std::filesystem::path& directory) {
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (!entry.is_directory()) {
            files.insert(entry.path().lexically_relative(directory).string());
        }
    }
    return files;
}

// A packager takes each component for a package of its own: together they are everything, and they share no file.
TEST_F(InstalledPackage, IsDividedIntoComponents) {
    struct Row {
        const char* component;
        std::vector<std::string> files;
    };
    const std::string libraries = TALLOW_LIBDIR, documentation = "share/doc/tallow/";
    Row rows[] = {
        {"runtime",
         {libraries + "/libtallow.so." TALLOW_SOVERSION, libraries + "/libtallow-platform.so." TALLOW_SOVERSION,
          documentation + "LICENSE", documentation + "tallow.spdx.json"}},
        {"development",
         {libraries + "/libtallow.so", libraries + "/libtallow-platform.so", "include/tallow/checker.h",
          libraries + "/cmake/tallow/tallow-config.cmake", libraries + "/pkgconfig/tallow.pc",
          libraries + "/pkgconfig/tallow-platform.pc"}},
        {"tools",
         {"bin/tallow", "share/bash-completion/completions/tallow", "share/zsh/site-functions/_tallow",
          "share/tallow/schemas/check.json", "lib/systemd/system/tallow-staple@.service",
          "lib/systemd/system/tallow-staple@.timer"}},
        {"documentation",
         {documentation + "README.md", documentation + "docs/embedding.md", documentation + "settings.example.toml",
          documentation + "examples/check.c"}},
        {"python", {}},
    };
    if (run({"sh", "-c", "command -v scdoc"}).exitStatus == 0) {
        rows[2].files.insert(rows[2].files.end(), {"share/man/man1/tallow-check.1", "share/man/man5/tallow.toml.5",
                                                   "share/man/man7/tallow-statuses.7"});
    }
    std::set<std::string> all;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.component);
        const std::string destination = file(std::string("components/") + row.component);
        std::filesystem::create_directories(destination + "/usr");
        runOrThrow({TALLOW_CMAKE, "--install", TALLOW_BUILD_FOLDER, "--prefix", "/usr", "--component", row.component},
                   {"DESTDIR=" + destination});
        const std::set<std::string> files = filesBelow(destination + "/usr");
        EXPECT_THAT(files, testing::IsSupersetOf(row.files));
        for (const std::string& name : files) {
            EXPECT_TRUE(all.insert(name).second) << name << " is in two components";
        }
    }
    EXPECT_EQ(all, filesBelow(prefix()));
}

// Below 1.0 a minor version may break programs, so that it is part of the name that they load.
TEST_F(InstalledPackage, NamesItsVersionToTheLoader) {
    for (const std::string name : {"libtallow", "libtallow-platform"}) {
        SCOPED_TRACE(name);
        const std::string soname = name + ".so." TALLOW_SOVERSION;
        EXPECT_THAT(run({"readelf", "-dW", library(soname)}).out, HasSubstr("soname: [" + soname + "]"));
    }
    // A program records the versions of what it uses, so that an older library is refused when it starts.
    EXPECT_THAT(run({"readelf", "-VW", program("pc-check-c")}).out, HasSubstr("Name: TALLOW_" TALLOW_SOVERSION " "));
}

TEST_F(InstalledPackage, HasACommandThatFindsItsLibraries) {
    const ProcessResult result = run({prefix() + "/bin/tallow", "--version"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("tallow " TALLOW_VERSION "\n"));
}

// Control flow protection is looked for in the code: the note that hardening-check reads is only written where the C
// library's own start files have it, too. Stack clash protection leaves no trace where no function has a large frame.
TEST_F(InstalledPackage, IsHardened) {
    if (!TALLOW_HARDENED) {
        GTEST_SKIP() << "not an optimised build with TALLOW_HARDENING";
    }
    int numPrograms = 0;
    for (const std::string& name : filesBelow(prefix())) {
        const std::string path = prefix() + "/" + name;
        if (std::filesystem::is_symlink(path) || !textOf(path).starts_with("\177ELF")) {
            continue;
        }
        SCOPED_TRACE(path);
        ++numPrograms;
        std::vector<std::string> features{"Stack protected: yes", "Read-only relocations: yes",
                                          "Immediate binding: yes"};
        std::vector<std::string> command{"hardening-check", "--nocfprotection", path};
        if (name.find("/tallow/libtallow-") == std::string::npos) {
            features.emplace_back("Fortify Source functions: yes");
        } else {
            command.emplace_back("--nofortify");  // no size that it copies is known to the compiler
        }
        const ProcessResult result = run(command);
        EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
        for (const std::string& feature : features) {
            EXPECT_THAT(result.out, HasSubstr(feature));
        }
#if defined(__x86_64__)
        EXPECT_EQ(run({"sh", "-c", "objdump -d " + path + " | grep -q endbr64"}, 120000).exitStatus, 0);
#endif
    }
    EXPECT_GE(numPrograms, 4);  // two libraries, the module for HTTP, the command
}

// What the installation needs of other packages, for scanners that look for known weaknesses.
TEST_F(InstalledPackage, ListsItsComponentsInSpdx) {
    const ProcessResult result = run({TALLOW_PYTHON3, TALLOW_SOURCE "/tests/package/validate_spdx.py",
                                      prefix() + "/share/doc/tallow/tallow.spdx.json", "tallow=" TALLOW_VERSION,
                                      "openssl", "curl", "tomlplusplus", "cli11", "nlohmann-json"});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
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
    EXPECT_THAT(run({"ldd", prefix() + "/bin/tallow"}).out,
                testing::Not(testing::AnyOf(HasSubstr("libcurl"), HasSubstr("hiredis"))));
}

}  // namespace
