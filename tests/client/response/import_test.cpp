// Importing responses: what is accepted, how it is read, how it is matched against a request.
#include <functional>

#include "tests/client/support/client_test.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class ResponseImport : public ClientTest {
protected:
    ResponseSpec good() const { return ResponseSpec(pki_.delegate, {EntrySpec(certIdOf(pki_.good, pki_.ca))}); }
};

// A CrlID with only crlTime.
Bytes crlIdWithTime(const std::string& time) {
    return tlv::sequence({tlv::context(2, tlv::generalizedTime(time))});
}

TEST_F(ResponseImport, AnEmptyObjectGuardsEveryRead) {
    CResponse response;
    unsigned long size = 0;
    EXPECT_THAT(thrownStatus([&] { response.get_Status(); }), IsStatus(status::kNotImported));
    EXPECT_THAT(thrownStatus([&] { response.Export(nullptr, &size); }), IsStatus(status::kNotImported));
    EXPECT_THAT(thrownStatus([&] { return response.VerifySR(0, nullptr, nullptr); }), IsStatus(status::kNotImported));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(CResponse(response)); }), IsStatus(status::kAsn1Error));
}

TEST_F(ResponseImport, ReadsEveryField) {
    ResponseSpec spec = good();
    spec.producedAt = "20260102030405Z";
    EntrySpec revoked(certIdOf(pki_.revoked, pki_.ca, kSha256Oid), EntryStatus::kRevoked);
    revoked.revocationTime = "20250607080910Z";
    revoked.revocationReason = 1;
    revoked.nextUpdate.reset();
    spec.entries.push_back(revoked);
    spec.extensions = {nonceExtension(fromHex("0102030405060708")), {"1.2.3.4", false, fromHex("0500")}};
    const Bytes der = buildResponse(spec);
    CResponse response;
    import(response, der);
    EXPECT_EQ(response.get_ProducedAt(), Orvane::CDateTime("20260102030405Z"));
    EXPECT_EQ(bytes(response.get_responderID()), pki_.delegate.subject());
    const Bytes nonce = fromHex("04080102030405060708");
    EXPECT_TRUE(response.get_HasNonce() && response.VerifyNonce(nonce.data(), nonce.size()));
    EXPECT_FALSE(response.VerifyNonce(nonce.data() + 2, nonce.size() - 2));
    EXPECT_STREQ(response.get_SignatureAlgorithmOID(), "1.2.840.10045.4.3.2");
    EXPECT_EQ(response.get_AdditionalExtensions()->size(), 1u);
    EXPECT_EQ(response.get_SRRevTime(0), nullptr);
    EXPECT_NE(response.get_SRNextUpdate(0), nullptr);
    EXPECT_EQ(response.get_SRStatus(1), ocsp::CCertStatus::kRevoked);
    EXPECT_EQ(*response.get_SRRevTime(1), Orvane::CDateTime("20250607080910Z"));
    EXPECT_EQ(*response.get_SRRevReason(1), Orvane::ASN1::kReasonKeyCompromise);
    EXPECT_EQ(response.get_SRNextUpdate(1), nullptr);
    EXPECT_THAT(thrownStatus([&] { response.get_SRStatus(2); }), IsStatus(status::kInvalidIndex));

    unsigned long size = der.size() - 1;
    Bytes copy(der.size());
    EXPECT_THAT(thrownStatus([&] { response.Export(copy.data(), &size); }), IsStatus(status::kMoreData));
    response.Export(copy.data(), &size);
    EXPECT_EQ(copy, der);
}

TEST_F(ResponseImport, AcceptsBothFormsAndRejectsTheRest) {
    struct Row {
        const char* what;
        std::function<void(ResponseSpec&)> change;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"a whole response", [](ResponseSpec&) {}, 0},
        {"only the basic response", [](ResponseSpec& s) { s.bare = true; }, 0},
        {"no entries", [](ResponseSpec& s) { s.entries.clear(); }, 0},
        {"another response type", [](ResponseSpec& s) { s.responseType = "1.2.3"; }, status::kUnsupportedType},
        {"two nonces",
         [](ResponseSpec& s) {
             s.extensions = {nonceExtension(fromHex("01")), nonceExtension(fromHex("01"))};
         },
         status::kDuplicateExtension},
        {"nextUpdate equal to thisUpdate", [](ResponseSpec& s) { s.entries[0].nextUpdate = s.entries[0].thisUpdate; },
         status::kNextBeforeThis},
        {"an entry that is not by CertID",
         [this](ResponseSpec& s) {
             const Bytes full = tlv::context(0, tlv::context(0, pki_.good.certificate));
             s.entries[0].raw = tlv::sequence({full, fromHex("8000"), tlv::generalizedTime("20260102030405Z")});
         },
         status::kCryptNotFound},
        {"two archive cutoffs in one entry",
         [](ResponseSpec& s) {
             const ExtensionSpec cutoff{"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime("20200101000000Z")};
             s.entries[0].extensions = {cutoff, cutoff};
         },
         status::kDuplicateExtension},
        {"a malformed archive cutoff",
         [](ResponseSpec& s) {
             s.entries[0].extensions = {{"1.3.6.1.5.5.7.48.1.6", false, fromHex("020101")}};
         },
         status::kAsn1Error},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ResponseSpec spec = good();
        row.change(spec);
        CResponse response;
        EXPECT_THAT(thrownStatus([&] { import(response, buildResponse(spec)); }), IsStatus(row.expected));
        if (row.expected != 0) {
            EXPECT_THAT(thrownStatus([&] { response.get_Status(); }), IsStatus(status::kNotImported));
        }
    }
    EXPECT_THAT(importStatus(bytesOf("<html>sorry</html>")), IsStatus(status::kAsn1Error));
}

