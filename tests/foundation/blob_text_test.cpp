#include <gtest/gtest.h>

#include <string>

#include "foundation/blob.h"
#include "tests/support/bytes.h"
#include "tests/support/status_matcher.h"
#include "tests/support/temp_dir.h"

namespace {

using Orvane::CBlob;
using testkit::IsStatus;
using testkit::thrownStatus;

CBlob blobOf(const testkit::Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

TEST(BlobText, WritesHexadecimalInGroups) {
    const CBlob blob = blobOf({0x01, 0x02, 0x03, 0xAB, 0x05});
    EXPECT_STREQ(blob.writeToHexString(0).c_str(), "010203AB05");
    EXPECT_STREQ(blob.writeToHexString(2).c_str(), "0102 03AB 05");
    EXPECT_STREQ(CBlob().writeToHexString(2).c_str(), "");
}

TEST(BlobText, ReadsFilesAsTheyWereWritten) {
    const testkit::TempDir folder;
    const CBlob content = blobOf({0x00, 0x0D, 0x0A, 0x1A, 0xFF});
    const std::string narrow = folder.file("content.der");
    const std::wstring wide(narrow.begin(), narrow.end());
    content.writeToFile((wide + L"\u00e9").c_str());
    CBlob read;
    read.readFromFile((narrow + "\xc3\xa9").c_str());
    EXPECT_EQ(read, content);

    blobOf({1}).writeToFile(narrow.c_str());
    CBlob().writeToFile(narrow.c_str());  // truncates what was there
    read.readFromFile(wide.c_str());
    EXPECT_EQ(read.cbData(), 0U);
    EXPECT_EQ(read.pbData(), nullptr);
}

TEST(BlobText, FailedReadsEmptyTheBlob) {
    const testkit::TempDir folder;
    for (const auto& [path, expected] :
         {std::pair{folder.file("absent"), status::kFileNotFound}, std::pair{folder.file(""), status::kFileCorrupt}}) {
        CBlob blob = blobOf({1, 2});
        EXPECT_THAT(thrownStatus([&, &file = path] { blob.readFromFile(file.c_str()); }), IsStatus(expected)) << path;
        EXPECT_EQ(blob.cbData(), 0U);
    }
    const CBlob blob = blobOf({1});
    EXPECT_THAT(thrownStatus([&] { blob.writeToFile(folder.file("absent/file").c_str()); }),
                IsStatus(status::kFileNotFound));
    EXPECT_THAT(thrownStatus([&] { blob.writeToFile("/dev/full"); }), IsStatus(status::kOk));
}

}  // namespace
