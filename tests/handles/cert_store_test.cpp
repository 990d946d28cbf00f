#include "handles/cert_store.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/scripted_service/scripted_service.h"
#include "tests/support/status_matcher.h"

namespace {

using ATL2::CCertStore;
using testing::_;
using testing::Return;
using testkit::failing;
using testkit::IsStatus;
using testkit::Script;

HCERTSTORE store(std::uintptr_t number) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is only ever compared
    return reinterpret_cast<HCERTSTORE>(number);
}

void open(Script& service, CCertStore& target, std::uintptr_t number) {
    EXPECT_CALL(service, CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr)).WillOnce(Return(store(number)));
    ASSERT_THAT(target.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), IsStatus(status::kOk));
}

TEST(CertStore, ClosesWithItsLastCopyWithoutTheCheckingFlag) {
    Script service;
    CCertStore first;
    const CCertStore sharing = first;  // shares the cell before a store is in it
    open(service, first, 1);
    EXPECT_EQ(sharing.get(), store(1));
    first.Destroy();
    EXPECT_FALSE(first);
    EXPECT_EQ(sharing.get(), store(1));
    open(service, first, 2);
    EXPECT_EQ(sharing.get(), store(1));
    EXPECT_CALL(service, CertCloseStore(store(1), 0)).WillOnce(Return(TRUE));
    EXPECT_CALL(service, CertCloseStore(store(2), 0)).WillOnce(Return(FALSE));  // ignored
}

TEST(CertStore, OpensOnlyWhatIsNotOpen) {
    Script service;
    CCertStore target;
    EXPECT_CALL(service, CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, 0x28080, _))
        .WillOnce(failing(nullptr, ERROR_FILE_NOT_FOUND))
        .WillOnce(failing(nullptr, ERROR_SUCCESS));
    EXPECT_THAT(target.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0x28080, L"ROOT"), IsStatus(status::kFileNotFound));
    EXPECT_THAT(target.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0x28080, L"ROOT"), IsStatus(status::kFail));
    open(service, target, 1);
    EXPECT_THAT(target.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr), IsStatus(status::kFail));
    EXPECT_THAT(target.AttachWeak(store(9)), IsStatus(status::kFail));
    EXPECT_CALL(service, CertCloseStore(store(1), 0)).WillOnce(Return(TRUE));
}

TEST(CertStore, AttachedStoresGetTheirOwnReference) {
    Script service;
    CCertStore target;
    const CCertStore other = target;
    EXPECT_CALL(service, CertDuplicateStore(store(1)))
        .WillOnce(failing(nullptr, 0x80092004))
        .WillOnce(failing(nullptr, ERROR_SUCCESS))
        .WillOnce(Return(store(2)));
    EXPECT_THAT(target.AttachWeak(store(1)), IsStatus(status::kCryptNotFound));
    EXPECT_THAT(target.AttachWeak(nullptr), IsStatus(status::kInvalidArgument));  // and not the error before
    EXPECT_THAT(target.AttachWeak(store(1)), IsStatus(status::kFail));
    EXPECT_THAT(target.AttachWeak(store(1)), IsStatus(status::kOk));
    EXPECT_EQ(target.get(), store(2));
    EXPECT_FALSE(other);  // the cell was replaced
    EXPECT_CALL(service, CertCloseStore(store(2), 0)).WillOnce(Return(TRUE));
}

TEST(CertStore, CollectionsCloseBeforeTheirMembers) {
    Script service;
    CCertStore collection;
    const CCertStore unopened;
    EXPECT_THAT(collection.AddStoreToCollection(unopened, 0, 0), IsStatus(status::kFail));
    open(service, collection, 1);
    {
        CCertStore member;
        open(service, member, 2);
        EXPECT_CALL(service, CertAddStoreToCollection(store(1), store(2), 3, 4)).WillOnce(Return(TRUE));
        EXPECT_THAT(collection.AddStoreToCollection(member, 3, 4), IsStatus(status::kOk));
    }
    const testing::InSequence order;
    EXPECT_CALL(service, CertCloseStore(store(1), 0)).WillOnce(Return(TRUE));
    EXPECT_CALL(service, CertCloseStore(store(2), 0)).WillOnce(Return(TRUE));
}

}  // namespace