TEST_F(ResponseImport, OnlyTheStatusOfARefusalIsReadable) {
    ResponseSpec spec = good();
    spec.bare = true;
    const Bytes body = tlv::sequence({tlv::oid(kBasicResponseOid), tlv::octetString(buildResponse(spec))});
    for (unsigned refusal = 1; refusal <= 6; ++refusal) {
        const Bytes der = tlv::sequence({tlv::enumerated(refusal), tlv::context(0, body)});
        CResponse response;
        import(response, der);
        EXPECT_EQ(response.get_Status(), refusal);
        EXPECT_EQ(response.get_SignatureAlgorithm(), 0u);
        EXPECT_THAT(thrownStatus([&] { response.get_SRNumber(); }), IsStatus(status::kNotSuccessful)) << refusal;
        unsigned long size = 0;
        response.Export(nullptr, &size);
        EXPECT_EQ(size, der.size());
    }
}

TEST_F(ResponseImport, SortsTheExtensionsOfAnEntry) {
    ResponseSpec spec = good();
    spec.entries.emplace_back(certIdOf(pki_.revoked, pki_.ca));
    spec.entries[0].extensions = {{"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime("20200101000000Z")},
                                  {"1.2.3", false, fromHex("0500")}};
    spec.entries[1].extensions = {{"1.3.6.1.5.5.7.48.1.3", false, fromHex("3000")}};
    CResponse response;
    import(response, buildResponse(spec));
    EXPECT_THAT(response.get_SRArchiveCutoff(0), testing::Pointee(Orvane::CDateTime("20200101000000Z")));
    EXPECT_THAT(response.get_SRAdditionalExtensions(0), testing::Pointee(testing::SizeIs(2)))
        << "the archive cutoff shows here too";
    EXPECT_NE(response.get_SRCRLReference(1), nullptr);
    EXPECT_EQ(response.get_SRAdditionalExtensions(1), nullptr) << "the CRL reference does not";
    EXPECT_EQ(response.get_SRCRLReference(0), nullptr);
}

TEST_F(ResponseImport, ComparesAHistoricalAnswerWithItsTime) {
    struct Row {
        const char* thisUpdate;
        const char* policy;
        std::int32_t expected;
    };
    const Row rows[] = {
        {"20260108000000Z", "", 0},  // seven days before crlTime exactly
        {"20260107235959Z", "", status::kThisUpdateTooOld},
        {"20260114120000Z", "ThisUpdateAccuracy = \"h\"\nThisUpdateAccuracyUnits = 12\n", 0},
        {"20260114115959Z", "ThisUpdateAccuracy = \"h\"\nThisUpdateAccuracyUnits = 12\n", status::kThisUpdateTooOld},
        {"20260114115959Z", "ThisUpdateAccuracy = \"x\"\n", status::kInvalidArgument},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.thisUpdate) + row.policy);
        settings(row.policy);
        ResponseSpec spec = good();
        spec.entries[0].thisUpdate = row.thisUpdate;
        spec.entries[0].extensions = {{"1.2.643.2.2.47.5", false, crlIdWithTime("20260115000000Z")}};
        EXPECT_THAT(importStatus(buildResponse(spec)), IsStatus(row.expected));
    }
}

TEST_F(ResponseImport, ComparesTheNoncesOfBothSides) {
    CRequest without;
    without.put_UseNonce(false);
    ask(without, pki_.good, pki_.ca);
    CRequest with;
    ask(with, pki_.good, pki_.ca);
    const Bytes request = exported(with);
    // The nonce is the last thing in the request: an OCTET STRING of eight octets.
    const Bytes nonce(request.end() - 8, request.end());
    ResponseSpec spec = good();
    EXPECT_THAT(importStatus(buildResponse(spec), &without), IsStatus(0));
    EXPECT_THAT(importStatus(buildResponse(spec), &with), IsStatus(status::kNonceMismatch));
    spec.extensions = {nonceExtension(nonce)};
    EXPECT_THAT(importStatus(buildResponse(spec), &with), IsStatus(0));
    EXPECT_THAT(importStatus(buildResponse(spec), &without), IsStatus(status::kNonceMismatch));
    for (const Bytes& other :
         {fromHex("0000000000000000"), Bytes(nonce.begin(), nonce.end() - 1), concat({nonce, {0}}), Bytes()}) {
        spec.extensions = {nonceExtension(other)};
        EXPECT_THAT(importStatus(buildResponse(spec), &with), IsStatus(status::kNonceMismatch)) << toHex(other);
    }
}

