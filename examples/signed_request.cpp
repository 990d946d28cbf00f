// Signs a request about a certificate: signed-request CERTIFICATE ISSUER SIGNER KEY OUTPUT, certificates in DER. The
// example received checks it as its receiver would.
#include <cstdio>
#include <vector>

#include <tallow/tallow.h>

using namespace Orvane::PKI::OCSP::Client;

// `key` is the path of a PEM, DER or PKCS #12 file, or the URI of a token; `pin` opens it, null when it needs none.
void sign(CRequest& request, const _CERT_CONTEXT* signer, const char* key, const wchar_t* pin) {
    if (!crypto_set_key_uri(signer, key)) {
        ATL2::throwLastErrorOrFail();
    }
    request.Sign(signer, CRequest::CertsChainNoRoot, pin);
}

namespace {

ATL2::CCertContext readCertificate(const char* path) {
    Orvane::CBlob der;
    der.readFromFile(path);
    auto certificate = ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
    if (!certificate) {
        ATL2::throwLastErrorOrFail();
    }
    return certificate;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s CERTIFICATE ISSUER SIGNER KEY OUTPUT\n", argv[0]);
        return 64;
    }
    try {
        CRequest request(readCertificate(argv[1]).get(), readCertificate(argv[2]).get());
        sign(request, readCertificate(argv[3]).get(), argv[4], nullptr);
        unsigned long size = 0;
        request.Export(nullptr, &size);
        std::vector<unsigned char> bytes(size);
        request.Export(bytes.data(), &size);
        Orvane::CBlob(bytes.data(), size).writeToFile(argv[5]);
        return 0;
    } catch (const ATL::CAtlException& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
