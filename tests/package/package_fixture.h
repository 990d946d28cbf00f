// A PKI with a responder, for programs that were built against the library in one way or another.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/responder.h"
#include "tests/support/temp_dir.h"

namespace testkit {

/// Throws with the output when the command fails. Its time limit is that of a build of the library.
void runOrThrow(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});

/// The content of a file; throws when it cannot be read.
std::string textOf(const std::string& path);

class PackageFixture : public testing::Test {
protected:
    /// Makes the directory and, in it, the PKI: root.pem, ca.pem, ca.der, root.crl, and stores in home/.
    static void setUpPki();
    static void TearDownTestSuite() { folder_.reset(); }

    static std::string file(const std::string& name) { return folder_->file(name); }
    static Responder responder();

    /// Runs a program that trusts the root.
    static ProcessResult ask(const std::vector<std::string>& command);

    /// Writes a certificate with the serial number of one that the responder knows, so that it gives that one's status.
    static std::string leafNaming(const Responder& responder, const Identity& known);

    /// Builds the examples against the package in a prefix: all of them, or those named.
    static void buildExamples(const std::string& prefix, const std::string& build,
                              const std::vector<std::string>& targets = {});

    /// Builds an example with the flags that pkg-config prints for a prefix.
    static void buildByPkgConfig(const std::string& prefix, const std::string& example, const std::string& program);

    static std::unique_ptr<TempDir> folder_;
    static Identity root_, ca_, signer_, good_, revoked_;
};

}  // namespace testkit
