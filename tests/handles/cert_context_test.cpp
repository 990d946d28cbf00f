#include "handles/cert_context.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "tests/scripted_service/scripted_service.h"
#include "tests/support/status_matcher.h"

namespace {

using ATL2::CCertContext;
using testing::_;
using testing::Return;
using testkit::failing;
using testkit::IsStatus;
using testkit::Script;

constexpr DWORD kKeyProvInfo = 2;

// A property as the service gives it: its size without room for it, and otherwise its bytes when they fit.
auto property(const std::string& value) {
    return [value](PCCERT_CONTEXT, DWORD, void* data, DWORD* size) {
        const bool fits = data == nullptr || *size >= value.size();
        if (data != nullptr) {
            std::memcpy(data, value.data(), fits ? value.size() : *size);
        }
        *size = static_cast<DWORD>(value.size());
        SetLastError(ERROR_MORE_DATA);
        return fits ? TRUE : FALSE;
    };
}

class CertContext : public testing::Test {
protected:
    // Stands in for a certificate that another owner holds too.
    BYTE bytes_[3] = {1, 2, 3};
    CERT_CONTEXT old_{65537, bytes_, sizeof bytes_, nullptr, nullptr};
    CERT_CONTEXT new_{};
    Script service_;
};

TEST_F(CertContext, TakesAndReleasesOneReferenceForEachOwner) {
    EXPECT_CALL(service_, CertDuplicateCertificateContext(&old_)).Times(3).WillRepeatedly(Return(&old_));
    EXPECT_CALL(service_, CertFreeCertificateContext(&old_)).Times(4).WillRepeatedly(Return(FALSE));
    CCertContext first = CCertContext::adopt(&old_);
    const CCertContext copy = first;
    CCertContext third = CCertContext::duplicate(&old_);
    const CCertContext& same = first;
    first = same;   // nothing is released and taken again
    third = first;  // the old reference goes, a new one comes
    const CCertContext moved(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): the state after a move is promised
    EXPECT_FALSE(CCertContext::duplicate(nullptr));
    CCertContext empty;
    ATL::CStringA value;
    EXPECT_THAT(empty.DetachFromStore(), IsStatus(status::kFail));
    EXPECT_THAT(empty.GetProperty(3, value), IsStatus(status::kFail));
    EXPECT_THAT(empty.GetKeyProvInfo(value), IsStatus(status::kFail));
}

TEST_F(CertContext, DetachingCopiesWhatTheServiceCannotDerive) {
    EXPECT_CALL(service_, CertCreateCertificateContext(65537, bytes_, 3)).WillOnce(Return(&new_));
    constexpr std::array<DWORD, 15> kIds = {2, 3, 4, 5, 7, 8, 15, 17, 18, 20, 24, 25, 27, 81, 0};
    EXPECT_CALL(service_, CertEnumCertificateContextProperties(&old_, _))
        .Times(kIds.size())
        .WillRepeatedly([&](PCCERT_CONTEXT, DWORD id) {
            return id == 0 ? kIds[0] : *(std::find(kIds.begin(), kIds.end(), id) + 1);
        });
    const std::map<DWORD, std::string> copied = {{2, std::string(600, 'k')}, {5, ""}, {81, std::string("a\0b", 3)}};
    for (const auto& [id, value] : copied) {
        EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, id, _, _)).WillRepeatedly(property(value));
    }
    std::map<DWORD, std::string> set;
    EXPECT_CALL(service_, CertSetCertificateContextProperty(&new_, _, 0, _))
        .Times(3)
        .WillRepeatedly([&set](auto, DWORD id, auto, const void* data) {
            const auto* blob = static_cast<const CRYPT_DATA_BLOB*>(data);  // except for the record of the key
            set[id] = id == 2 ? std::string(static_cast<const char*>(data), 600)
                              : std::string(reinterpret_cast<const char*>(blob->pbData), blob->cbData);
            return TRUE;
        });
    CCertContext certificate = CCertContext::adopt(&old_);
    EXPECT_CALL(service_, CertFreeCertificateContext(&old_)).WillOnce(Return(TRUE));
    EXPECT_THAT(certificate.DetachFromStore(), IsStatus(status::kOk));
    EXPECT_EQ(certificate.get(), &new_);
    EXPECT_EQ(set, copied);
    EXPECT_CALL(service_, CertFreeCertificateContext(&new_)).WillOnce(Return(TRUE));
}

