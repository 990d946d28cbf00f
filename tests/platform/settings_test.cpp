#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/support/settings_table.h"
#include "tests/platform/environment_fixture.h"
#include "tests/support/settings_file.h"

namespace testkit {
namespace {

constexpr int kAbsent = ERROR_FILE_NOT_FOUND;
constexpr int kWrongKind = ERROR_INVALID_DATA;
constexpr int kBroken = ERROR_BAD_FORMAT;

// The bytes of a text value, read in the two steps; "<error N>" on failure. Checks the terminator.
template <typename Read>
std::string readText(Read read, const char* path) {
    size_t size = 0;
    if (const int error = read(path, &size, nullptr); error != 0) {
        return "<error " + std::to_string(error) + ">";
    }
    std::string buffer(size + 1, '#');
    if (const int error = read(path, &size, buffer.data()); error != 0) {
        return "<second error " + std::to_string(error) + ">";
    }
    EXPECT_EQ(buffer.size(), size + 1);
    EXPECT_EQ(buffer.back(), '\0');
    buffer.pop_back();
    return buffer;
}

TEST(Settings, AreReadFromAPipeWhenTheyArrive) {
    const SettingsFile after("");  // in force at the end
    const TempDir folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(pipe) << "a = \"late\"\n"; });  // begins when the pipe is opened
    const int opened = support_settings_open(pipe.c_str());
    writer.join();
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(readText(support_registry_get_string, "\\a"), "late");
    EXPECT_EQ(support_settings_open(folder.path().c_str()), static_cast<int>(ERROR_ACCESS_DENIED));
}

TEST(Settings, ReadsValuesByTableAndKey) {
    const SettingsFile settings(R"(
        plain = "top"
        [config.cades.ocsppolicy]
        NonceLength = 16
        Negative = -1
        DisableNonce = true
        AsNumber = 2
        DefaultOCSPURL = "http://responder.example/\u00e9"
        Empty = ""
        AllowedOCSPs = ["http://a", "", "http://b"]
        NobodyAllowed = []
        One = "http://one"
        [config.Basalt.cache_settings]
        OcspValiditySeconds = 60
    )");
    ASSERT_EQ(settings.result(), 0);
    const std::string policy = "\\config\\cades\\ocsppolicy\\";
    const auto numberAt = [](const std::string& path) {
        long number = 0;
        return support_registry_get_long(path.c_str(), &number) == 0 ? number : 77;
    };
    const auto flagAt = [](const std::string& path) {
        int flag = 77;
        return support_registry_get_bool(path.c_str(), &flag) == 0 ? flag : 77;
    };
    EXPECT_EQ(numberAt(policy + "NonceLength"), 16);
    EXPECT_EQ(numberAt(policy + "Negative"), -1);
    EXPECT_EQ(numberAt("\\config\\Basalt\\cache_settings\\OcspValiditySeconds"), 60);
    EXPECT_EQ(flagAt(policy + "DisableNonce"), 1);
    EXPECT_EQ(flagAt(policy + "AsNumber"), 1);
    auto* const read = support_registry_get_string;
    EXPECT_EQ(readText(read, "\\plain"), "top");
    EXPECT_EQ(readText(read, (policy + "DefaultOCSPURL").c_str()), "http://responder.example/\xC3\xA9");
    EXPECT_EQ(readText(read, (policy + "Empty").c_str()), "");
    auto* const readAll = support_registry_get_multi_string;
    EXPECT_EQ(readText(readAll, (policy + "AllowedOCSPs").c_str()), std::string("http://a\0\0http://b\0", 19));
    EXPECT_EQ(readText(readAll, (policy + "NobodyAllowed").c_str()), "");
    EXPECT_EQ(readText(readAll, (policy + "One").c_str()), std::string("http://one\0", 11));
}

