// The owners on the real platform: what they promise about stores and certificates that come and go.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "handles/cert_context.h"
#include "handles/cert_store.h"
#include "tests/scripted_service/scripted_service.h"
#include "tests/support/pki.h"
#include "tests/support/status_matcher.h"

namespace {

using ATL2::CCertContext;
using ATL2::CCertStore;
using testing::_;
using testkit::failing;
using testkit::IsStatus;
using testkit::Overlay;

constexpr DWORD kFriendlyName = 11;
constexpr DWORD kSha1 = 3;

std::vector<DWORD> properties(const CCertContext& certificate) {
    std::vector<DWORD> ids;
    for (DWORD id = 0; (id = CertEnumCertificateContextProperties(certificate.get(), id)) != 0;) {
        ids.push_back(id);
    }
    return ids;
}

CCertStore openMemoryStore() {
    CCertStore store;
    EXPECT_THAT(store.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), IsStatus(status::kOk));
    return store;
}

// A certificate that lives in `store`, with a name set and its thumbprint computed.
CCertContext addedTo(const CCertStore& store) {
    const testkit::Bytes der = testkit::rootCa("root").certificate;
    const CCertContext loose = CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
    PCCERT_CONTEXT added = nullptr;
    EXPECT_TRUE(CertAddCertificateContextToStore(store.get(), loose.get(), CERT_STORE_ADD_ALWAYS, &added));
    CCertContext certificate = CCertContext::adopt(added);
    BYTE name[] = {'n', 'a', 'm', 'e'};
    const CRYPT_DATA_BLOB blob{sizeof name, name};
    EXPECT_TRUE(CertSetCertificateContextProperty(certificate.get(), kFriendlyName, 0, &blob));
    ATL::CStringA thumbprint;
    EXPECT_THAT(certificate.GetProperty(kSha1, thumbprint), IsStatus(status::kOk));
    EXPECT_EQ(thumbprint.GetLength(), 20);
    return certificate;
}

TEST(OnPlatform, DetachedCertificatesOutliveTheirStore) {
    Overlay service;
    CCertStore store = openMemoryStore();
    CCertContext certificate = addedTo(store);
    ATL::CStringA before;
    EXPECT_THAT(certificate.GetProperty(kSha1, before), IsStatus(status::kOk));
    EXPECT_EQ(certificate->hCertStore, store.get());
    EXPECT_THAT(certificate.DetachFromStore(), IsStatus(status::kOk));
    store.Destroy();

    EXPECT_EQ(certificate->hCertStore, nullptr);
    EXPECT_EQ(properties(certificate), std::vector<DWORD>{kFriendlyName});  // the thumbprint is not carried over
    ATL::CStringA value;
    EXPECT_THAT(certificate.GetProperty(kFriendlyName, value), IsStatus(status::kOk));
    EXPECT_STREQ(value.GetString(), "name");
    EXPECT_THAT(certificate.GetProperty(kSha1, value), IsStatus(status::kOk));
    EXPECT_EQ(std::memcmp(value.GetString(), before.GetString(), 20), 0);
}

TEST(OnPlatform, CollectionsKeepMembersThatTheirOwnersReleased) {
    Overlay service;
    CCertStore collection;
    ASSERT_THAT(collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, nullptr), IsStatus(status::kOk));
    {
        const CCertStore owner = openMemoryStore();
        CCertStore member;
        ASSERT_THAT(member.AttachWeak(owner.get()), IsStatus(status::kOk));
        ASSERT_THAT(collection.AddStoreToCollection(member, 0, 0), IsStatus(status::kOk));
        static_cast<void>(addedTo(owner));
    }
    const CCertContext found = CCertContext::adopt(CertEnumCertificatesInStore(collection.get(), nullptr));
    EXPECT_TRUE(found);
    EXPECT_THAT(openMemoryStore().AddStoreToCollection(collection, 0, 0), IsStatus(status::kInvalidArgument));
}

}  // namespace