TEST_F(CertContext, FailedDetachingKeepsTheOldContext) {
    CCertContext certificate = CCertContext::adopt(&old_);
    EXPECT_CALL(service_, CertCreateCertificateContext(_, _, _))
        .WillOnce(failing(nullptr, 0x80093101))
        .WillRepeatedly(Return(&new_));
    EXPECT_THAT(certificate.DetachFromStore(), IsStatus(status::kAsn1Error));

    EXPECT_CALL(service_, CertEnumCertificateContextProperties(&old_, 0)).WillRepeatedly(Return(11U));
    EXPECT_CALL(service_, CertFreeCertificateContext(&new_)).Times(2).WillRepeatedly(Return(TRUE));
    EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, 11, nullptr, _))
        .WillOnce(failing(FALSE, 0x80092004));
    EXPECT_THAT(certificate.DetachFromStore(), IsStatus(status::kCryptNotFound));

    EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, 11, _, _)).WillRepeatedly(property("name"));
    EXPECT_CALL(service_, CertSetCertificateContextProperty(&new_, 11, 0, _))
        .WillOnce(failing(FALSE, ERROR_INVALID_PARAMETER));
    EXPECT_THAT(certificate.DetachFromStore(), IsStatus(status::kInvalidArgument));
    EXPECT_EQ(certificate.get(), &old_);
    EXPECT_CALL(service_, CertFreeCertificateContext(&old_)).WillOnce(Return(TRUE));
}

TEST_F(CertContext, KeyProviderInformationIsReadInOneStepWhenItIsSmall) {
    struct Row {
        std::size_t size;
        int numReads;
    };
    for (const Row& row : {Row{0, 1}, Row{512, 1}, Row{513, 2}}) {
        SCOPED_TRACE(row.size);
        CCertContext certificate = CCertContext::adopt(&old_);
        EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, kKeyProvInfo, testing::NotNull(), _))
            .Times(row.numReads)
            .WillRepeatedly(property(std::string(row.size, 'k')));
        ATL::CStringA value;
        EXPECT_THAT(certificate.GetKeyProvInfo(value), IsStatus(status::kOk));
        EXPECT_EQ(std::string(value.GetString(), static_cast<std::size_t>(value.GetLength())),
                  std::string(row.size, 'k'));
        static_cast<void>(certificate.detach());
    }
}

TEST_F(CertContext, ReadingReportsTheServicesErrorAndRejectsImpossibleSizes) {
    CCertContext certificate = CCertContext::adopt(&old_);
    ATL::CStringA value("old");
    EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, kKeyProvInfo, _, _))
        .WillOnce(failing(FALSE, 0x80092004));
    EXPECT_THAT(certificate.GetKeyProvInfo(value), IsStatus(status::kCryptNotFound));
    EXPECT_TRUE(value.IsEmpty());

    const auto sizeSaid = [](DWORD said) {
        return [said](PCCERT_CONTEXT, DWORD, void*, DWORD* size) {
            *size = said;
            return TRUE;
        };
    };
    EXPECT_CALL(service_, CertGetCertificateContextProperty(&old_, 11, _, _))
        .WillOnce(sizeSaid(0x80000000U))
        .WillOnce(sizeSaid(16))
        .WillOnce(sizeSaid(5000));  // more than there was room for
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(testkit::thrownStatus([&] { static_cast<void>(certificate.GetProperty(11, value)); }),
                  status::kInvalidArgument);
    }
    static_cast<void>(certificate.detach());
}

}  // namespace