TEST(Settings, ReportsAnAbsentKeyAndLeavesTheOutputUnchanged) {
    const SettingsFile settings("[config.a]\nx = 1\n");
    for (const char* path : {"\\config\\a\\y", "\\config\\b\\x", "\\config\\a\\x\\z", "\\config\\a\\X", "config\\a\\x",
                             "\\", "", "\\config\\\\a\\x", "\\config\\a\\x\\"}) {
        SCOPED_TRACE(path);
        long number = 77;
        int flag = 77;
        size_t size = 77;
        EXPECT_EQ(support_registry_get_long(path, &number), kAbsent);
        EXPECT_EQ(support_registry_get_bool(path, &flag), kAbsent);
        EXPECT_EQ(support_registry_get_string(path, &size, nullptr), kAbsent);
        EXPECT_EQ(support_registry_get_multi_string(path, &size, nullptr), kAbsent);
        EXPECT_EQ(number + flag + static_cast<long>(size), 3 * 77);
    }
}

TEST(Settings, NeverWritesBeyondTheGivenSize) {
    const SettingsFile settings("text = \"12345\"\nlist = [\"12\", \"3\"]\n");
    std::array<char, 8> buffer{};
    buffer.fill('#');
    size_t size = 4;
    EXPECT_EQ(support_registry_get_string("\\text", &size, buffer.data()), static_cast<int>(ERROR_MORE_DATA));
    EXPECT_EQ(support_registry_get_multi_string("\\list", &size, buffer.data()), static_cast<int>(ERROR_MORE_DATA));
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "########");
    size = 5;
    EXPECT_EQ(support_registry_get_string("\\text", &size, buffer.data()), 0);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), std::string("12345\0##", 8));
}

TEST(Settings, ReportsWhereAFileDoesNotParse) {
    struct Row {
        const char* content;
        unsigned int line;
        unsigned int column;
    };
    for (const Row& row : {Row{"a = 1\nb = \n", 2, 5}, Row{"a = 1\na = 2\n", 2, 5},
                           Row{"\n\n[unclosed\nx = 1\n", 3, 10}, Row{"a = 9223372036854775808\n", 1, 24}}) {
        SCOPED_TRACE(row.content);
        const SettingsFile settings(row.content);
        EXPECT_EQ(settings.result(), kBroken);
        SUPPORT_SETTINGS_ERROR error{};
        EXPECT_EQ(support_settings_error(&error), kBroken);
        EXPECT_EQ(error.line, row.line);
        EXPECT_EQ(error.column, row.column) << error.message;
        const std::string place = settings.path() + ":" + std::to_string(row.line) + ":";
        EXPECT_EQ(std::string(error.message).rfind(place, 0), 0U) << error.message;
        EXPECT_EQ(std::string(error.message).find('\n'), std::string::npos);
        long number = 0;
        EXPECT_EQ(support_registry_get_long("\\a", &number), kBroken);
        // A caller treats a failing first step as an absent key and would use a default.
        EXPECT_EQ(readText(support_registry_get_string, "\\a"), "<second error 11>");
        EXPECT_EQ(readText(support_registry_get_multi_string, "\\a"), "<second error 11>");
    }
}

// One line for each key: path, type, line and column.
std::string keysAt(const char* path) {
    std::string all;
    const int result = support_settings_keys(
        path,
        [](void* context, const SUPPORT_SETTINGS_KEY* key) {
            *static_cast<std::string*>(context) += std::string(key->path) + " " + std::to_string(key->type) + " " +
                                                   std::to_string(key->line) + ":" + std::to_string(key->column) + "\n";
        },
        &all);
    return result == 0 ? all : "<error " + std::to_string(result) + ">";
}

TEST(Settings, ReportsWhereTheKeysAre) {
    const SettingsFile settings(
        "z = 1\n"
        "[config.cades]  \n"
        "  b.c = [\"x\",\n \"y\"]\n"
        "a = { t = true, \"c\\\\d\\u0000\" = 'x' }\n"
        "\"\xC3\xA9\" = \"a\\u0000\"\n"
        "[[list]]\nx = 1.5\n");
    EXPECT_EQ(keysAt(nullptr),
              " 1 0:0\n"
              "\\z 4 1:1\n"
              "\\config 1 2:2\n"
              "\\config\\cades 1 2:9\n"
              "\\config\\cades\\b 1 3:3\n"
              "\\config\\cades\\b\\c 3 3:5\n"
              "\\config\\cades\\a 1 5:1\n"
              "\\config\\cades\\a\\t 5 5:7\n"
              "\\config\\cades\\a\\c?d? 2 5:17\n"
              "\\config\\cades\\\xC3\xA9 6 6:1\n"
              "\\list 6 7:3\n");
    EXPECT_EQ(keysAt("\\config\\cades\\b\\c"), "\\config\\cades\\b\\c 3 3:5\n");
    EXPECT_EQ(keysAt("\\config\\cades\\B"), "<error 2>");
    EXPECT_EQ(keysAt(""), "<error 2>");
    EXPECT_EQ(support_settings_keys("\\z", nullptr, nullptr), static_cast<int>(ERROR_INVALID_PARAMETER));
    const SettingsFile broken("[a\n");
    EXPECT_EQ(keysAt(nullptr), " 1 0:0\n");
}

