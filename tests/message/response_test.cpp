// The envelope of a response and the basic response in it.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "message/basic_response.h"
#include "message/extensions.h"
#include "message/response_message.h"
#include "tests/message/message_fixture.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"
#include "tests/support/vectors.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace testkit;

ResponseSpec bareSpec(const Identity& signer = Pki::shared().delegate) {
    const Pki& pki = Pki::shared();
    ResponseSpec spec(signer);
    spec.bare = true;
    spec.entries.emplace_back(certIdOf(pki.good, pki.ca));
    return spec;
}

CBasicResponse decoded(const ResponseSpec& spec) {
    CBasicResponse response;
    response.decode(blob(buildResponse(spec)));
    return response;
}

TEST(BasicResponse, ShowsEveryFieldOfItsEntries) {
    const Pki& pki = Pki::shared();
    ResponseSpec spec = bareSpec();
    spec.producedAt = "20260101000000Z";
    spec.entries[0].thisUpdate = "20251231235959Z";
    spec.entries[0].nextUpdate = "20260102000000Z";
    EntrySpec revoked(certIdOf(pki.revoked, pki.ca, kSha256Oid), EntryStatus::kRevoked);
    revoked.revocationTime = "20250706050403Z";
    revoked.revocationReason = 1;
    revoked.nextUpdate.reset();
    revoked.extensions.push_back({"1.2.3.4", true, {0x05, 0x00}});
    spec.entries.push_back(revoked);
    revoked.revocationReason.reset();
    spec.entries.push_back(revoked);
    spec.entries.emplace_back(certIdOf(pki.unknown, pki.ca), EntryStatus::kUnknown);
    spec.extensions.push_back(nonceExtension({1, 2, 3}));
    const CBasicResponse response = decoded(spec);

    EXPECT_EQ(response.get_producedAt(), CDateTime("20260101000000Z"));
    EXPECT_THAT(response.get_responseExtensions(), testing::Pointee(testing::SizeIs(1)));
    EXPECT_STREQ(response.get_signatureAlgorithm().get_algorithm(), "1.2.840.10045.4.3.2");
    ASSERT_EQ(response.get_responses().size(), 4U);
    auto entry = response.get_responses().begin();
    EXPECT_TRUE(namesSameCertificate(*entry->get_reqCert().get_certID(), identifierOf(pki.good, pki.ca)));
    EXPECT_EQ(entry->get_certStatus().get_type(), CCertStatus::kGood);
    EXPECT_EQ(entry->get_certStatus().get_revocationTime(), nullptr);
    EXPECT_EQ(entry->get_thisUpdate(), CDateTime("20251231235959Z"));
    EXPECT_THAT(entry->get_nextUpdate(), testing::Pointee(CDateTime("20260102000000Z")));
    EXPECT_EQ(entry->get_singleExtensions(), nullptr);
    ++entry;
    EXPECT_EQ(entry->get_certStatus().get_type(), CCertStatus::kRevoked);
    EXPECT_THAT(entry->get_certStatus().get_revocationTime(), testing::Pointee(CDateTime("20250706050403Z")));
    EXPECT_THAT(entry->get_certStatus().get_revocationReason(), testing::Pointee(1));
    EXPECT_EQ(entry->get_nextUpdate(), nullptr);
    ASSERT_NE(entry->get_singleExtensions(), nullptr);
    EXPECT_TRUE(entry->get_singleExtensions()->front().get_critical());
    EXPECT_STREQ(entry->get_reqCert().get_certID()->get_hashAlgorithm().get_algorithm(), kSha256Oid);
    ++entry;
    EXPECT_EQ(entry->get_certStatus().get_revocationReason(), nullptr);
    ++entry;
    EXPECT_EQ(entry->get_certStatus().get_type(), CCertStatus::kUnknown);
}

