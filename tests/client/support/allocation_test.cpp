// One allocation after the other fails: what leaves the classes is the exception that their headers name, and the next
// call works as if nothing had happened.
#include <algorithm>
#include <functional>
#include <iterator>

#include "tests/client/support/client_test.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;

class Allocation : public ResponderTest {};

TEST_F(Allocation, ThatFailsIsThrownAsAStatus) {
    ResponseSpec spec(responder_, {EntrySpec(certIdOf(pki_.good, pki_.ca))});
    spec.entries[0].extensions = {{"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime("20200101000000Z")}};
    spec.extensions = {{"1.2.3", false, tlv::null()}};
    const Bytes response = buildResponse(spec);
    const Bytes signedRequest = readFile("data/schema/request-signed.der");
    const ATL2::CCertContext good = contextOf(pki_.good);
    const ATL2::CCertContext ca = contextOf(pki_.ca);
    struct Row {
        const char* what;
        std::function<void()> act;
    };
    const Row rows[] = {
        {"make a request",
         [&] {
             CRequest request(good.get(), ca.get());
             request.put_OCSPAddress(L"http://a.responder.whose.name.is.long/");
             request.put_ProxyAddress(L"http://a.proxy.whose.name.is.long.too/");
             request.AddSingleRequest();
             request.put_SRCertID(request.get_SRCertID(0), 1);
             request.put_SRServiceLocatorFromCertAIA(good.get(), 0);
             unsigned long size = 0;
             CRequest(request).Export(nullptr, &size);
         }},
        {"read a request",
         [&] {
             CRequest request;
             request.Import(signedRequest.data(), signedRequest.size());
             static_cast<void>(request.FindSigner(nullptr, 0));
             static_cast<void>(request.Verify(nullptr, "1.2.3.4.5.6.7.8.9.10.11.12", true));
         }},
        {"read and verify a response",
         [&] {
             CResponse read;
             read.Import(response.data(), response.size(), nullptr);
             const CResponse copy(read);
             static_cast<void>(copy.get_SRIndexByCertID(copy.get_SRCertID(0)));
             static_cast<void>(copy.get_SRIndexByCert(good.get(), ca.get()));
             static_cast<void>(copy.Verify(nullptr, "1.2.3.4.5.6.7.8.9.10.11.12"));
             static_cast<void>(copy.VerifyCertificate(nullptr, false, nullptr, 0));
         }},
    };
    for (const Row& row : rows) {
        row.act();  // what is made once for the process
        const auto statuses = statusesOfFailures(row.what, row.act);
        EXPECT_LT(std::count(statuses.begin(), statuses.end(), 0) + 20, std::ssize(statuses)) << row.what;
        EXPECT_EQ(thrownStatus(row.act), 0) << row.what;
    }
}

}  // namespace
