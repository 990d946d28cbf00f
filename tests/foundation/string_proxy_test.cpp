#include "foundation/string_proxy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Orvane::CStringProxy;
using Orvane::CWStringProxy;

TEST(StringProxy, IsNeverNullAndAlwaysItsOwn) {
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
    EXPECT_NE(source.c_str(), target.c_str()) << "copies share nothing";
    EXPECT_STREQ(CStringProxy(target).c_str(), "text");
    const CStringProxy& same = source;
    source = same;
    EXPECT_STREQ(source.c_str(), "text");
}

TEST(StringProxy, KeepsACharacterAboveFFFFAsOneElement) {
    EXPECT_EQ(std::wstring(CWStringProxy(L"\U0001F512a").c_str()), L"\U0001F512a");
}

}  // namespace
