// The command beside `openssl ocsp`: a stored response, and one query to a responder on this machine, from the start of
// the process to its end.
#include <memory>
#include <string>

#include "bench/child_process.h"
#include "bench/material.h"
#include "bench/row.h"
#include "tests/support/http_server.h"

namespace bench {

namespace {

struct Files {
    Machine machine{Pki::of(KeyKind::kRsa2048).root};
    Bytes der;
    std::string root, leaf, response;
    std::unique_ptr<testkit::HttpServer> server;
};

std::shared_ptr<Files> makeFiles() {
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    auto files = std::make_shared<Files>();
    files->der = responseOf(pki.responder, entriesOf(pki, 1));
    files->root = files->machine.folder().write("root.pem", pki.root.certificatePem());
    files->leaf = files->machine.folder().write("leaf.pem", pki.leaf.certificatePem());
    files->response = files->machine.folder().write("response.der", files->der);
    return files;
}

testkit::Bytes answerOf(const Files& files) {
    return testkit::concat({testkit::bytesOf("HTTP/1.1 200 OK\r\nContent-Type: application/ocsp-response\r\n"
                                             "Content-Length: " +
                                             std::to_string(files.der.size()) + "\r\n\r\n"),
                            files.der});
}

Row verifyRow() {
    const auto files = makeFiles();
    return {.openssl =
                [=](std::size_t) {
                    runCommand({"openssl", "ocsp", "-respin", files->response, "-issuer", files->root, "-cert",
                                files->leaf, "-no_nonce", "-CAfile", files->root},
                               true);
                },
            .tallow =
                [=](std::size_t) {
                    runCommand({TALLOW_COMMAND, "verify", "--settings", files->machine.settings(), "--trust",
                                files->root, "--cert", files->leaf, files->response});
                },
            .clock = Clock::kElapsed};
}

// The responder signs in advance, so that its work is not part of the comparison.
Row checkRow() {
    const auto files = makeFiles();
    const testkit::Bytes reply = answerOf(*files);
    files->server = std::make_unique<testkit::HttpServer>(
        [=](const testkit::HttpRequest&) { return testkit::HttpReply{.rawReply = reply}; });
    return {.openssl =
                [=](std::size_t) {
                    runCommand({"openssl", "ocsp", "-url", files->server->url(), "-issuer", files->root, "-cert",
                                files->leaf, "-CAfile", files->root},
                               true);
                },
            .tallow =
                [=](std::size_t) {
                    runCommand({TALLOW_COMMAND, "check", "--settings", files->machine.settings(), "--trust",
                                files->root, "--url", files->server->url(), files->leaf});
                },
            .clock = Clock::kElapsed};
}

// Most of the time is that of the responder: what counts is how many it is asked at a time, over how few connections.
Row listRow() {
    constexpr std::size_t kNumCertificates = 20;
    constexpr int kDelayMs = 50;
    const auto files = makeFiles();
    std::string lines;
    for (std::size_t i = 0; i < kNumCertificates; ++i) {
        lines += files->leaf + '\n';
    }
    const std::string list = files->machine.folder().write("list", lines);
    const auto reply = [files](testkit::AfterReply after) {
        return testkit::HttpReply{.delayMs = kDelayMs, .rawReply = answerOf(*files), .after = after};
    };
    const auto closing = std::make_shared<testkit::HttpServer>(
        [=](const testkit::HttpRequest&) { return reply(testkit::AfterReply::kClose); });
    const auto keeping = std::make_shared<testkit::HttpServer>(
        [=](const testkit::HttpRequest&) { return reply(testkit::AfterReply::kNextRequest); });
    return {.openssl =
                [=](std::size_t) {
                    for (std::size_t i = 0; i < kNumCertificates; ++i) {
                        runCommand({"openssl", "ocsp", "-url", closing->url(), "-issuer", files->root, "-cert",
                                    files->leaf, "-CAfile", files->root},
                                   true);
                    }
                },
            .tallow =
                [=](std::size_t) {
                    runCommand({TALLOW_COMMAND, "check", "--settings", files->machine.settings(), "--trust",
                                files->root, "--issuer", files->root, "--url", keeping->url(), "--jobs", "16",
                                "--per-host", "16", "--from-file", list});
                },
            .maxCalls = 1,
            .clock = Clock::kElapsed};
}

}  // namespace

void addCommandRows() {
    addRow("`tallow verify` and `openssl ocsp -respin`", verifyRow);
    addRow("`tallow check` and `openssl ocsp -url`, one query", checkRow);
    addRow("`tallow check --from-file` and `openssl ocsp` 20 times, a responder that takes 50 ms", listRow);
}

}  // namespace bench
