// Asks the responder that a certificate names whether it is still good: check CERTIFICATE ISSUER, both in DER. The
// responder's chain must end in a root of the store ROOT.
#include <cstdio>

#include <tallow/tallow.h>

// Returns 0 when the certificate is proven good, otherwise the reason as a status. Send returns a response that is
// decoded and current; the verdict on it is the handler's.
std::int32_t check(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) {
    using namespace Orvane::PKI::OCSP::Client;
    try {
        CRequest request(certificate, issuer);
        const CResponse& response = request.Send(false);
        CVerifyingResponseHandler handler(request, nullptr, 0);
        return handler.OnResponse(response);
    } catch (const ATL::CAtlException& failure) {
        return failure.status() != status::kOk ? failure.status() : status::kFail;
    }
}

namespace {

ATL2::CCertContext readCertificate(const char* path) {
    Orvane::CBlob der;
    der.readFromFile(path);
    return ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s CERTIFICATE ISSUER\n", argv[0]);
        return 64;
    }
    try {
        const ATL2::CCertContext certificate = readCertificate(argv[1]);
        const ATL2::CCertContext issuer = readCertificate(argv[2]);
        const std::int32_t verdict =
            certificate && issuer ? check(certificate.get(), issuer.get()) : status::kInvalidData;
        const char* text = verdict == status::kOk ? "good" : status::text(verdict);
        std::printf("0x%08X %s\n", static_cast<unsigned int>(verdict), text == nullptr ? "" : text);
        return verdict == status::kOk ? 0 : 1;
    } catch (const ATL::CAtlException& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 64;
    }
}
