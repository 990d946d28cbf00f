#include "tests/checker/checker_fixture.h"

#include <algorithm>

#include "platform/support/support_service.h"
#include "tests/support/tlv.h"

namespace testkit {

std::optional<ExtensionSpec> nonceOf(const Bytes& request) {
    const Bytes oid = tlv::oid(kNonceOid);
    const auto found = std::search(request.begin(), request.end(), oid.begin(), oid.end());
    if (found == request.end()) {
        return std::nullopt;
    }
    const auto value = found + static_cast<std::ptrdiff_t>(oid.size());
    return ExtensionSpec{kNonceOid, false, Bytes(value + 2, value + 2 + value[1])};
}

Bytes echoing(ResponseSpec spec, const Bytes& request) {
    if (const std::optional<ExtensionSpec> nonce = nonceOf(request)) {
        spec.extensions.push_back(*nonce);
    }
    return buildResponse(spec);
}

Exchange answering(const ResponseSpec& spec) {
    return [spec](const std::string&, const Bytes& request, auto) { return echoing(spec, request); };
}

Exchange sending(const Bytes& body) {
    return [body](const std::string&, const Bytes&, auto) { return body; };
}

HttpServer::Handler serving(const ResponseSpec& spec) {
    return [spec](const HttpRequest& request) { return HttpReply{.body = echoing(spec, request.body)}; };
}

void expectProven(const Verdict& verdict, Answer answer) {
    EXPECT_EQ(verdict.answer, answer) << verdict.why();
    EXPECT_EQ(verdict.reached, Step::kProven) << verdict.why();
    EXPECT_EQ(verdict.status == 0, answer == Answer::kGood);
    EXPECT_FALSE(verdict.response.empty());
    EXPECT_NE(verdict.authority, tallow::Authority::kNone);
    EXPECT_NE(verdict.freshness, tallow::Freshness::kNone);
    EXPECT_EQ(verdict.cause, "");
}

void expectUnproven(const Verdict& verdict, Step reached, std::int32_t status) {
    EXPECT_EQ(verdict.answer, Answer::kUnproven);
    EXPECT_EQ(verdict.reached, reached) << verdict.why();
    EXPECT_EQ(static_cast<std::uint32_t>(verdict.status), static_cast<std::uint32_t>(status)) << verdict.why();
    EXPECT_TRUE(verdict.response.empty());
    EXPECT_NE(verdict.cause, "");
}

std::int32_t badInput(const std::function<void()>& action) {
    try {
        action();
    } catch (const tallow::BadInput& failure) {
        EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos) << failure.what();
        EXPECT_NE(failure.status(), 0);
        return failure.status();
    }
    return 0;
}

void CheckerTest::settings(const std::string& policy, const std::string& crypto) const {
    const std::string text = "[crypto]\nsystem_roots = false\nmachine_stores = \"" + folder_.file("stores") +
                             "\"\nuser_stores = \"" + folder_.file("user") + "\"\nurl_cache = \"" +
                             folder_.file("cache") + "\"\n" + crypto +
                             "[config.cades.ocsppolicy]\nLegacyPolicyReading = true\n" + policy;
    support_settings_open(folder_.write("settings.toml", text).c_str());
}

Trust CheckerTest::own() {
    const Pki& pki = Pki::shared();
    static const Bytes crls[] = {makeCrl(pki.root, {}), makeCrl(pki.ca, {})};
    return Trust().addRoots(pki.root.certificate).addCrls(crls[0]).addCrls(crls[1]);
}

Identity CheckerTest::delegateOf(const Identity& issuer, const std::string& name) {
    CertificateSpec spec;
    spec.commonName = name;
    spec.extendedKeyUsage = "OCSPSigning";
    spec.ocspNoCheck = true;
    return issue(issuer, spec);
}

ResponseSpec CheckerTest::about(const Identity& certificate, EntryStatus status) const {
    ResponseSpec spec(responder);
    spec.entries.emplace_back(certIdOf(certificate, pki.ca), status);
    return spec;
}

ResponseSpec CheckerTest::goodAt(long seconds, std::optional<long> nextUpdate) const {
    ResponseSpec spec = good();
    spec.producedAt = generalizedTimeText(std::max(seconds, -60L));  // the responder's certificate is an hour old
    spec.entries[0].thisUpdate = generalizedTimeText(seconds);
    spec.entries[0].nextUpdate = nextUpdate ? std::optional(generalizedTimeText(*nextUpdate)) : std::nullopt;
    return spec;
}

}  // namespace testkit
