#include "foundation/string_proxy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Orvane::CStringProxy;
using Orvane::CWStringProxy;

TEST(StringProxy, IsNeverNullWhateverItWasMadeOf) {
    CStringProxy narrow(nullptr);
    CWStringProxy wide(nullptr);
    EXPECT_STREQ(narrow.c_str(), "");
    EXPECT_STREQ(wide.c_str(), L"");

    CStringProxy source("text");
    const CStringProxy target(std::move(source));
    EXPECT_STREQ(target.c_str(), "text");
    EXPECT_STREQ(source.c_str(), "");  // NOLINT(bugprone-use-after-move): the state after a move is promised
    source = target;
    EXPECT_STREQ(source.c_str(), "text");
}

TEST(StringProxy, CopiesShareNothing) {
    const CStringProxy first("first");
    CStringProxy copy(first);
    copy = CStringProxy("second");
    EXPECT_STREQ(first.c_str(), "first");
    EXPECT_STREQ(copy.c_str(), "second");
    copy = first;
    EXPECT_STREQ(copy.c_str(), "first");
    EXPECT_NE(copy.c_str(), first.c_str());
    const CStringProxy& same = copy;
    copy = same;
    EXPECT_STREQ(copy.c_str(), "first");
}

TEST(StringProxy, KeepsACharacterAboveFFFFAsOneElement) {
    const CWStringProxy text(L"\U0001F512a");
    EXPECT_EQ(std::wstring(text.c_str()).size(), 2U);
    EXPECT_EQ(text.c_str()[0], L'\U0001F512');
}

}  // namespace
