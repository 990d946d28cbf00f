#include "client/policy/policy_values.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "client/policy/policy_settings.h"
#include "tests/client/policy/policy_file.h"
#include "tests/support/status_matcher.h"

namespace {

using namespace Orvane::PKI::OCSP::Client;
using namespace testkit;
using Orvane::PKI::CGPBool;
using Orvane::PKI::CGPLong;
using Orvane::PKI::CGPString;
using Orvane::PKI::CGPStrings;

template <class Value, class... Rest>
Value loaded(const wchar_t* name, Rest... rest) {
    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    Value value;
    value.Load(reserved, section, name, rest...);
    return value;
}

CGPStrings loadedList(const wchar_t* name, bool normalize) {
    return loaded<CGPStrings>(name, L"ListSetted", normalize);
}

TEST(PolicyValues, AreTheDefaultsWithoutAKeyAndAreReadOnceWithOne) {
    PolicyFile settings(
        "Number = -9000000000\nSwitch = false\nOne = 1\nText = 'p\xc3\xafn \xf0\x9f\x94\x92'\nListSetted = true\n");
    EXPECT_EQ(loaded<CGPLong>(L"Absent", -7L), -7L);
    EXPECT_TRUE(loaded<CGPBool>(L"Absent", true));
    EXPECT_TRUE(loaded<CGPString>(L"Absent").empty());
    EXPECT_FALSE(loadedList(L"List", true).setted());  // the partner key has no effect
    EXPECT_FALSE(loaded<CGPBool>(L"Switch", true));
    EXPECT_TRUE(loaded<CGPBool>(L"One", false));
    EXPECT_STREQ(loaded<CGPString>(L"Text").c_str(), L"p\u00efn \U0001F512");
    const auto number = loaded<CGPLong>(L"Number", 1L);
    settings.write("Number = 1\nText = 'first'\nList = ['first']\n");
    EXPECT_EQ(number, -9'000'000'000L);

    wchar_t sectionText[] = L"ocsppolicy";
    wchar_t* section = sectionText;
    wchar_t* reserved = nullptr;
    auto text = loaded<CGPString>(L"Text");
    CGPStrings list = loadedList(L"List", false);
    text.Load(reserved, section, L"Absent");
    list.Load(reserved, section, L"Absent", L"", false);
    EXPECT_STREQ(text.c_str(), L"first");
    EXPECT_TRUE(list.values().empty());
    EXPECT_FALSE(list.setted());
}

TEST(PolicyValues, ListsAreSetsOfWholeTexts) {
    struct Row {
        const char* list;
        bool normalize;
        CGPStrings::Set expected;
    };
    const Row rows[] = {
        {"[]", false, {}},
        {"['ab cd']", true, {L"ABCD"}},
        {"['ab cd']", false, {L"ab cd"}},
        {"['', 'a']", false, {L"", L"a"}},
        {"'single'", false, {L"single"}},
        {"['p\xc3\xafn', '\xf0\x9f\x94\x92']", false, {L"p\u00efn", L"\U0001F512"}},  // no empty text beside them
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list);
        const PolicyFile settings(std::string("List = ") + row.list + "\n");
        const CGPStrings list = loadedList(L"List", row.normalize);
        EXPECT_TRUE(list.setted());
        EXPECT_EQ(list.values(), row.expected);
        for (const std::wstring& element : row.expected) {
            EXPECT_TRUE(list.Find(element.c_str()));
        }
        EXPECT_FALSE(list.Find(L"Single"));
    }
}

TEST(PolicyValues, PathsOfAHundredOctetsAndMoreAreRefused) {
    const PolicyFile settings;
    const std::size_t sizeFront = std::string("\\config\\cades\\ocsppolicy\\").size();
    const std::wstring fitting(99 - sizeFront, L'n');
    EXPECT_EQ(loaded<CGPLong>(fitting.c_str(), 3L), 3L);
    const std::wstring longer(100 - sizeFront, L'n');
    const std::wstring accented(50, L'\u00e9');  // fewer characters, but two octets each
    for (const std::wstring& name : {longer, accented}) {
        // The bare last error, not converted.
        constexpr auto kTooLong = static_cast<std::int32_t>(ERROR_INSUFFICIENT_BUFFER);
        EXPECT_EQ(thrownStatus([&] { loaded<CGPLong>(name.c_str(), 3L); }), kTooLong);
        EXPECT_EQ(thrownStatus([&] { loaded<CGPBool>(name.c_str(), true); }), kTooLong);
        EXPECT_EQ(thrownStatus([&] { loaded<CGPString>(name.c_str()); }), kTooLong);
        EXPECT_EQ(thrownStatus([&] { loadedList(name.c_str(), true); }), kTooLong);
    }
}

TEST(PolicyValues, TextsThatCannotBeReadThrowTheStoresResult) {
    PolicyFile settings;
    settings.breakFile();
    constexpr auto kBroken = static_cast<std::int32_t>(ERROR_BAD_FORMAT);
    EXPECT_EQ(thrownStatus([] { loaded<CGPString>(L"Text"); }), kBroken);
    EXPECT_EQ(thrownStatus([] { loadedList(L"List", false); }), kBroken);
    EXPECT_EQ(loaded<CGPLong>(L"Number", 5L), 5L);
}

TEST(PolicySettings, NumbersOutOfRangeCountAsAbsent) {
    PolicyFile file("CertsToInclude = 3\nNonceLength = 65535\n");
    EXPECT_EQ(readNumber(settings::CertsToInclude), 3);
    EXPECT_EQ(readNumber(settings::NonceLength), 65535);
    EXPECT_EQ(readNumber(settings::ResponseAccuracy), 180000) << "absent";
    file.write("CertsToInclude = -2\nNonceLength = 65536\n");
    EXPECT_EQ(readNumber(settings::CertsToInclude), -1);
    EXPECT_EQ(readNumber(settings::NonceLength), 8);
    EXPECT_EQ(readNumber(settings::OcspValiditySeconds), std::nullopt);
}

}  // namespace
