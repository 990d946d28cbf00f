// Each allocation of a call fails once: what leaves the call is the library's exception, and the object is as it was.
#include <gmock/gmock.h>

#include <functional>

#include "asn1rt/memory_heap.h"
#include "message/basic_response.h"
#include "message/extensions.h"
#include "message/response_message.h"
#include "tests/message/message_fixture.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace testkit;

class FailingMemory : public testing::Test {
protected:
    void SetUp() override {
        g_malloc_func = [](void* user, std::size_t size) {
            return isAllocationGranted() ? rtDefaultMalloc(user, size) : nullptr;
        };
    }
    void TearDown() override {
        allocationsLeft = -1;
        g_malloc_func = rtDefaultMalloc;
    }

    // A call that can do without some of its memory may also succeed.
    static void sweep(const char* name, const std::function<void()>& call, bool maySucceed = false) {
        for (const std::int32_t thrown : statusesOfFailures(name, call)) {
            EXPECT_TRUE(thrown == status::kAsn1Memory || thrown == status::kOutOfMemory ||
                        (maySucceed && thrown == status::kOk))
                << name << ": " << statusName(thrown);
        }
    }
};

TEST_F(FailingMemory, ThrowsOneExceptionType) {
    const Pki& pki = Pki::shared();
    ResponseSpec spec(pki.delegate);
    spec.entries.emplace_back(certIdOf(pki.good, pki.ca), EntryStatus::kRevoked);
    spec.entries[0].extensions.push_back({"1.2.3.4", false, {0x05, 0x00}});
    spec.extensions.push_back(nonceExtension({1, 2, 3}));
    const CBlob whole = blob(buildResponse(spec));
    spec.bare = true;
    const CBlob bare = blob(buildResponse(spec));
    CBasicResponse basic;
    sweep(
        "a basic response", [&] { basic.decode(bare); }, true);
    sweep("its copy", [&] { CBasicResponse{basic}; });
    CResponseMessage message;
    sweep(
        "a response", [&] { message.decode(whole); }, true);

    const CCertID id = identifierOf(pki.good, pki.ca);
    const ASN1::CAlgorithmIdentifierEx sha1(kSha1Oid);
    const CBlob subject = blob(pki.good.certificate);
    const CBlob issuer = blob(pki.ca.certificate);
    sweep("an identifier", [&] { CCertID(sha1, subject, issuer); });
    const CSingleRequestList list = requestListFor(id);
    CRequestMessage request;
    const CBlob name = blob(pki.good.subject());
    sweep("a request that is filled", [&] {
        request.put_requestList(list);
        request.put_requestorName(&name);
        request.put_requestExtensions(basic.get_responseExtensions());
    });
    CBlob encoded;
    sweep("a request that is written", [&] { encoded = request.encode(); });
    sweep("a request that is read", [&] { request.decode(encoded); });

    const Bytes url = tlv::contextPrimitive(6, {'h', ':', '/'});
    const CBlob points = blob(tlv::sequence({tlv::sequence({tlv::context(0, tlv::context(0, url))})}));
    sweep("a CRL locator", [&] { CExtCRLLocator().put_locator(CExtCRLLocator(points).get_locator()); });
    sweep("a CRL reference", [&] {
        CExtCrlID made;
        made.put_crlUrl("http://a.long.name.example/that/needs/memory.crl");
        CExtCrlID{made.get_value()};
    });
    const CBlob locator = blob(tlv::sequence({pki.good.subject()}));
    sweep("a service locator", [&] { CExtServiceLocator(locator).put_issuer(name); });
}

}  // namespace
