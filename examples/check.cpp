// Checks whether a certificate is still good: check CERTIFICATE ISSUER, both DER. The responder's address comes from
// the certificate; the responder's chain must end in a root of the store ROOT.
#include <cstdio>

#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "foundation/blob.h"
#include "handles/cert_context.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace {

ATL2::CCertContext readCertificate(const char* path) {
    Orvane::CBlob der;
    der.readFromFile(path);
    return ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
}

// Returns 0 when the certificate is proven good, else the reason. Send checks that the response is current; the handler
// verifies it.
std::int32_t check(const _CERT_CONTEXT* certificate, const _CERT_CONTEXT* issuer) {
    using namespace Orvane::PKI::OCSP::Client;
    try {
        CRequest request(certificate, issuer);
        const CResponse& response = request.Send(false);
        CVerifyingResponseHandler judge(request, nullptr, 0);
        return judge.OnResponse(response);
    } catch (const ATL::CAtlException& failure) {
        return failure.status() != status::kOk ? failure.status() : status::kFail;
    }
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
