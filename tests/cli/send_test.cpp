// `send` to a real responder and to faulty servers.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/cli/command.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Send, SendsTheOctetsUnchangedAndWritesTheResponse) {
    const Command tallow;
    const Bytes id = certIdOf(certs().good, certs().root).encode();
    // A length in more octets than needed: encoded anew, the message would differ.
    const Bytes request = tlv::sequence({tlv::rawLongLength(0x30, tlv::sequence({tlv::sequence({id})}), 4)});
    const Bytes answer = buildResponse(goodResponse());
    const HttpServer server = serverOf(HttpReply{.body = answer});
    const std::string output = tallow.folder().file("response.der");
    const ProcessResult run =
        tallow.with({"send", "--url", server.url(), "-o", output, tallow.file("request.der", request)});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, server.url() + ": successful, " + std::to_string(answer.size()) + " octets, not verified\n");
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].body, request);
    EXPECT_EQ(readFile(output), answer);
}

TEST(Send, WritesAResponseThatVerifyAccepts) {
    const Command tallow;
    const Responder responder(responderOptions());
    const std::string request = tallow.folder().file("request.der");
    const std::string response = tallow.folder().file("response.der");
    const std::string root = tallow.file("root.pem", certs().root);
    ASSERT_EQ(tallow
                  .with({"request", "--issuer", root, "-o", request, tallow.file("a.pem", certs().good),
                         tallow.file("b.pem", certs().revoked)})
                  .exitStatus,
              0);
    ASSERT_EQ(tallow.with({"send", "--url", responder.url(), "-o", response, request}).exitStatus, 0);
    const ProcessResult run = tallow.with({"verify", "--trust", root, "--request", request, response});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.out, AllOf(HasSubstr(": good\n"), HasSubstr(": revoked since ")));
}

TEST(Send, ReportsAFailureAndWhatWasReceived) {
    const Command tallow;
    const std::string request = tallow.folder().file("request.der");
    ASSERT_EQ(tallow
                  .with({"request", "--issuer", tallow.file("root.pem", certs().root), "-o", request,
                         tallow.file("good.pem", certs().good)})
                  .exitStatus,
              0);
    struct Row {
        HttpReply reply;
        const char* out;
        const char* err;
    };
    for (const Row& row : {Row{{.body = tlv::sequence({tlv::enumerated(3)})}, "tryLater, 5 octets\n", "0xC2110128"},
                           Row{{.body = bytesOf("garbage")}, "no OCSP response, 7 octets\n", "0x8009310"},
                           Row{{.body = buildResponse(goodResponse())}, "successful, ", "0xC2110120"},
                           Row{{.status = 500}, "", "HTTP status 500"}}) {
        const HttpServer server = serverOf(row.reply);
        const std::string output = tallow.folder().file("response.der");
        std::filesystem::remove(output);
        const ProcessResult run = tallow.with({"send", "--url", server.url(), "-o", output, request});
        expectOneLine(run, 3, {row.err});
        EXPECT_THAT(run.out, StartsWith(*row.out == '\0' ? "" : server.url() + ": " + row.out));
        EXPECT_EQ(std::filesystem::exists(output), *row.out != '\0');
    }
}

TEST(Send, RequiresARequestAndAnAddress) {
    const Command tallow;
    const HttpServer server = serverOf(HttpReply{});
    const std::string response = tallow.file("response.der", buildResponse(goodResponse()));
    for (const Mistake& row : {Mistake{{response}, "--url"}, Mistake{{"--url", server.url()}, "REQUEST"},
                               Mistake{{"--url", server.url(), response}, "no request"},
                               Mistake{{"--url", server.url(), "missing"}, "No such file"},
                               Mistake{{"--url", server.url(), "-o", "no/folder", response}, "cannot be written"}}) {
        expectMistake(tallow.with(joined({"send"}, row.arguments)), row.words);
    }
    EXPECT_TRUE(server.requests().empty());
}

}  // namespace
