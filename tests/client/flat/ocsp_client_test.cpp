// The three plain functions, as a C program sees them.
#include "client/flat/ocsp_client.h"

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "handles/cert_chain_context.h"
#include "tests/client/support/client_test.h"
#include "tests/support/http_server.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

constexpr unsigned long kBeyond32Bits = 1UL << 32;

class OcspClient : public ResponderTest {
protected:
    ResponseSpec about(const Identity& subject, EntryStatus entryStatus = EntryStatus::kGood) const {
        return ResponseSpec(responder_, {EntrySpec(certIdOf(subject, pki_.ca), entryStatus)});
    }
    // A good answer about the good certificate, with a change.
    using Change = std::function<void(ResponseSpec&)>;
    Bytes changed(const Change& change) const {
        ResponseSpec spec = about(pki_.good);
        change(spec);
        return buildResponse(spec);
    }
    Bytes requestAbout(const Identity& subject) {
        CRequest request;
        request.put_UseNonce(false);
        ask(request, subject, pki_.ca);
        return exported(request);
    }
    static Bytes extensions(const std::vector<ExtensionSpec>& list) {
        std::vector<Bytes> parts;
        for (const ExtensionSpec& extension : list) {
            parts.push_back(extension.encode());
        }
        return tlv::sequence(parts);
    }

    // What a call hands out, freed as its header says.
    struct Output {
        Output() = default;
        Output(const Output&) = delete;
        Output& operator=(const Output&) = delete;
        ~Output() { std::free(data); }
        Bytes bytes() const { return {data, data + size}; }
        unsigned char* data = reinterpret_cast<unsigned char*>(1);
        unsigned long size = 1;
    };

    static std::int32_t verified(const Identity& subject, const Bytes& response, const Bytes& list) {
        return ocspVerifyResponse(contextOf(subject).get(), response.data(), response.size(), list.data(),
                                  static_cast<std::uint32_t>(list.size()));
    }
};

TEST_F(OcspClient, CreateNoRequestWhateverTheChain) {
    Output untouched;
    EXPECT_THAT(ocspCreateRequest(nullptr, nullptr, 0, &untouched.data, &untouched.size), IsStatus(status::kNteFail));
    EXPECT_EQ(untouched.size, 1u);
    untouched.data = nullptr;

    const Bytes nonceFirst = extensions({nonceExtension({1, 2}), {"1.2.3", false, tlv::null()}});
    const Bytes nonceSecond = extensions({{"1.2.3", false, tlv::null()}, nonceExtension({1, 2})});
    const Bytes broken = {0x30, 0x01};
    struct Row {
        const char* what;
        const Identity& leaf;
        Bytes extensions;
        unsigned long added;
        std::int32_t expected;
    };
    for (const Row& row :
         {Row{"a chain of three", pki_.good, {}, 0, status::kCryptNotFound},
          Row{"a chain of one", pki_.root, {}, 0, status::kCryptNotFound},
          Row{"with a nonce", pki_.good, nonceFirst, 0, status::kCryptNotFound},
          Row{"the nonce second", pki_.good, nonceSecond, 0, status::kDuplicateExtension},
          Row{"no extensions", pki_.good, broken, 0, status::kAsn1Error},
          Row{"the low 32 bits of the size count", pki_.good, nonceFirst, kBeyond32Bits, status::kCryptNotFound},
          Row{"and no others", pki_.good, {}, kBeyond32Bits, status::kCryptNotFound}}) {
        ATL2::CCertChainContext chain;
        CERT_CHAIN_PARA parameters{};
        parameters.cbSize = sizeof parameters;
        ASSERT_TRUE(CertGetCertificateChain(nullptr, contextOf(row.leaf).get(), nullptr, nullptr, &parameters,
                                            CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE, nullptr, chain.put()));
        Output output;
        EXPECT_THAT(ocspCreateRequest(chain.get(), row.extensions.data(), row.extensions.size() + row.added,
                                      &output.data, &output.size),
                    IsStatus(row.expected))
            << row.what;
        EXPECT_EQ(output.data, nullptr) << row.what;
        EXPECT_EQ(output.size, 0u) << row.what;
    }
}

TEST_F(OcspClient, SendReportsUselessResponsesAndOtherFailures) {
    HttpReply reply;
    const HttpServer server([&](const HttpRequest&) { return reply; });
    settings("DefaultOCSPURL = \"" + server.url() + "\"\n");
    const auto with = [&](const Change& change) { return HttpReply{.body = changed(change)}; };
    const Bytes request = requestAbout(pki_.good);
    struct Row {
        const char* what;
        HttpReply reply;
        Bytes request;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"good", with([](ResponseSpec&) {}), request, 0},
        {"good, signed by an unknown key", with([this](ResponseSpec& s) { s.signer = pki_.sameNameCa; }), request, 0},
        {"unknown", with([](ResponseSpec& s) { s.entries[0].status = EntryStatus::kUnknown; }), request,
         status::kInternalError},
        {"no entry", with([](ResponseSpec& s) { s.entries.clear(); }), request, status::kInvalidIndex},
        {"no HTTP 200", {.status = 500}, request, status::kHttpStatus},
        {"no response", {.body = {1, 2, 3}}, request, status::kAsn1Error},
        {"no request", with([](ResponseSpec&) {}), {1, 2, 3}, status::kAsn1Error},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        reply = row.reply;
        Output response;
        EXPECT_THAT(ocspSendRequest(row.request.data(), row.request.size(), &response.data, &response.size),
                    IsStatus(row.expected));
        EXPECT_EQ(response.bytes(), row.expected == 0 ? row.reply.body : Bytes());
    }
    settings("");
    Output response;
    EXPECT_THAT(ocspSendRequest(request.data(), request.size(), &response.data, &response.size),
                IsStatus(status::kNoResponder));
    EXPECT_EQ(server.requests().back().body, request) << "sent byte for byte";
    EXPECT_THAT(ocspSendRequest(nullptr, 1, &response.data, &response.size), IsStatus(status::kInvalidArgument));
}

