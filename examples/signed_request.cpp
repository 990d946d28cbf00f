// Signs a request about a certificate, and checks it as its receiver would: signed-request CERTIFICATE ISSUER SIGNER
// KEY OUTPUT, certificates in DER. The signer's chain must end in a root of the store ROOT, and the CRLs of that chain
// must be available.
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

// Whether a request is signed by a requestor with a valid chain to a trusted root. Throws for an unsigned request.
bool isFromTrustedRequestor(const unsigned char* bytes, unsigned long size) {
    CRequest received;
    received.Import(bytes, size);
    const _CERT_CONTEXT* requestor = received.FindSigner(nullptr, 0);
    return requestor != nullptr && received.Verify(requestor, nullptr, true) == 0 &&
           received.VerifyCertificate(requestor, nullptr, 0) == 0;
}

namespace {

ATL2::CCertContext readCertificate(const char* path) {
    Orvane::CBlob der;
    der.readFromFile(path);
    return ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
}

int signAndCheck(char** files) {
    const ATL2::CCertContext certificate = readCertificate(files[0]);
    const ATL2::CCertContext issuer = readCertificate(files[1]);
    const ATL2::CCertContext signer = readCertificate(files[2]);
    if (!certificate || !issuer || !signer) {
        ATL::AtlThrowImpl(status::kInvalidData);
    }
    CRequest request(certificate.get(), issuer.get());
    sign(request, signer.get(), files[3], nullptr);
    unsigned long size = 0;
    request.Export(nullptr, &size);
    std::vector<unsigned char> bytes(size);
    request.Export(bytes.data(), &size);
    Orvane::CBlob(bytes.data(), size).writeToFile(files[4]);
    const bool isTrusted = isFromTrustedRequestor(bytes.data(), size);
    std::puts(isTrusted ? "trusted requestor" : "requestor not trusted");
    return isTrusted ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s CERTIFICATE ISSUER SIGNER KEY OUTPUT\n", argv[0]);
        return 64;
    }
    try {
        return signAndCheck(argv + 1);
    } catch (const ATL::CAtlException& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 64;
    }
}
