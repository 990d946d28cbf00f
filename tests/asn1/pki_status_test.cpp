#include <gmock/gmock.h>

#include "asn1/pki_free_text.h"
#include "handles/status.h"
#include "tests/asn1/blobs.h"
#include "tests/support/status_matcher.h"
#include "tests/support/tlv.h"

namespace {

using Orvane::CBlob;
using namespace Orvane::ASN1;
using namespace testkit;

/// The texts with their languages, one a line.
std::string show(const CPKIFreeText& text) {
    std::string result;
    for (const CPKIFreeTextString& entry : text) {
        result += std::string(entry.get_language().c_str()) + "=";
        for (const wchar_t* c = entry.get_value(); *c != L'\0'; ++c) {
            result += *c < 0x80 ? static_cast<char>(*c) : '?';
        }
        result += ' ';
    }
    return result;
}

TEST(LanguageTag, IsLowerCase) {
    EXPECT_TRUE(CLanguageTag("RU-RU") == CLanguageTagRuRu());
    EXPECT_TRUE(CLanguageTag(L"En-uS") == CLanguageTagEnUs());
    EXPECT_FALSE(CLanguageTag("en") == CLanguageTagEnUs());
    EXPECT_STREQ(CLanguageTag("\xC0[Z").c_str(), "\xC0[z") << "nothing but A to Z";
    EXPECT_STREQ(CLanguageTag(static_cast<const char*>(nullptr)).c_str(), "");
}

TEST(FreeText, KeepsOneTextForEachLanguageAndAnyNumberWithoutOne) {
    CPKIFreeText text;
    EXPECT_EQ(text.find(CLanguageTagDefaultRead()), text.end());
    text.insert({"a", CLanguageTagEnUs()});
    text.insert({"b", CLanguageTagDefaultRead()});
    text.insert({"c", CLanguageTag("RU-ru")});
    text.insert({"d", CLanguageTagRuRu()});
    text.insert({"e", CLanguageTagDefaultRead()});
    EXPECT_EQ(show(text), "en-us=a *=b ru-ru=d *=e ");
    EXPECT_STREQ(text.find(CLanguageTagDefaultRead())->get_value(), L"a") << "the first, whatever its language";
    EXPECT_STREQ(text.find(CLanguageTagRuRu())->get_value(), L"d");
    EXPECT_EQ(text.find(CLanguageTag("de")), text.end());

    text.emplace_back(L"f", CLanguageTagEnUs());  // as a decoded list may hold it
    text.insert({"g", CLanguageTagEnUs()});
    EXPECT_EQ(show(text), "en-us=g *=b ru-ru=d *=e en-us=f ");
    text.remove(text.front().get_language());  // a tag that goes with its entry
    EXPECT_EQ(show(text), "*=b ru-ru=d *=e ");
    text.remove(CLanguageTagDefaultRead());
    EXPECT_TRUE(text.empty());
}

TEST(FreeText, StandsForItsFirstEntry) {
    CPKIFreeText text(L"a", CLanguageTagRuRu());
    text.insert({"b", CLanguageTagEnUs()});
    const CPKIFreeTextString first = text;
    EXPECT_STREQ(first.get_value(), L"a");
    static_cast<CPKIFreeTextString&>(text).set_value(L"c");
    EXPECT_STREQ(text.front().get_value(), L"c");

    CPKIFreeText empty;
    const auto byReference = [&] { static_cast<void>(static_cast<CPKIFreeTextString&>(empty)); };
    const auto byValue = [&] { const CPKIFreeTextString copy = static_cast<const CPKIFreeText&>(empty); };
#ifdef NDEBUG
    EXPECT_THAT(thrownStatus(byReference), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus(byValue), IsStatus(status::kInvalidArgument));
#else
    EXPECT_DEATH(byReference(), "empty");
    EXPECT_DEATH(byValue(), "empty");
#endif
}

}  // namespace
