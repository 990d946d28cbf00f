// Types that no message at hand holds, in octets put together from the standards. What wrote a value of its own would
// read it back with any tags; these rows hold the tags, what may be absent, and how large a value may be.
#include <gtest/gtest.h>

#include "tests/schema/catalogue_fixture.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using tlv::context;
using tlv::contextPrimitive;
using tlv::octetString;
using tlv::sequence;

constexpr std::uint8_t kTeletexString = 0x14;

const Bytes kOid = tlv::oid("1.2.3");
const Bytes kBig = tlv::integer(fromHex("01 00 00 00 00"));
const Bytes kTime = tlv::generalizedTime("20260102030405Z");
const Bytes kUtcTime = tlv::utcTime("260102030405Z");
const Bytes kBits = tlv::bitString({1});
const Bytes kAlgorithm = sequence({kOid});
const Bytes kName = sequence({tlv::set({sequence({tlv::oid("2.5.4.3"), tlv::utf8String("x")})})});
const Bytes kDirectoryName = context(4, kName);
const Bytes kUri = contextPrimitive(6, bytesOf("u:"));
const Bytes kExtension = sequence({kOid, octetString({1})});
const Bytes kCertId = sequence({kDirectoryName, kBig});
const Bytes kHash = sequence({kAlgorithm, octetString({1})});
const Bytes kRejected = sequence({tlv::integer(2)});
const Bytes kEncryptedValue =
    sequence({context(0, kOid), contextPrimitive(2, {0, 1}), contextPrimitive(4, {1}), kBits});

class RareTypes : public schematest::CatalogueTest {};

TEST_F(RareTypes, OfRequestsForCertificatesComeOutAsTheyWere) {
    const Bytes key = concat({kAlgorithm, kBits});
    comesBack(
        "CertTemplate",
        sequence({contextPrimitive(0, {2}), contextPrimitive(1, fromHex("01 00 00 00 00")), context(2, kOid),
                  context(3, kName), context(4, concat({context(0, kUtcTime), context(1, kTime)})), context(5, kName),
                  context(6, key), contextPrimitive(7, {0, 1}), contextPrimitive(8, {0, 1}), context(9, kExtension)}));
    comesBack("ProofOfPossession", contextPrimitive(0, {}));
    comesBack("ProofOfPossession", context(1, concat({context(0, concat({context(0, kUri), sequence({key})})), key})));
    comesBack("ProofOfPossession", context(2, contextPrimitive(0, {0, 1})));
    comesBack("ProofOfPossession", context(2, contextPrimitive(1, {1})));
    comesBack("ProofOfPossession", context(3, context(3, key)));
    const Bytes recipient = context(4, concat({kOid, tlv::null()}));
    const Bytes enveloped = concat({tlv::integer(3), tlv::set({recipient}), sequence({kOid, kAlgorithm})});
    comesBack("ProofOfPossession", context(2, context(4, enveloped)));
    comesBack("PKIArchiveOptions", context(0, kEncryptedValue));
    comesBack("PKIArchiveOptions", context(0, context(0, enveloped)));
    comesBack("PKIArchiveOptions", contextPrimitive(1, {1}));
    comesBack("PKIArchiveOptions", contextPrimitive(2, {0xFF}));
    const Bytes publication = concat({tlv::integer(1), sequence({sequence({tlv::integer(2), kUri})})});
    comesBack("PKIPublicationInfo", sequence({publication}));
    comesBack(
        "KeyRecRepContent",
        sequence({kRejected, context(2, sequence({sequence({context(1, kEncryptedValue), context(0, kEncryptedValue),
                                                            context(1, sequence({publication}))})}))}));
    comesBack("RevAnnContent", sequence({tlv::integer(4), kCertId, kTime, kTime, sequence({kExtension})}));
    comesBack("RevRepContent", sequence({sequence({kRejected}), context(0, sequence({kCertId})),
                                         context(1, sequence({sequence({tlv::integer(1)})}))}));
    comesBack("OOBCertHash", sequence({context(0, kAlgorithm), context(1, kCertId), kBits}));
    comesBack("POPODecKeyRespContent", sequence({kBig}));
    comesBack("RsaPubKey", sequence({kBig, kBig}));
}

TEST_F(RareTypes, OfValidationComeOutAsTheyWere) {
    const Bytes token = sequence({context(2, tlv::integer(0))});
    const Bytes target =
        sequence({context(5, contextPrimitive(0, {})),
                  sequence({context(1, octetString({1})), context(3, concat({kOid, context(0, tlv::null())})),
                            context(6, concat({kAlgorithm, octetString({1}), octetString({1}), kBig})),
                            context(7, tlv::enumerated(6)), context(8, kAlgorithm), kExtension}),
                  context(0, concat({sequence({sequence({kOid})}), tlv::boolean(true), contextPrimitive(0, {0xFF})}))});
    const Bytes information = sequence({tlv::integer(2), tlv::enumerated(3), kBig, kTime, context(0, kUri),
                                        context(1, kOid), context(2, kUri), context(3, kUri), context(4, kExtension)});
    const Bytes plain = sequence({tlv::enumerated(1)});
    comesBack("DVCSRequest", sequence({information, context(0, target), kDirectoryName}));
    comesBack("DVCSRequest", sequence({plain, kHash}));
    comesBack("DVCSResponse",
              sequence({plain, kHash, kBig, sequence({kOid, context(0, tlv::null())}), context(0, tlv::integer(0)),
                        context(1, kOid), context(2, {}), context(3, token), sequence({kExtension})}));
    comesBack("DVCSResponse", context(0, concat({kRejected, kUri})));
}