TEST(Settings, ReportsAnUnreadableFile) {
    const TempDir folder;
    EXPECT_EQ(support_settings_open(folder.file("missing.toml").c_str()), kAbsent);
    EXPECT_EQ(support_settings_open(folder.path().c_str()), static_cast<int>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(support_settings_open("/dev/zero"), static_cast<int>(ERROR_ACCESS_DENIED));
    SUPPORT_SETTINGS_ERROR error{};
    EXPECT_EQ(support_settings_error(&error), static_cast<int>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(std::string(error.message).rfind("/dev/zero: ", 0), 0U) << error.message;
    const SettingsFile settings("");
    EXPECT_EQ(support_settings_error(&error), 0);
    EXPECT_STREQ(error.message, "");
}

TEST(Settings, RejectsAFileThatOthersMayWrite) {
    const TempDir folder;
    const std::string file = folder.write("d/settings.toml", "a = 1\n");
    const std::string directory = folder.file("d");
    using Row = std::tuple<std::string, mode_t, bool, bool>;
    for (const auto& [path, mode, ofAnother, counts] :
         {Row(file, 0600, false, true), Row(file, 0620, false, false), Row(file, 0602, false, false),
          Row(file, 0644, true, false), Row(directory, 0777, false, false), Row(directory, 01777, false, true),
          Row(directory, 0755, true, false)}) {
        if (const Changed changed(path, mode, ofAnother); changed.isDone()) {
            EXPECT_EQ(support_settings_open(file.c_str()) == 0, counts) << path << std::oct << mode;
            EXPECT_EQ(readText(support_registry_get_string, "\\b") == "<second error 11>", !counts);
        }
    }
    const SettingsFile restored("");
}

TEST(Settings, RejectsDeepNestingBeforeParsing) {
    using Row = std::pair<std::string, int>;
    const auto repeated = [](std::string_view text, int count) {
        std::string all;
        for (int i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    };
    for (const auto& [content, result] : {
             Row{"[" + repeated("a.", 100000) + "a]\n", kBroken},
             Row{repeated("a.", 100000) + "a = 1\n", kBroken},
             Row{"x = {" + repeated("a.b = {", 50000) + repeated("}", 50001) + "\n", kBroken},
             Row{"x = " + repeated("[", 100000) + repeated("]", 100000) + "\n", kBroken},
             Row{"a.b.c = \"" + repeated("[a.\\\"", 1000) + "\" # " + repeated("{.", 1000) + "\n", 0},
             Row{"a = '''" + repeated("[.\"\n", 1000) + "'''\nb = [1.5" + repeated(", 1.5", 1000) + "]\n", 0},
             Row{repeated("[[d.e]]\nx.y = [\n# [.\n]\n", 1000), 0},
         }) {
        const SettingsFile settings(content);
        EXPECT_EQ(settings.result(), result) << content.substr(0, 40);
    }
}

TEST(Settings, ReadsAgainAfterDescriptorsRanOut) {
    const SettingsFile settings("a = \"x\"\n");
    {
        const NoDescriptors none;
        EXPECT_EQ(support_settings_open(settings.path().c_str()), static_cast<int>(ERROR_ACCESS_DENIED));
    }
    // One read reports the failure first, so that no policy is partly made of defaults.
    EXPECT_EQ(readText(support_registry_get_string, "\\a"), "<second error 11>");
    EXPECT_EQ(readText(support_registry_get_string, "\\a"), "x");
}

TEST(Settings, ReportsAValueOfTheWrongKind) {
    const char* const content =
        "list = [\"a\", 1]\ntext = 5\nnumber = \"five\"\nflag = \"yes\"\nzero = \"a\\u0000b\"\n";
    size_t size = 0;
    long number = 0;
    int flag = 0;
    using Row =
        std::tuple<const char*, std::function<int()>, int>;  // the result 0 of a size query: the next step fails
    unsigned int line = 0;
    for (const auto& [key, read, result] :
         {Row{"list", [&] { return support_registry_get_multi_string("\\list", &size, nullptr); }, 0},
          Row{"text", [&] { return support_registry_get_string("\\text", &size, nullptr); }, 0},
          Row{"number", [&] { return support_registry_get_long("\\number", &number); }, kWrongKind},
          Row{"flag", [&] { return support_registry_get_bool("\\flag", &flag); }, kWrongKind},
          Row{"zero", [&] { return support_registry_get_string("\\zero", &size, nullptr); }, 0}}) {
        SCOPED_TRACE(key);
        const SettingsFile settings(content);
        ASSERT_EQ(settings.result(), 0);
        EXPECT_EQ(read(), result);
        SUPPORT_SETTINGS_ERROR error{};
        EXPECT_EQ(support_settings_error(&error), kWrongKind);
        EXPECT_EQ(error.line, ++line);
        EXPECT_NE(std::string(error.message).find(key), std::string::npos) << error.message;
        // From now on no caller uses defaults.
        EXPECT_EQ(readText(support_registry_get_string, "\\anything"), "<second error 11>");
    }
}

// A limit that is out of range or unreadable keeps its default, so that no value can switch it off.
TEST(SettingsTable, AppliesDefaultsAndBounds) {
    namespace platform = tallow::platform;
    const std::pair<const char*, std::array<long, 3>> rows[] = {
        {"", {3, 5000, 0}},
        {"max_redirects = 0\nconnect_timeout_ms = 600000\nmax_crl_age = 7", {0, 600000, 7}},
        {"max_redirects = -1\nconnect_timeout_ms = 600001\nmax_crl_age = 0", {3, 5000, 0}},
        {"max_redirects = 'x'\nconnect_timeout_ms = 7", {3, 5000, 0}},
    };
    for (const auto& [content, expected] : rows) {
        const SettingsFile settings("[crypto]\n" + std::string(content));
        EXPECT_EQ(platform::numberOf(platform::setting::max_redirects), expected[0]) << content;
        EXPECT_EQ(platform::numberOf(platform::setting::connect_timeout_ms), expected[1]) << content;
        EXPECT_EQ(platform::numberOf(platform::setting::max_crl_age), expected[2]) << content;
    }
    for (const auto& [content, isOn] : {std::pair("", true), std::pair("system_roots = false", false)}) {
        const SettingsFile settings("[crypto]\n" + std::string(content));
        EXPECT_EQ(platform::flagOf(platform::setting::system_roots, false), isOn);
    }
    const SettingsFile broken("[crypto]\nsystem_roots = 'no'\n");
    EXPECT_FALSE(platform::flagOf(platform::setting::system_roots, false));
    EXPECT_TRUE(platform::flagOf(platform::setting::refuse_private_addresses, true));
    EXPECT_EQ(platform::textOf(platform::setting::machine_stores), "");
}

TEST(SettingsTable, ReadsATextWhileFilesWithLongerOnesAreOpened) {
    const std::string texts[] = {"/a", "/a/longer/one"};
    const TempDir dir;
    std::string files[2];
    for (std::size_t i = 0; i < 2; ++i) {
        files[i] = dir.write(std::to_string(i), "[crypto]\nuser_stores = '" + texts[i] + "'\n");
    }
    const SettingsFile first("[crypto]\nuser_stores = '/a'\n");
    std::atomic<bool> isDone = false;
    std::thread opener([&] {
        for (std::size_t i = 0; i < 4000; ++i) {
            static_cast<void>(support_settings_open(files[i % 2].c_str()));
        }
        isDone = true;
    });
    while (!isDone) {
        const tallow::platform::TextValue value = tallow::platform::textValueOf(tallow::platform::setting::user_stores);
        EXPECT_EQ(value.source, tallow::platform::TextValue::Source::kFile);
        EXPECT_TRUE(value.text == texts[0] || value.text == texts[1]) << value.text;
    }
    opener.join();
}

}  // namespace
}  // namespace testkit
