#include <gtest/gtest.h>

#include <vector>

#include "platform/crypto/certificates/store.h"
#include "tests/platform/trust_fixture.h"

namespace testkit {
namespace {

StorePtr collection() {
    return StorePtr(CertOpenStore(CERT_STORE_PROV_COLLECTION, 0, 0, 0, nullptr));
}

// The encodings met on a walk; the walk must end with the last error that says so.
std::vector<Bytes> walk(HCERTSTORE store, DWORD findType = CERT_FIND_ANY, const void* wanted = nullptr) {
    std::vector<Bytes> met;
    SetLastError(0);
    PCCERT_CONTEXT context = nullptr;
    while ((context = CertFindCertificateInStore(store, 65537, 0, findType, wanted, context)) != nullptr) {
        met.push_back(encoded(context));
    }
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
    return met;
}

TEST(Store, FollowsTheDispositionForADuplicate) {
    const StorePtr store = storeOf({});
    const ContextPtr first = context(Pki::shared().good.certificate);
    const Bytes kept = fromHex("01");
    const Bytes offered = fromHex("02");
    CRYPT_DATA_BLOB blob = blobOf(kept);
    CertSetCertificateContextProperty(first.get(), 81, 0, &blob);
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), first.get(), CERT_STORE_ADD_NEW, nullptr));
    const ContextPtr second = context(Pki::shared().good.certificate);
    blob = blobOf(offered);
    CertSetCertificateContextProperty(second.get(), 81, 0, &blob);
    CertSetCertificateContextProperty(second.get(), 11, 0, &blob);

    EXPECT_FALSE(CertAddCertificateContextToStore(store.get(), second.get(), CERT_STORE_ADD_NEW, nullptr));
    EXPECT_EQ(GetLastError(), CRYPT_E_EXISTS);
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), second.get(), CERT_STORE_ADD_USE_EXISTING, &added));
    const ContextPtr stored(added);
    EXPECT_NE(stored.get(), second.get());
    EXPECT_EQ(stored->hCertStore, store.get());
    EXPECT_EQ(property(stored.get(), 81), kept);
    EXPECT_EQ(property(stored.get(), 11), offered);
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), second.get(), CERT_STORE_ADD_REPLACE_EXISTING, nullptr));
    EXPECT_EQ(property(stored.get(), 81), offered);
    EXPECT_EQ(walk(store.get()).size(), 1U);
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), second.get(), CERT_STORE_ADD_ALWAYS, nullptr));
    EXPECT_EQ(walk(store.get()).size(), 2U);
    EXPECT_FALSE(CertAddCertificateContextToStore(store.get(), second.get(), 0, nullptr));
}

TEST(Store, FindsByEachCriterion) {
    const Pki& pki = Pki::shared();
    const StorePtr store = storeOf({pki.root, pki.ca, pki.sameNameCa, pki.good, pki.revoked});
    const ContextPtr good = testkit::context(pki.good.certificate);
    const Bytes thumbprint = property(good.get(), CERT_SHA1_HASH_PROP_ID);
    const CRYPT_DATA_BLOB hash = blobOf(thumbprint);
    const CRYPT_DATA_BLOB beginning{4, good->pCertInfo->Subject.pbData};
    using List = std::vector<Bytes>;
    const List onlyGood{pki.good.certificate};
    const List namesakes{pki.ca.certificate, pki.sameNameCa.certificate};
    EXPECT_EQ(walk(store.get(), CERT_FIND_SUBJECT_NAME, &good->pCertInfo->Subject), onlyGood);
    EXPECT_EQ(walk(store.get(), CERT_FIND_SUBJECT_NAME, &beginning), List{});
    EXPECT_EQ(walk(store.get(), CERT_FIND_SUBJECT_NAME, &good->pCertInfo->Issuer), namesakes);
    EXPECT_EQ(walk(store.get(), CERT_FIND_ISSUER_OF, good.get()), namesakes);
    EXPECT_EQ(walk(store.get(), CERT_FIND_ISSUER_NAME, &good->pCertInfo->Issuer),
              (List{pki.sameNameCa.certificate, pki.good.certificate, pki.revoked.certificate}));
    EXPECT_EQ(walk(store.get(), CERT_FIND_EXISTING, good.get()), onlyGood);
    EXPECT_EQ(walk(store.get(), CERT_FIND_SUBJECT_CERT, good->pCertInfo), onlyGood);
    EXPECT_EQ(walk(store.get(), CERT_FIND_SHA1_HASH, &hash), onlyGood);
    EXPECT_EQ(CertFindCertificateInStore(store.get(), 65537, 0, 0x00990000, &hash, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), E_INVALIDARG);
    EXPECT_EQ(CertFindCertificateInStore(store.get(), 65537, 0, CERT_FIND_EXISTING, nullptr, nullptr), nullptr);
}