TEST_F(RareTypes, OfElectronicSignaturesComeOutAsTheyWere) {
    const Bytes list = sequence({sequence({sequence({octetString({1}), sequence({kName, kUtcTime, kBig})})})});
    const Bytes responder = sequence({context(2, octetString({1})), kTime});
    comesBack("CompleteRevocationRefs",
              sequence({sequence({context(0, list), context(1, sequence({sequence({sequence({responder, kHash})})})),
                                  context(2, sequence({kOid, tlv::null()}))})}));
    comesBack("RevocationValues", sequence({context(0, sequence({sequence({kBig})})), context(1, sequence({})),
                                            context(2, sequence({kOid, tlv::null()}))}));
    comesBack("SignaturePolicy", tlv::null());
    comesBack("SignaturePolicy", sequence({kOid, kHash, sequence({sequence({kOid, tlv::ia5String("u:")})})}));
    comesBack("SignerLocation", sequence({context(0, tlv::utf8String("AQ")), context(1, tlv::printableString("x")),
                                          context(2, sequence({tlv::utf8String(std::string(60, 'x'))}))}));
    const Bytes holder = sequence({context(1, kDirectoryName)});
    const Bytes issuer = context(0, sequence({kDirectoryName}));
    const Bytes second =
        sequence({sequence({tlv::integer(1), holder, issuer, kAlgorithm, kBig, sequence({kTime, kTime}), sequence({})}),
                  kAlgorithm, kBits});
    comesBack("SignerAttribute",
              sequence({context(0, sequence({sequence({kOid, tlv::set({tlv::null()})})})), context(1, second)}));
    comesBack("SMIMEEncryptionKeyPreference", context(0, concat({kName, kBig})));
    comesBack("SMIMEEncryptionKeyPreference", context(1, concat({octetString({1}), kTime, sequence({kOid})})));
    comesBack("SMIMEEncryptionKeyPreference", contextPrimitive(2, {1}));
    comesBack("SharedInfo", sequence({kAlgorithm, context(0, octetString({1})), context(2, octetString({1}))}));
    comesBack("Gost28147_89_EncryptedKey",
              sequence({octetString(Bytes(32)), contextPrimitive(0, Bytes(32)), octetString(Bytes(4))}));
}

TEST_F(RareTypes, OfDirectoriesComeOutAsTheyWere) {
    comesBack("AttributeCertificateAssertion", sequence({context(0, context(1, kName)), context(1, kName),
                                                         context(2, kTime), context(3, tlv::set({kOid}))}));
    comesBack("CertificateAssertion",
              sequence({contextPrimitive(0, {1}), context(1, kName), contextPrimitive(2, {1}),
                        context(3, contextPrimitive(0, {1})), context(4, kUtcTime),
                        contextPrimitive(5, bytesOf("20260102030405Z")), contextPrimitive(6, fromHex("2A 03")),
                        contextPrimitive(7, fromHex("07 80")), context(8, tlv::enumerated(8)), context(9, kOid),
                        context(10, kName)}));
    comesBack("CertificateListAssertion", sequence({kName, contextPrimitive(0, {1}), contextPrimitive(1, {2}), kBits,
                                                    kUtcTime, context(2, context(0, kUri))}));
    const Bytes text = tlv::printableString("x");
    const Bytes digit = bytesOf("1");
    comesBack(
        "ORAddress",
        sequence(
            {sequence({tlv::raw(0x61, tlv::printableString("AQ")), tlv::raw(0x62, text), contextPrimitive(0, digit),
                       contextPrimitive(1, digit), context(2, text), contextPrimitive(3, digit),
                       contextPrimitive(4, digit),
                       context(5, concat({contextPrimitive(0, digit), contextPrimitive(3, digit)})), context(6, text)}),
             sequence({sequence({text, text})}), tlv::set({sequence({contextPrimitive(0, {22}), context(1, text)})})}));
    comesBack("ExtendedNetworkAddress", sequence({contextPrimitive(0, digit), contextPrimitive(1, digit)}));
    comesBack("ExtendedNetworkAddress",
              context(0, concat({context(0, octetString({1})), context(1, octetString({1})),
                                 context(2, octetString({1})), context(3, tlv::set({octetString({1})}))})));
    comesBack("UnformattedPostalAddress", tlv::set({sequence({text}), tlv::raw(kTeletexString, digit)}));
}

}  // namespace
