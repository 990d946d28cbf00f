// CRequest::Import and every operation on an imported request that needs no network, with default policies.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "client/request/request.h"
#include "handles/exception.h"
#include "platform/support/support_service.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP::Client;
using testkit::Bytes;

// Private settings: stores in a temporary directory, and no downloads for chains.
struct World {
    World() {
        const std::string stores = folder.file("stores");
        folder.write("stores/My/none.txt", "");
        const std::string settings = "[crypto]\nsystem_roots = false\nmax_chain_fetches = 0\nmachine_stores = \"" +
                                     stores + "\"\nuser_stores = \"" + stores + "\"\nurl_cache = \"" +
                                     folder.file("cache") + "\"\n";
        if (support_settings_open(folder.write("settings.toml", settings).c_str()) != 0) {
            std::abort();
        }
    }
    testkit::TempDir folder;
};

// False when the action throws.
template <class Action>
bool attempt(Action action) {
    try {
        action();
        return true;
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

Bytes exported(CRequest& request) {
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Bytes bytes(size);
    request.Export(bytes.data(), &size);
    return bytes;
}

void check(const CRequest& request) {
    for (const char* list : {static_cast<const char*>(nullptr), "", "1.2.3;2.5.29.15"}) {
        attempt([&] { static_cast<void>(request.Verify(nullptr, list, true)); });
    }
    for (unsigned long index = 0; index < std::min(request.get_SRNumber(), 8UL); ++index) {
        request.get_SRCertID(index);
        request.get_SRHistoricalRequest(index);
        request.get_SRServiceLocator(index);
        request.get_SRCRLLocator(index);
        static_cast<void>(request.VerifySR(index, "1.2.3"));
    }
    const bool isSigned = request.get_SignatureAlgorithmOID()[0] != '\0';
    require(attempt([&] { request.get_SignatureAlgorithm(); }) == isSigned);
    attempt([&] {
        const _CERT_CONTEXT* requestor = request.get_RequestorCertificate(nullptr, 0);
        require(requestor == request.get_RequestorCertificate(nullptr, 0));
    });
    attempt([&] {
        const _CERT_CONTEXT* signer = request.FindSigner(nullptr, 0);
        require(signer == nullptr || request.Verify(signer, "*", false) == 0);
    });
    // No root is trusted here, so no requestor is.
    attempt([&] { require(request.VerifyCertificate(nullptr, nullptr, 0) != 0); });
}

// Building the parts again must give a request with the same entries; a value that cannot be encoded is refused.
void rebuild(CRequest& request) {
    attempt([&] {
        request.put_UseNonce(!request.get_UseNonce());
        const Bytes built = exported(request);
        CRequest again;
        require(attempt([&] { again.Import(built.data(), built.size()); }));
        require(again.get_SRNumber() == request.get_SRNumber());
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const World world;
    CRequest request;  // not reused: importing an unsigned request does not clear the signed flag
    if (attempt([&] { request.Import(data, size); })) {
        require(std::equal(data, data + size, exported(request).begin()));
        check(request);
        CRequest copy(request);
        require(exported(copy) == exported(request));
        rebuild(copy);
    }
    return 0;
}