TEST(BasicResponse, NamesItsResponderAsTheCertificateWould) {
    const Pki& pki = Pki::shared();
    const CBlob certificate = blob(pki.delegate.certificate);
    for (const bool version : {false, true}) {
        ResponseSpec spec = bareSpec();
        if (version) {
            spec.version = 0;
        }
        EXPECT_TRUE(decoded(spec).get_responderID() == CResponderID::fromCert(CResponderID::kByName, certificate));
        spec.responderIdKind = ResponderIdKind::kByKey;
        const CResponderID byKey = decoded(spec).get_responderID();
        EXPECT_TRUE(byKey == CResponderID::fromCert(CResponderID::kByKey, certificate));
        EXPECT_FALSE(byKey == CResponderID::fromCert(CResponderID::kByName, certificate));
        EXPECT_FALSE(byKey == CResponderID::fromCert(CResponderID::kByKey, blob(pki.ca.certificate)));
    }
    EXPECT_THAT(thrownStatus([&] { CResponderID::fromCert(static_cast<CResponderID::Type>(3), certificate); }),
                IsStatus(status::kInvalidArgument));
}

// Encoded anew, a certificate would lose its signature, and a name would match one that is spelt otherwise.
TEST(BasicResponse, KeepsNamesAndCertificatesByteForByte) {
    const auto loose = [](const Bytes& der) {  // the same element, its length in four octets
        const std::size_t header = der[1] < 0x80 ? 2 : 2 + (der[1] & 0x7F);
        return tlv::rawLongLength(0x30, Bytes(der.begin() + static_cast<std::ptrdiff_t>(header), der.end()), 4);
    };
    const Pki& pki = Pki::shared();
    ResponseSpec spec = bareSpec();
    const Bytes name = loose(pki.delegate.subject());
    spec.responderId = tlv::context(1, name);
    spec.exactCertificates = {loose(pki.delegate.certificate), pki.ca.certificate};
    const CBasicResponse response = decoded(spec);
    EXPECT_EQ(bytes(response.get_responderID().get_value()), name);
    EXPECT_FALSE(response.get_responderID() ==
                 CResponderID::fromCert(CResponderID::kByName, blob(pki.delegate.certificate)));
    ASSERT_NE(response.get_certs(), nullptr);
    EXPECT_EQ(bytes(response.get_certs()->front()), spec.exactCertificates->front());
    EXPECT_EQ(bytes(response.get_certs()->back()), pki.ca.certificate);
    EXPECT_TRUE(response.verify(blob(pki.delegate.certificate)));

    spec.exactCertificates = std::vector<Bytes>();
    EXPECT_EQ(decoded(spec).get_certs(), nullptr);
}

TEST(BasicResponse, VerifiesOnlyWithTheSignersKey) {
    struct Row {
        KeyKind key;
        const char* hash;
        bool pss;
    };
    const Pki& pki = Pki::shared();
    for (const Row& row : {Row{KeyKind::kRsa2048, "SHA256", false}, Row{KeyKind::kRsa2048, "SHA512", true},
                           Row{KeyKind::kEcP256, "SHA256", false}, Row{KeyKind::kEcP384, "SHA384", false},
                           Row{KeyKind::kEd25519, "", false}}) {
        CertificateSpec certificate;
        certificate.key = Key::make(row.key);
        ResponseSpec spec = bareSpec(issue(pki.ca, certificate));
        spec.hash = row.hash;
        spec.pss = row.pss;
        const CBasicResponse response = decoded(spec);
        EXPECT_TRUE(response.verify(blob(spec.signer.certificate))) << row.hash;
        certificate.key = Key::make(row.key);
        EXPECT_FALSE(response.verify(blob(issue(pki.ca, certificate).certificate))) << row.hash;
        EXPECT_FALSE(CBasicResponse(response).verify(blob(pki.good.certificate))) << row.hash;
        spec.corruptSignature = true;
        EXPECT_FALSE(decoded(spec).verify(blob(spec.signer.certificate))) << row.hash;
    }
    const CBasicResponse response = decoded(bareSpec());
    EXPECT_THROW(static_cast<void>(response.verify(CBlob())), ATL::CAtlException);
    ResponseSpec spec = bareSpec();
    spec.signatureAlgorithm = tlv::sequence({tlv::oid("1.2.3.4")});
    EXPECT_THROW(static_cast<void>(decoded(spec).verify(blob(spec.signer.certificate))), ATL::CAtlException);
}

