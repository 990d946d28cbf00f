// The check with the classes: classes CERTIFICATE ISSUER, both in DER. The responder's chain must end in a root of the
// store ROOT.
#include <cstdio>

#include <tallow/tallow.h>

using namespace Orvane::PKI::OCSP::Client;

// Returns 0 when the certificate is proven good, otherwise the reason as a status. `store` contains the issuer, which
// is part of the responder's chain.
std::int32_t check(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer, const ATL2::CCertStore& store) {
    try {
        CRequest request(certificate, issuer);
        const CResponse& response = request.Send(false);  // compares nonce and times, proves nothing
        void* stores[] = {store.get()};
        CVerifyingResponseHandler handler(request, stores, 1);
        return handler.OnResponse(response);  // returns the other verdicts, throws kCertificateRevoked
    } catch (const ATL::CAtlException& failure) {
        return failure.status() != status::kOk ? failure.status() : status::kFail;
    }
}

namespace {

// Adds the certificate in a file to the store, and returns it.
ATL2::CCertContext addCertificate(const ATL2::CCertStore& store, const char* path) {
    Orvane::CBlob der;
    der.readFromFile(path);
    const auto certificate = ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
    if (!certificate ||
        !CertAddCertificateContextToStore(store.get(), certificate.get(), CERT_STORE_ADD_USE_EXISTING, nullptr)) {
        ATL2::throwLastErrorOrFail();
    }
    return certificate;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s CERTIFICATE ISSUER\n", argv[0]);
        return 64;
    }
    try {
        ATL2::CCertStore store;
        if (const std::int32_t opened = store.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr); opened != status::kOk) {
            ATL::AtlThrowImpl(opened);
        }
        const ATL2::CCertContext certificate = addCertificate(store, argv[1]);
        const std::int32_t verdict = check(certificate.get(), addCertificate(store, argv[2]).get(), store);
        const char* text = verdict == status::kOk ? "good" : status::text(verdict);
        std::printf("0x%08X %s\n", static_cast<unsigned int>(verdict), text == nullptr ? "" : text);
        return verdict == status::kOk ? 0 : 1;
    } catch (const ATL::CAtlException& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 64;
    }
}