TEST_F(OcspClient, VerifyChecksAResponseAboutOneCertificate) {
    const Bytes good = changed([](ResponseSpec&) {});
    const Bytes withNonce = changed([](ResponseSpec& s) { s.extensions = {nonceExtension({1, 2})}; });
    const Bytes sameNonce = extensions({{"1.2.3", false, tlv::null()}, nonceExtension({1, 2})});
    const Bytes bareNonce = extensions({{kNonceOid, false, {1, 2}}});
    constexpr std::int32_t kFailed = 1;
    const ExtensionSpec critical{"1.2.3", true, tlv::null()};
    const Bytes overdue = changed([](ResponseSpec& s) { s.entries[0].nextUpdate = generalizedTimeText(-30); });
    struct Row {
        const char* what;
        Bytes response;
        Bytes extensions;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"good", good, {}, 0},
        {"revoked, in the second entry",
         changed([this](ResponseSpec& s) {
             s.entries = {EntrySpec(certIdOf(pki_.unknown, pki_.ca)),
                          EntrySpec(certIdOf(pki_.good, pki_.ca), EntryStatus::kRevoked)};
         }),
         {},
         status::kCryptRevoked},
        {"a nextUpdate that has passed", overdue, {}, 0},
        {"a longer nonce", withNonce, extensions({nonceExtension({1, 2, 3})}), status::kNoRevocationCheck},
        {"unknown",
         changed([](ResponseSpec& s) { s.entries[0].status = EntryStatus::kUnknown; }),
         {},
         status::kNoRevocationCheck},
        {"about another", buildResponse(about(pki_.revoked)), {}, status::kNteFail},
        {"a critical extension of the entry",
         changed([&](ResponseSpec& s) { s.entries[0].extensions = {critical}; }),
         {},
         status::kCriticalSingleExtension},
        {"a critical extension",
         changed([&](ResponseSpec& s) { s.extensions = {critical}; }),
         {},
         status::kCertCritical},
        {"an untrusted responder",
         changed([](ResponseSpec& s) { s.signer = selfSigned(delegateSpec("alone")); }),
         {},
         status::kUntrustedRoot},
        {"the nonce", withNonce, sameNonce, 0},
        {"extensions without a nonce", withNonce, extensions({{"1.2.3", false, tlv::null()}}), 0},
        {"no nonce in the response", good, sameNonce, status::kNoRevocationCheck},
        {"the nonce wrapped otherwise", withNonce, bareNonce, status::kNoRevocationCheck},
        {"no extensions", withNonce, {1, 2, 3}, kFailed},
        {"signature altered", changed([](ResponseSpec& s) { s.corruptSignature = true; }), {}, kFailed},
        {"unauthorized", changed([](ResponseSpec& s) { s.responseStatus = 6; }), {}, kFailed},
        {"no response", {1, 2, 3}, {}, kFailed},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(verified(pki_.good, row.response, row.extensions), IsStatus(row.expected)) << row.what;
    }
    const ATL2::CCertContext cert = contextOf(pki_.good);
    EXPECT_THAT(ocspVerifyResponse(cert.get(), good.data(), good.size() + kBeyond32Bits, nullptr, 0), IsStatus(0))
        << "the low 32 bits of the size count";
    EXPECT_THAT(ocspVerifyResponse(nullptr, good.data(), good.size(), nullptr, 0), IsStatus(kFailed));
    EXPECT_THAT(ocspVerifyResponse(cert.get(), nullptr, 1, nullptr, 0), IsStatus(kFailed));
    std::filesystem::remove(folder_.file("user/CA/ca.pem"));
    showStoreChanges();
    EXPECT_THAT(verified(pki_.good, good, {}), IsStatus(kFailed)) << "its issuer is no longer known";
}

TEST_F(OcspClient, VerifyFindsTheResponderInTheStoreOfTheCertificate) {
    const Bytes response = changed([](ResponseSpec& s) { s.includeSigner = false; });
    EXPECT_THAT(verified(pki_.good, response, {}), IsStatus(1));
    const ATL2::CCertStore store = storeOf({responder_});
    const _CERT_CONTEXT* stored = nullptr;
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), contextOf(pki_.good).get(), CERT_STORE_ADD_NEW, &stored));
    const ATL2::CCertContext good = ATL2::CCertContext::adopt(stored);
    EXPECT_THAT(ocspVerifyResponse(good.get(), response.data(), response.size(), nullptr, 0), IsStatus(0));
}

}  // namespace