TEST(BasicResponse, IgnoresTrailingBytesAndKeepsItsContentOnFailure) {
    ResponseSpec spec = bareSpec();
    spec.trailing = {0x00, 0x00, 0xFF};
    CBasicResponse response = decoded(spec);
    EXPECT_TRUE(response.verify(blob(spec.signer.certificate)));
    EXPECT_EQ(response.get_trailingSize(), 3U);
    EXPECT_EQ(response.get_version(), 0U);
    spec.version = 1;
    EXPECT_EQ(decoded(spec).get_version(), 1U);
    spec.version.reset();

    spec.trailing.clear();
    const Bytes good = buildResponse(spec);
    std::vector<Bytes> rows = {{}, {0x30, 0x00}};
    for (std::size_t size = 1; size < good.size(); size += 7) {
        rows.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    }
    const auto with = [&rows](const std::function<void(ResponseSpec&)>& change) {
        ResponseSpec changed = bareSpec();
        change(changed);
        rows.push_back(buildResponse(changed));
    };
    with([](ResponseSpec& s) { s.responderId = tlv::context(3, tlv::null()); });
    with([](ResponseSpec& s) { s.entries[0].raw = tlv::sequence({tlv::context(2, tlv::null())}); });
    with([](ResponseSpec& s) { s.exactCertificates = {Bytes{0x30, 0x00}}; });
    with([](ResponseSpec& s) { s.signatureAlgorithm = tlv::sequence({tlv::integer(1)}); });
    // Wrappers that end before what they wrap.
    const Bytes name = spec.signer.subject();
    with([&](ResponseSpec& s) { s.responderId = concat({tlv::context(1, {}), name}); });
    with([&](ResponseSpec& s) {
        s.responderId = concat({tlv::context(0, {}), tlv::integer(0), tlv::context(1, name)});
    });
    for (const Bytes& row : rows) {
        EXPECT_THAT(thrownStatus([&] { response.decode(blob(row)); }), IsStatus(status::kAsn1Error)) << toHex(row);
        EXPECT_EQ(response.get_responses().size(), 1U);
        EXPECT_TRUE(response.verify(blob(spec.signer.certificate)));
    }
}

// The bit that marks a wrapper as constructed is not looked at, so its absence must not shift what is taken for whom.
TEST(BasicResponse, FindsTheResponderAfterAVersionInAnyForm) {
    ResponseSpec spec = bareSpec();
    spec.responderId = concat({tlv::contextPrimitive(0, tlv::integer(0)), tlv::context(1, spec.signer.subject())});
    EXPECT_EQ(bytes(decoded(spec).get_responderID().get_value()), spec.signer.subject());
}

// The status of a time wherever one can be.
std::string readAsATime(const std::string& time) {
    std::vector<ResponseSpec> specs(4, bareSpec());
    specs[0].producedAt = time;
    specs[1].entries[0].thisUpdate = time;
    specs[2].entries[0].nextUpdate = time;
    specs[3].entries[0] = EntrySpec(bareSpec().entries[0].id, EntryStatus::kRevoked);
    specs[3].entries[0].revocationTime = time;
    const Bytes der = tlv::raw(0x18, bytesOf(time));
    const CBlob crlId = blob(tlv::sequence({tlv::context(2, der)}));
    const std::int32_t result = thrownStatus([&] { decoded(specs[0]); });
    for (const ResponseSpec& spec : specs) {
        EXPECT_THAT(thrownStatus([&] { decoded(spec); }), IsStatus(result));
    }
    EXPECT_EQ(thrownStatus([&] { CExtArchiveCutoff{blob(der)}; }) == status::kOk, result == status::kOk);
    EXPECT_EQ(thrownStatus([&] { CExtCrlID{crlId}; }) == status::kOk, result == status::kOk);
    return result == status::kOk ? "read" : status::symbol(result);
}

TEST(BasicResponse, AcceptsOnlyExistingTimesInUtc) {
    expectVectors("message/times.txt", {{"time", readAsATime}});
    ResponseSpec spec = bareSpec();
    spec.producedAt = "20240229235959.25Z";
    EXPECT_EQ(decoded(spec).get_producedAt(), CDateTime("20240229235959.25Z"));
}

