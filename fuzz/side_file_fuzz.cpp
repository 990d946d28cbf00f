// A side file next to a certificate: it may set the two properties that it can name, whose content must be readable,
// or is reported in one line.
#include <cstdlib>

#include "platform/crypto/certificates/certificate.h"
#include "platform/crypto/certificates/side_file.h"
#include "tests/support/pki.h"
#include "tests/support/temp_dir.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace service = tallow::platform;
    static const testkit::TempDir folder;
    const service::CertificateRef certificate = service::Certificate::create(testkit::Pki::shared().good.certificate);
    const std::string file = folder.write("own.toml", testkit::Bytes(data, data + size));
    const service::SideFileResult result = service::applySideFile(file, *certificate);
    require(result.wasRead && result.problem.find_first_of("\n\r") == std::string::npos);
    service::Bytes property;
    require(result.problem.empty() || !certificate->property(CERT_KEY_PROV_INFO_PROP_ID, property) ||
            !property.empty());
    if (certificate->property(CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID, property)) {
        require(property.size() > 2 && property[0] == 0x30);
    }
    // What a program reads back.
    for (const DWORD id : {CERT_KEY_PROV_INFO_PROP_ID, CERT_CA_OCSP_AUTHORITY_INFO_ACCESS_PROP_ID}) {
        DWORD needed = 0;
        if (CertGetCertificateContextProperty(certificate->context(), id, nullptr, &needed)) {
            service::Bytes block(needed);
            require(CertGetCertificateContextProperty(certificate->context(), id, block.data(), &needed) != FALSE);
        }
    }
    return 0;
}
