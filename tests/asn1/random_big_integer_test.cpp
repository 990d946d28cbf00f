#include <gmock/gmock.h>

#include "asn1/algorithms/big_integer.h"
#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/scripted_service/scripted_service.h"
#include "tests/support/status_matcher.h"

namespace {

using Orvane::ASN1::MakeRandomBigInteger;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;
using namespace testkit;

BOOL fill(HCRYPTPROV /*provider*/, DWORD size, BYTE* data) {
    for (DWORD index = 0; index < size; ++index) {
        data[index] = 0xFF;
    }
    return TRUE;
}

TEST(MakeRandomBigInteger, HoldsItsOwnReferenceOnTheCallersProvider) {
    Script service;
    const testing::InSequence order;
    EXPECT_CALL(service, CryptContextAddRef(7, nullptr, 0)).WillOnce(Return(TRUE));
    EXPECT_CALL(service, CryptGenRandom(7, 3, testing::_)).WillOnce(fill);
    EXPECT_CALL(service, CryptReleaseContext(7, 0)).WillOnce(Return(TRUE));
    EXPECT_EQ(hexOf(MakeRandomBigInteger(7, 3)), "ffffff") << "the sign bit is left as it comes";
}

TEST(MakeRandomBigInteger, UsesAProviderThatRefusesAReference) {
    Script service;
    EXPECT_CALL(service, CryptContextAddRef(7, nullptr, 0)).WillOnce(Return(FALSE));
    EXPECT_CALL(service, CryptGenRandom(7, 1, testing::_)).WillOnce(fill);
    EXPECT_EQ(hexOf(MakeRandomBigInteger(7, 1)), "ff");  // and the caller's reference is not given away
}

TEST(MakeRandomBigInteger, AcquiresAProviderWhenThereIsNone) {
    Script service;
    const testing::InSequence order;
    EXPECT_CALL(service, CryptAcquireContextA(testing::_, nullptr, nullptr, 75, 0xF0000000))
        .WillOnce(DoAll(SetArgPointee<0>(9), Return(TRUE)));
    EXPECT_CALL(service, CryptGenRandom(9, 1, testing::_)).WillOnce(fill);
    EXPECT_CALL(service, CryptReleaseContext(9, 0)).WillOnce(Return(FALSE)).WillRepeatedly(Return(TRUE));
    EXPECT_EQ(hexOf(MakeRandomBigInteger(0, 1)), "ff") << "a failing release is ignored";
}

TEST(MakeRandomBigInteger, ThrowsTheConvertedLastError) {
    Script service;
    EXPECT_CALL(service, CryptAcquireContextA).WillOnce(failing(FALSE, ERROR_FILE_NOT_FOUND));
    EXPECT_THAT(thrownStatus([] { MakeRandomBigInteger(0, 1); }), IsStatus(status::kFileNotFound));

    EXPECT_CALL(service, CryptContextAddRef).WillOnce(Return(TRUE));
    EXPECT_CALL(service, CryptGenRandom).WillOnce(failing(FALSE, NTE_FAIL));
    EXPECT_CALL(service, CryptReleaseContext(7, 0)).WillOnce(Return(TRUE));
    EXPECT_THAT(thrownStatus([] { MakeRandomBigInteger(7, 1); }), IsStatus(status::kNteFail));
}

}  // namespace
