#include "tests/package/package_fixture.h"

#include <stdexcept>

namespace testkit {

namespace {

constexpr int kBuildTimeoutMs = 1'500'000;

}  // namespace

std::unique_ptr<TempDir> PackageFixture::folder_;
Identity PackageFixture::root_;
Identity PackageFixture::ca_;
Identity PackageFixture::signer_;
Identity PackageFixture::good_;
Identity PackageFixture::revoked_;

void runOrThrow(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    const ProcessResult result = run(command, kBuildTimeoutMs, environment);
    if (result.exitStatus != 0) {
        throw std::runtime_error(command.front() + " failed: " + result.out + result.err);
    }
}

std::string textOf(const std::string& path) {
    const Bytes content = readFile(path);
    return {content.begin(), content.end()};
}

void PackageFixture::setUpPki() {
    folder_ = std::make_unique<TempDir>();
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

Responder PackageFixture::responder() {
    ResponderOptions options;
    options.ca = ca_;
    options.signer = signer_;
    options.index = {{good_, 'V'}, {revoked_, 'R'}};
    return Responder(options);
}

ProcessResult PackageFixture::ask(const std::vector<std::string>& command) {
    return run(command, 60000, {"XDG_DATA_HOME=" + folder_->file("home")});
}

std::string PackageFixture::leafNaming(const Responder& responder, const Identity& known) {
    CertificateSpec spec;
    spec.serial = known.serial();
    spec.ocspUrls = {responder.url()};
    return folder_->write("leaf.der", issue(ca_, spec).certificate);
}

void PackageFixture::buildExamples(const std::string& prefix, const std::string& build,
                                   const std::vector<std::string>& targets) {
    runOrThrow({TALLOW_CMAKE, "-S", TALLOW_SOURCE "/examples", "-B", build, "-DCMAKE_PREFIX_PATH=" + prefix,
                "-DCMAKE_C_COMPILER=" TALLOW_C_COMPILER, "-DCMAKE_CXX_COMPILER=" TALLOW_CXX_COMPILER,
                "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror",
                "-DCMAKE_C_FLAGS=-Wall -Wextra -Wpedantic -Werror"});
    std::vector<std::string> command{TALLOW_CMAKE, "--build", build};
    if (!targets.empty()) {
        command.push_back("--target");
        command.insert(command.end(), targets.begin(), targets.end());
    }
    runOrThrow(command);
}

void PackageFixture::buildByPkgConfig(const std::string& prefix, const std::string& example,
                                      const std::string& program) {
    const bool isC = example.ends_with(".c");
    const std::string compiler = isC ? TALLOW_C_COMPILER " -std=c11 " : TALLOW_CXX_COMPILER " -std=c++20 ";
    runOrThrow({"sh", "-c",
                compiler + TALLOW_SOURCE "/examples/" + example + " -o " + program +
                    " $(pkg-config --cflags --libs tallow) -Wl,-rpath," + prefix + "/" TALLOW_LIBDIR},
               {"PKG_CONFIG_PATH=" + prefix + "/" TALLOW_LIBDIR "/pkgconfig"});
}

}  // namespace testkit
