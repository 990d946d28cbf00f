#include "foundation/trace.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/scripted_service/scripted_service.h"

namespace {

using testing::Return;
using testkit::Script;

TSupportDbContext_* fakeContext(std::uintptr_t number) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is only ever compared
    return reinterpret_cast<TSupportDbContext_*>(number);
}

// The library's own context, set for one test.
class ContextInForce {
public:
    explicit ContextInForce(TSupportDbContext_* context) { ocsp_db_ctx = context; }
    ~ContextInForce() { ocsp_db_ctx = nullptr; }
};

TEST(Trace, ComputesArgumentsOnlyForLinesThatAreWritten) {
    int computed = 0;
    const auto point = [&] { TALLOW_TRACE("Point", "computed %d\n", ++computed); };

    Script service;
    point();  // no context, no call
    EXPECT_EQ(computed, 0);

    const ContextInForce context(fakeContext(1));
    EXPECT_CALL(service, support_print_is(fakeContext(1), 8)).WillOnce(Return(0)).WillOnce(Return(1));
    EXPECT_CALL(service, trace("Point", "computed 1\n"));
    point();
    point();
    EXPECT_EQ(computed, 1);
}

TEST(Trace, InitializerClosesWhatWasOpenAndClearsAtTheEnd) {
    TSupportDbContext_* context = nullptr;
    Script service;
    const testing::InSequence order;
    EXPECT_CALL(service, support_print_done(nullptr));
    EXPECT_CALL(service, support_print_init(0, testing::StrEq("first"), 0, 127)).WillOnce(Return(fakeContext(1)));
    EXPECT_CALL(service, support_print_done(fakeContext(1)));
    EXPECT_CALL(service, support_print_init(0, testing::StrEq("second"), 1, 2)).WillOnce([&] {
        EXPECT_EQ(context, nullptr);
        return fakeContext(2);
    });
    EXPECT_CALL(service, support_print_done(fakeContext(2)));
    EXPECT_CALL(service, support_print_done(nullptr));
    {
        const Orvane::DbTraceInitializer first("first", context, 0, 127);
        EXPECT_EQ(context, fakeContext(1));
        {
            const Orvane::DbTraceInitializer second("second", context, 1, 2);
            EXPECT_EQ(context, fakeContext(2));
        }
        EXPECT_EQ(context, nullptr);
    }
}

}  // namespace
