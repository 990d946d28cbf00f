#include "handles/status.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "handles/exception.h"
#include "handles/last_error.h"
#include "platform/support/support_service.h"
#include "tests/support/status_matcher.h"

namespace {

using testkit::IsStatus;
using testkit::thrownStatus;

TEST(LastError, IsConvertedByItsSign) {
    struct Row {
        std::uint32_t lastError;
        std::uint32_t status;
    };
    for (const Row& row : {Row{0, 0}, Row{1, 0x80070001}, Row{87, 0x80070057}, Row{12029, 0x80072EFD},
                           Row{0x12345, 0x80072345}, Row{INT_MAX, 0x8007FFFF}, Row{0x80092004, 0x80092004}}) {
        SCOPED_TRACE(row.lastError);
        const auto expected = static_cast<std::int32_t>(row.status);
        SetLastError(row.lastError);
        EXPECT_THAT(ATL2::convertedLastError(), IsStatus(expected));
        EXPECT_THAT(thrownStatus([] { ATL::AtlThrowLastWin32(); }), IsStatus(expected));
        EXPECT_THAT(ATL2::convertedLastErrorOrFail(), IsStatus(row.lastError == 0 ? status::kFail : expected));
    }
}

TEST(Status, HasATextForKnownNumbersOnly) {
    EXPECT_EQ(status::text(0x12345678), nullptr);
    EXPECT_EQ(status::symbol(0x12345678), nullptr);
    EXPECT_STREQ(ATL::CAtlException(status::kNoSigner).what(), status::text(status::kNoSigner));
    EXPECT_STRNE(ATL::CAtlException(0x12345678).what(), "");
}

}  // namespace
