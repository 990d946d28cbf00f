#include <algorithm>

#include "checker/input.h"
#include "checker/trust_impl.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

namespace {

bool isSelfIssued(const ATL2::CCertContext& certificate) {
    const CERT_NAME_BLOB& subject = certificate->pCertInfo->Subject;
    const CERT_NAME_BLOB& issuer = certificate->pCertInfo->Issuer;
    return std::equal(subject.pbData, subject.pbData + subject.cbData, issuer.pbData, issuer.pbData + issuer.cbData);
}

// A copy to change: other objects may share the original.
template <typename Impl>
std::shared_ptr<Impl> copyOf(const std::shared_ptr<const Impl>& impl) {
    return std::make_shared<Impl>(*impl);
}

}  // namespace

ATL2::CCertStore memoryStore() {
    ATL2::CCertStore store;
    if (const std::int32_t opened = store.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr); opened != status::kOk) {
        ATL::AtlThrowImpl(opened);
    }
    return store;
}

void add(const ATL2::CCertStore& store, const ATL2::CCertContext& certificate) {
    if (!CertAddCertificateContextToStore(store.get(), certificate.get(), CERT_STORE_ADD_USE_EXISTING, nullptr)) {
        ATL2::throwLastErrorOrFail();
    }
}

Trust::Trust() : impl_(std::make_shared<const Impl>()) {}

Trust Trust::system() {
    Trust trust;
    const auto impl = std::make_shared<Impl>();
    impl->isSystem = true;
    trust.impl_ = impl;
    return trust;
}

Trust& Trust::addRoots(Input certificates) {
    std::vector<ATL2::CCertContext> found = certificatesIn(certificates, "the input of roots");
    if (std::none_of(found.begin(), found.end(), isSelfIssued)) {
        throw BadInput(status::kInvalidArgument,
                       "the input of roots contains no root, that is, no certificate issued by itself; pass the root "
                       "here, and the others to addCertificates");
    }
    const auto impl = copyOf(impl_);
    for (ATL2::CCertContext& certificate : found) {
        (isSelfIssued(certificate) ? impl->roots : impl->certificates).push_back(std::move(certificate));
    }
    impl_ = impl;
    return *this;
}

Trust& Trust::addSystemRoots() {
    ATL2::CCertStore roots;
    if (const std::int32_t opened =
            roots.Open(CERT_STORE_PROV_SYSTEM_A, 0, CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, "ROOT");
        opened != status::kOk) {
        throw BadInput(opened, "the system's roots cannot be read; check the store ROOT");
    }
    const auto impl = copyOf(impl_);
    ATL2::CCertContext root;
    while (const _CERT_CONTEXT* next = CertEnumCertificatesInStore(roots.get(), root.detach())) {
        root.reset(next);
        impl->roots.push_back(root);
    }
    impl_ = impl;
    return *this;
}

Trust& Trust::addCertificates(Input certificates) {
    std::vector<ATL2::CCertContext> found = certificatesIn(certificates, "the input of certificates");
    const auto impl = copyOf(impl_);
    impl->certificates.insert(impl->certificates.end(), found.begin(), found.end());
    impl_ = impl;
    return *this;
}

Trust& Trust::addCrls(Input crls) {
    const auto impl = copyOf(impl_);
    for (Bytes& crl : crlsIn(crls, "the input of CRLs")) {
        impl->crls.push_back(std::move(crl));
    }
    impl_ = impl;
    return *this;
}

}  // namespace tallow