TEST(BasicResponse, AcceptsCommonDeviations) {
    ResponseSpec spec = bareSpec();
    spec.entries[0].raw = tlv::sequence({spec.entries[0].id.encode(), tlv::contextPrimitive(0, {}),
                                         tlv::generalizedTime("20260101000000Z"), tlv::context(1, tlv::sequence({}))});
    // A CRL number of 20 octets, an identifier that wraps to the nonce's, and an unknown hash.
    EntrySpec loose(spec.entries[0].id);
    loose.id.hashOid = "1.2.3.4";
    const Bytes crlId = tlv::sequence({tlv::context(0, tlv::ia5String(std::string("http://a\0b", 10))),
                                       tlv::context(1, tlv::integer(Bytes(20, 0x11)))});
    loose.extensions.push_back({kOidCrlReference, false, crlId});
    loose.extensions.push_back({"1.3.6.1.5.5.7.48.1.4294967298", false, {1}});
    spec.entries.push_back(loose);
    const CBasicResponse response = decoded(spec);
    EXPECT_THAT(response.get_responses().front().get_singleExtensions(), testing::Pointee(testing::IsEmpty()));
    const CSingleResponse& last = response.get_responses().back();
    EXPECT_STREQ(last.get_reqCert().get_certID()->get_hashAlgorithm().get_algorithm(), "1.2.3.4");
    ASSERT_THAT(last.get_singleExtensions(), testing::Pointee(testing::SizeIs(2)));
    EXPECT_EQ(last.get_singleExtensions()->find(kOidNonce), last.get_singleExtensions()->end());
    const CExtCrlID reference(last.get_singleExtensions()->front().get_extnValue());
    EXPECT_EQ(reference.get_crlNum(), nullptr);
    EXPECT_STREQ(reference.get_crlUrl(), "http://a%00b");
    EXPECT_EQ(bytes(reference.get_value()), crlId);
}

TEST(ResponseMessage, ShowsStatusTypeAndContent) {
    ResponseSpec spec = bareSpec();
    spec.bare = false;
    spec.trailing = {0x05, 0x00};
    CResponseMessage message;
    EXPECT_EQ(message.get_trailingSize(), 0U);
    message.decode(blob(buildResponse(spec)));
    EXPECT_EQ(message.get_responseStatus(), 0U);
    EXPECT_EQ(message.get_trailingSize(), 2U);
    EXPECT_STREQ(message.get_responseType(), kBasicResponseOid);
    CBasicResponse basic;
    basic.decode(message.get_response());
    EXPECT_TRUE(basic.verify(blob(spec.signer.certificate)));

    for (int number : {1, 2, 3, 5, 6, 8}) {
        spec.responseStatus = number;
        message.decode(blob(buildResponse(spec)));
        EXPECT_EQ(message.get_responseStatus(), static_cast<std::uint32_t>(number));
        EXPECT_STREQ(message.get_responseType(), "");
        EXPECT_EQ(message.get_response().cbData(), 0U);
    }
    // The content of an unknown type is not looked at.
    const Bytes foreign = tlv::sequence(
        {tlv::enumerated(0), tlv::context(0, tlv::sequence({tlv::oid("1.2.3.4"), tlv::octetString({9})}))});
    message.decode(blob(foreign));
    EXPECT_STREQ(message.get_responseType(), "1.2.3.4");
    EXPECT_EQ(bytes(message.get_response()), Bytes{9});
}

TEST(ResponseMessage, RejectsMalformedBytesAndKeepsItsContent) {
    ResponseSpec spec = bareSpec();
    const Bytes bare = buildResponse(spec);
    spec.bare = false;
    const Bytes good = buildResponse(spec);
    CResponseMessage message;
    message.decode(blob(good));
    const Bytes content = bytes(message.get_response());
    const auto envelope = [](int number, const Bytes& basic) {
        return tlv::sequence({tlv::enumerated(number),
                              tlv::context(0, tlv::sequence({tlv::oid(kOidBasicResponse), tlv::octetString(basic)}))});
    };
    for (const Bytes& row :
         {bare, Bytes{}, Bytes{0x30, 0x00}, tlv::sequence({tlv::enumerated(9)}), envelope(0, {0x30, 0x00}),
          envelope(2, {0x30, 0x00}), envelope(0, Bytes(4, 0xFF)), Bytes(good.begin(), good.end() - 1)}) {
        EXPECT_THAT(thrownStatus([&] { message.decode(blob(row)); }), IsStatus(status::kAsn1Error)) << toHex(row);
        EXPECT_EQ(bytes(message.get_response()), content);
        EXPECT_STREQ(message.get_responseType(), kOidBasicResponse);
    }
    EXPECT_NO_THROW(CBasicResponse().decode(blob(bare)));
}

}  // namespace
