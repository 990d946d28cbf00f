// `store` on temporary directories: the library trusts what is added, until it is removed.
#include <sys/stat.h>

#include <filesystem>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using testing::AllOf;
using testing::HasSubstr;
using Store = CommandTest;

int checkGood(const Command& tallow, const std::string& url) {
    return tallow.checkUntrusting({"--url", url, tallow.file("good.pem", certs().good)}).exitStatus;
}

std::string thumbprint(const Identity& identity) {
    return toUpperHex(digest(kSha1Oid, identity.certificate));
}

TEST_F(Store, IsUsedByTheLibraryUntilAnItemIsRemoved) {
    const Responder responder(responderOptions(certs().markless));
    const std::string crl = tallow.file("root.crl", makeCrl(certs().root, {}));
    EXPECT_EQ(checkGood(tallow, responder.url()), 3);
    for (const auto& [store, file] : {std::pair("ROOT", root), std::pair("CA", crl), std::pair("CA", crl)}) {
        const ProcessResult run = tallow.with({"store", "add", store, file});
        EXPECT_EQ(run.exitStatus, 0) << run.err;
    }
    EXPECT_EQ(checkGood(tallow, responder.url()), 0);  // both are needed: this responder is without no-check
    EXPECT_THAT(tallow.with({"store", "list", "ROOT"}).out,
                AllOf(HasSubstr(thumbprint(certs().root)), HasSubstr("CN=command root")));
    const std::string listed = tallow.with({"store", "list", "CA"}).out;
    EXPECT_THAT(listed, HasSubstr("CRL of CN=command root"));
    EXPECT_EQ(numLines(listed), 2U) << "added twice, stored once";
    EXPECT_EQ(tallow.with({"store", "remove", "ROOT", thumbprint(certs().root)}).exitStatus, 0);
    EXPECT_EQ(checkGood(tallow, responder.url()), 3);
    EXPECT_EQ(tallow.with({"store", "remove", "CA", crl}).exitStatus, 0);
    EXPECT_EQ(tallow.with({"store", "list", "CA"}).out, "");
}

TEST_F(Store, IsInTheDirectoryOfTheUserOrTheMachine) {
    const std::string name = thumbprint(certs().root) + ".der";
    ASSERT_EQ(tallow.with({"store", "add", "ROOT", root, "--machine"}).exitStatus, 0);
    EXPECT_EQ(readFile(tallow.folder().file("machine/ROOT/" + name)), certs().root.certificate);
    EXPECT_EQ(tallow.with({"store", "list", "ROOT"}).out, "");
    EXPECT_THAT(tallow.with({"store", "list", "ROOT", "--machine"}).out, HasSubstr(name));
    const std::string empty = tallow.file("empty.toml", std::string());
    const std::vector<std::string> add = {TALLOW_COMMAND, "store", "add", "CA", root, "--settings", empty};
    ASSERT_EQ(testkit::run(add, 30000, {"XDG_DATA_HOME=" + tallow.folder().file("data")}).exitStatus, 0);
    EXPECT_TRUE(std::filesystem::exists(tallow.folder().file("data/tallow/stores/CA/" + name)));
}

// A root that others can write is not trusted, and `check` reports that as a possible cause.
TEST_F(Store, IsIgnoredWhereOthersCanWrite) {
    const Responder responder(responderOptions(certs().markless));
    tallow.with({"store", "add", "CA", tallow.file("root.crl", makeCrl(certs().root, {}))});
    const mode_t before = ::umask(0);
    tallow.with({"store", "add", "ROOT", root});
    ::umask(before);
    EXPECT_EQ(checkGood(tallow, responder.url()), 0) << "independent of the umask";
    const std::string roots = tallow.folder().file("user/ROOT");
    ASSERT_EQ(::chmod(roots.c_str(), 0777), 0);
    const ProcessResult check =
        tallow.checkUntrusting({"--url", responder.url(), tallow.file("good.pem", certs().good)});
    EXPECT_EQ(check.exitStatus, 3);
    EXPECT_THAT(check.err, HasSubstr(roots + ": can be written by others"));
    const ProcessResult list = tallow.with({"store", "list", "ROOT"});
    EXPECT_EQ(list.out, "");
    EXPECT_EQ(numLines(list.err), 1U) << list.err;
    const std::string other = tallow.file("other.pem", rootCa("another root"));
    expectMistake(tallow.with({"store", "add", "ROOT", other}), "nothing was added");
    for (const auto& [content, words] :
         {std::pair("user_stores = \"stores\"", "stores/ROOT"), std::pair("user_stores = 5", "own.toml:")}) {
        const std::string own = tallow.file("own.toml", std::string("[crypto]\n") + content + '\n');
        expectMistake(Command::plain({"store", "add", "ROOT", other, "--settings", own}), words);
    }
    EXPECT_FALSE(std::filesystem::exists("stores"));
}

// Files with several certificates are kept whole, and unusable files are reported.
TEST_F(Store, ListsOtherFilesAndKeepsMixedOnes) {
    tallow.file("user/CA/bundle.pem", certs().good.certificatePem() + certs().root.certificatePem());
    tallow.file("user/CA/notes.txt", std::string("no certificate"));
    tallow.file("user/CA/bundle.toml", std::string("ocsp = []"));
    tallow.file("user/CA/.hidden", certs().root.certificate);
    const ProcessResult list = tallow.with({"store", "list", "CA"});
    EXPECT_EQ(list.exitStatus, 0);
    EXPECT_EQ(numLines(list.out), 4U) << list.out;
    EXPECT_THAT(list.err, AllOf(HasSubstr("notes.txt"), testing::Not(HasSubstr("toml"))));
    expectMistake(tallow.with({"store", "remove", "CA", root}), "bundle.pem");
    EXPECT_EQ(tallow.with({"store", "remove", "CA", tallow.folder().file("user/CA/bundle.pem")}).exitStatus, 0);
    EXPECT_FALSE(std::filesystem::exists(tallow.folder().file("user/CA/bundle.pem")));
}

TEST_F(Store, ReportsUnusableInputInOneLine) {
    const std::string key = tallow.file("key.pem", certs().good.key.pem());
    tallow.file("user/file", std::string("in the way"));
    for (const Mistake& row : {
             Mistake{{"store", "list", "../ROOT"}, "not the name of a store"},
             Mistake{{"store", "list", ".ROOT"}, "not the name of a store"},
             Mistake{{"store", "list", ""}, "empty"},
             Mistake{{"store", "list", "file"}, "cannot be read"},
             Mistake{{"store", "add", "ROOT", leaf}, "is not a root"},
             Mistake{{"store", "add", "CA", key}, "no certificate and no CRL"},
             Mistake{{"store", "add", "CA", "missing.pem"}, "No such file"},
             Mistake{{"store", "add", "file", leaf}, "nothing was added"},
             Mistake{{"store", "remove", "CA", leaf}, "is not in the store"},
             Mistake{{"store", "add", "CA"}, "FILE"},
             Mistake{{"store", "--machine"}, "options follow the command"},
             Mistake{{"store", "add", "Rot", root}, "did you mean ROOT?"},
             Mistake{{"store", "list", "new"}, "make the directory"},
         }) {
        expectMistake(tallow.with(row.arguments), row.words);
    }
}

}  // namespace
