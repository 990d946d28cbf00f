// `send` to a real responder and to faulty servers.
#include <filesystem>

#include "tests/cli/command.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Send = CommandTest;

TEST_F(Send, SendsTheOctetsUnchangedAndWritesTheResponse) {
    const Bytes id = certIdOf(certs().good, certs().root).encode();
    // A length in more octets than needed: encoded anew, the message would differ.
    const Bytes octets = tlv::sequence({tlv::rawLongLength(0x30, tlv::sequence({tlv::sequence({id})}), 4)});
    const Bytes answer = buildResponse(goodResponse());
    const HttpServer server = serverOf(HttpReply{.body = answer});
    const ProcessResult run =
        tallow.with({"send", "--url", server.url(), "-o", response, tallow.file("request.der", octets)});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, server.url() + ": successful, " + std::to_string(answer.size()) + " octets, not verified\n");
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].body, octets);
    EXPECT_EQ(readFile(response), answer);
}

TEST_F(Send, WritesAResponseThatVerifyAccepts) {
    ASSERT_EQ(tallow
                  .with({"request", "--issuer", root, "-o", request, tallow.file("a.pem", certs().good),
                         tallow.file("b.pem", certs().revoked)})
                  .exitStatus,
              0);
    ASSERT_EQ(tallow.with({"send", "--url", responderUrl(), "-o", response, request}).exitStatus, 0);
    const ProcessResult run = tallow.with({"verify", "--trust", root, "--request", request, response});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.out, AllOf(HasSubstr(": good\n"), HasSubstr(": revoked since ")));
}

TEST_F(Send, ReportsAFailureAndWhatWasReceived) {
    ASSERT_EQ(
        tallow.with({"request", "--issuer", root, "-o", request, tallow.file("good.pem", certs().good)}).exitStatus, 0);
    struct Row {
        HttpReply reply;
        const char* out;
        const char* err;
    };
    ResponseSpec otherNonce = goodResponse();
    otherNonce.extensions = {nonceExtension(Bytes(8))};
    for (const Row& row : {Row{{.body = tlv::sequence({tlv::enumerated(3)})}, "tryLater, 5 octets\n", "0xC2110128"},
                           Row{{.body = bytesOf("garbage")}, "no OCSP response, 7 octets\n", "0x8009310"},
                           Row{{.body = buildResponse(otherNonce)}, "successful, ", "0xC2110120"},
                           Row{{.status = 500}, "", "HTTP status 500"}}) {
        const HttpServer server = serverOf(row.reply);
        std::filesystem::remove(response);
        const ProcessResult run = tallow.with({"send", "--url", server.url(), "-o", response, request});
        expectOneLine(run, 3, {row.err});
        EXPECT_THAT(run.out, StartsWith(*row.out == '\0' ? "" : server.url() + ": " + row.out));
        EXPECT_EQ(std::filesystem::exists(response), *row.out != '\0');
    }
}

TEST_F(Send, RequiresARequestAndAnAddress) {
    const HttpServer server = serverOf(HttpReply{});
    tallow.file("response.der", buildResponse(goodResponse()));
    for (const Mistake& row : {Mistake{{response}, "--url"}, Mistake{{"--url", server.url()}, "REQUEST"},
                               Mistake{{"--url", server.url(), response}, "no request"},
                               Mistake{{"--url", server.url(), "missing"}, "No such file"},
                               Mistake{{"--url", server.url(), "-o", "no/folder", response}, "cannot be written"}}) {
        expectMistake(tallow.with(joined({"send"}, row.arguments)), row.words);
    }
    EXPECT_TRUE(server.requests().empty());
}

}  // namespace