TEST_F(ResponseImport, FindsEntriesByIdentifierAndByCertificate) {
    ResponseSpec spec = good();
    spec.entries = {EntrySpec(certIdOf(pki_.revoked, pki_.ca)), EntrySpec(certIdOf(pki_.good, pki_.ca, kSha256Oid)),
                    spec.entries[0]};
    CResponse response;
    import(response, buildResponse(spec));
    const ATL2::CCertContext good = contextOf(pki_.good);
    const ATL2::CCertContext ca = contextOf(pki_.ca);
    EXPECT_EQ(response.get_SRIndexByCert(good.get(), ca.get()), 1u) << "each entry by its own hash, first match";
    EXPECT_EQ(response.get_SRIndexByCert(contextOf(pki_.unknown).get(), ca.get()), CResponse::kNoIndex);
    for (const _CERT_CONTEXT* issuer : {ca.get(), static_cast<const _CERT_CONTEXT*>(nullptr)}) {
        EXPECT_THAT(thrownStatus([&] { response.get_SRIndexByCert(nullptr, issuer); }),
                    IsStatus(status::kInvalidArgument));
    }
    EXPECT_EQ(response.get_SRIndexByCert(good.get(), contextOf(pki_.sibling).get()), CResponse::kNoIndex);
    CRequest request;
    ask(request, pki_.good, pki_.ca);
    EXPECT_EQ(response.get_SRIndexByCertID(request.get_SRCertID(0)), 2u);
    // A copy reads the same, and is verified again.
    CResponse copy(response);
    EXPECT_EQ(copy.get_SRIndexByCertID(request.get_SRCertID(0)), 2u);
    CResponse& self = copy;
    copy = self;
    EXPECT_EQ(copy.get_SRNumber(), 3u);
    EXPECT_THAT(thrownStatus([&] { copy = CResponse(); }), IsStatus(status::kAsn1Error));
    EXPECT_THAT(thrownStatus([&] { copy.get_SRNumber(); }), IsStatus(status::kNotImported));
}

TEST_F(ResponseImport, FindsEachOfManyEntries) {
    // Serial numbers 0 to 299, then each again with one more sign octet, and one of another issuer.
    ResponseSpec spec = good();
    const CertIdSpec sample = certIdOf(pki_.good, pki_.ca);
    spec.entries.clear();
    const auto add = [&](Bytes serial, const CertIdSpec& id) {
        spec.entries.emplace_back(id);
        spec.entries.back().id.serial = std::move(serial);
    };
    const auto octet = [](unsigned number) { return static_cast<std::uint8_t>(number); };
    for (unsigned number = 0; number < 300; ++number) {
        add({octet(number >> 8), octet(number)}, sample);
    }
    for (unsigned number = 0; number < 300; ++number) {
        add({0, octet(number >> 8), octet(number)}, sample);
    }
    add({0x44}, certIdOf(pki_.good, pki_.sibling));
    CResponse response;
    import(response, buildResponse(spec));
    ASSERT_EQ(response.get_SRNumber(), 601u);
    // Twice: the first few are walked for, the rest are looked up.
    for (int round = 0; round < 2; ++round) {
        for (unsigned long i = 0; i < 601; ++i) {
            EXPECT_EQ(response.get_SRIndexByCertID(response.get_SRCertID(i)), i < 300 || i == 600 ? i : i - 300);
        }
        ocsp::CCertID unknown = response.get_SRCertID(0);
        unknown.put_serialNumber(Orvane::ASN1::CBigInteger(blob(fromHex("FF00")).pbData(), 2));
        EXPECT_EQ(response.get_SRIndexByCertID(unknown), CResponse::kNoIndex);
        EXPECT_EQ(response.get_SRIndexByCertID(ocsp::CCertID()), CResponse::kNoIndex);
    }
    // A serial number or hash that is the beginning of another names another certificate.
    spec.entries.clear();
    CertIdSpec otherKey = sample;
    otherKey.issuerKeyHash.back() ^= 1;
    CertIdSpec longerKey = sample;
    longerKey.issuerKeyHash.push_back(0);
    CertIdSpec otherName = sample;
    otherName.issuerNameHash.back() ^= 1;
    for (const CertIdSpec& id : {sample, otherKey, longerKey, otherName}) {
        add({10, 1}, id);
        add({10}, id);
    }
    import(response, buildResponse(spec));
    for (int round = 0; round < 3; ++round) {
        for (unsigned long i = 0; i < 8; ++i) {
            EXPECT_EQ(response.get_SRIndexByCertID(response.get_SRCertID(i)), i) << round;
        }
    }
    // What was found in one message is not looked for in the next.
    import(response, buildResponse(good()));
    EXPECT_EQ(response.get_SRIndexByCertID(response.get_SRCertID(0)), 0u);
    EXPECT_THAT(thrownStatus([&] { response.get_SRStatus(1); }), IsStatus(status::kInvalidIndex));
}

}  // namespace