TEST(Store, EnumeratesACollectionByPriority) {
    const Pki& pki = Pki::shared();
    const StorePtr first = storeOf({pki.good, pki.ca});
    const StorePtr second = storeOf({pki.root, pki.good});
    const StorePtr both = collection();
    const ContextPtr any = testkit::context(pki.good.certificate);
    EXPECT_FALSE(CertAddCertificateContextToStore(both.get(), any.get(), CERT_STORE_ADD_USE_EXISTING, nullptr));
    ASSERT_TRUE(CertAddStoreToCollection(both.get(), first.get(), 0, 0));
    ASSERT_TRUE(CertAddStoreToCollection(both.get(), second.get(), 0, 5));
    const std::vector<Bytes> expected{pki.root.certificate, pki.good.certificate, pki.good.certificate,
                                      pki.ca.certificate};
    EXPECT_EQ(walk(both.get()), expected);
    EXPECT_EQ(tallow::platform::Store::of(both.get())->certificates().size(), expected.size());
    // A member twice, also by way of another collection, is still one.
    const StorePtr outer = collection();
    ASSERT_TRUE(CertAddStoreToCollection(outer.get(), both.get(), 0, 0));
    ASSERT_TRUE(CertAddStoreToCollection(outer.get(), first.get(), 0, 0));
    ASSERT_TRUE(CertAddStoreToCollection(outer.get(), first.get(), 0, 0));
    EXPECT_EQ(walk(outer.get()), expected);
    ASSERT_TRUE(CertAddCertificateContextToStore(outer.get(), context(pki.revoked.certificate).get(),
                                                 CERT_STORE_ADD_USE_EXISTING, nullptr));
    EXPECT_EQ(walk(second.get()).back(), pki.revoked.certificate);

    EXPECT_FALSE(CertAddStoreToCollection(both.get(), outer.get(), 0, 0));
    EXPECT_FALSE(CertAddStoreToCollection(both.get(), both.get(), 0, 0));
    EXPECT_FALSE(CertAddStoreToCollection(first.get(), second.get(), 0, 0));
    EXPECT_EQ(GetLastError(), E_INVALIDARG);
}

TEST(Store, LeavesMembersAndContextsUsableWhenClosed) {
    StorePtr member = storeOf({Pki::shared().good});
    StorePtr both = collection();
    ASSERT_TRUE(CertAddStoreToCollection(both.get(), member.get(), 0, 0));
    member.reset();
    const ContextPtr context(CertEnumCertificatesInStore(both.get(), nullptr));
    const StorePtr duplicate(CertDuplicateStore(both.get()));
    both.reset();
    EXPECT_EQ(walk(duplicate.get()).size(), 1U);
    EXPECT_EQ(property(context.get(), CERT_SHA1_HASH_PROP_ID).size(), 20U);
    EXPECT_EQ(CertDuplicateStore(nullptr), nullptr);
    EXPECT_TRUE(CertCloseStore(nullptr, 0));
}

TEST(Store, AcceptsCrlsAndRejectsOtherBytes) {
    const StorePtr store = storeOf({});
    const Bytes crl = makeCrl(Pki::shared().ca, {});
    const auto addNew = [&](std::size_t size) {
        SetLastError(0);
        CertAddEncodedCRLToStore(store.get(), X509_ASN_ENCODING, crl.data(), static_cast<DWORD>(size),
                                 CERT_STORE_ADD_NEW, nullptr);
        return GetLastError();
    };
    EXPECT_EQ(addNew(crl.size()), 0U);
    EXPECT_EQ(addNew(crl.size()), CRYPT_E_EXISTS);
    EXPECT_EQ(addNew(crl.size() - 1), CRYPT_E_ASN1_ERROR);
}

}  // namespace
}  // namespace testkit
