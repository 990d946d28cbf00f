// Standard streams, output files and signals. Scripts of sh make the redirections.
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/cli/command.h"

namespace {

using namespace testkit;
using StandardInput = CommandTest;
using ResultFile = CommandTest;
using Interruption = CommandTest;

constexpr int kExitNoAnswer = 3;
constexpr int kExitUsage = 64;

// Runs a script in the directory of `tallow`; $T is the command, $1 and so on are the arguments.
ProcessResult shell(const Command& tallow, const std::string& script, const Arguments& arguments = {}) {
    return run(joined(
        {"sh", "-c", "cd '" + tallow.folder().path().string() + "' && T=" + TALLOW_COMMAND + " && " + script, "sh"},
        arguments));
}

TEST_F(StandardInput, IsReadOnce) {
    const std::string check = "$T check --settings settings.toml --url $1 ";
    struct Row {
        std::string script;
        int exitStatus;
    };
    for (const Row& row : {
             Row{check + "--trust root.pem - < leaf.pem", 0},
             Row{check + "--trust - leaf.pem < root.pem", 0},
             Row{check + "--trust root.pem --issuer - leaf.pem < root.pem", 0},
             Row{check + "--trust root.pem --save-response response.der leaf.pem > text", 0},
             Row{"$T verify --settings settings.toml --trust root.pem - < response.der", 0},
             Row{"$T show - < response.der", 0},
             Row{check + "--trust root.pem --save-response - leaf.pem 2> text | $T show -", 0},
             Row{check + "--trust - - < leaf.pem", kExitUsage},
             Row{check + "- - < leaf.pem", kExitUsage},
             Row{check + "--json --save-response - leaf.pem", kExitUsage},
             Row{check + "--save-request - --save-response - leaf.pem", kExitUsage},
             Row{check + "--save-request kept --save-response ./kept leaf.pem", kExitUsage},
             Row{"echo x > '[leaf.pem]'; " + check + "--trust root.pem '[leaf.pem]'", kExitNoAnswer},
         }) {
        const ProcessResult run = shell(tallow, row.script, {responderUrl()});
        EXPECT_EQ(run.exitStatus, row.exitStatus) << row.script << run.err;
    }
}

TEST_F(StandardInput, AndPipesThatStaySilentAreReported) {
    const std::string check = "mkfifo p; $T check --settings settings.toml --trust root.pem --url $1 ";
    for (const char* const end :
         {"p & sleep 2.5; cat leaf.pem >p; wait $!", "--from-file p & sleep 2.5; echo leaf.pem >p; wait $!"}) {
        const ProcessResult run = shell(tallow, "rm -f p; " + check + end, {responderUrl()});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_THAT(run.err, testing::StartsWith("tallow: p: waiting for input\n"));
    }
    const ProcessResult endless = shell(tallow, "$T check --from-file /dev/zero");
    EXPECT_EQ(endless.exitStatus, kExitNoAnswer);
    EXPECT_THAT(endless.err, testing::HasSubstr("is no list: line 1 has more than 64 MiB"));
}

TEST_F(ResultFile, IsReplacedAsAWholeOrWrittenThrough) {
    const std::string write = "$T request --settings settings.toml --no-nonce --issuer root.pem -o ";
    const std::string original = write + "first leaf.pem && ";
    for (const std::string& script : {
             "umask 027; " + original + "test $(stat -c %a first) = 640",
             original + "touch new; chmod 604 new; " + write +
                 "new leaf.pem; test $(stat -c %a new) = 604; cmp first new",
             original + "echo mine > first.part; " + write + "first leaf.pem; test $(cat first.part) = mine",
             original + "ln -sf target link; " + write + "link leaf.pem; test -L link && cmp first target",
             original + "echo -n 12 > all; " + write +
                 "/dev/stdout leaf.pem >> all; (echo -n 12; cat first) | cmp - all",
             original + "echo -n 12 > all; " + write +
                 "/dev/fd/7 leaf.pem 7>> all; (echo -n 12; cat first) | cmp - all",
             original + write + "- leaf.pem | cmp - first",
             original + "mkfifo pipe; cat pipe > read & " + write + "pipe leaf.pem; wait; test -p pipe; cmp read first",
             original + write + "/dev/null leaf.pem; test -c /dev/null",
             "! " + write + "/dev/full leaf.pem 2> text",
             "! " + write + "- leaf.pem > /dev/full 2> text",
             "! " + write + "- leaf.pem >&- 2> text",
             "! " + write + "/dev/fd/9 leaf.pem 2> text",
             "ln -s b a; ln -s a b; ! " + write + "a leaf.pem 2> text; test -L a",
             "echo old > kept; ! " + write + "kept nothing.pem 2> text; test $(cat kept) = old",
         }) {
        const ProcessResult run = shell(tallow, "set -e; " + script + " && test -z \"$(ls -A | grep ^.tallow)\"");
        EXPECT_EQ(run.exitStatus, 0) << script << run.err;
    }
}

TEST_F(ResultFile, NeverReplacesAFileThatTheRunReads) {
    const Arguments prepare{
        "-c", "cd '" + tallow.folder().path().string() +
                  "' && ln leaf.pem hard && ln -s leaf.pem soft && cp root.pem ca.pem &&"
                  " cp leaf.pem leaf.crt && printf 'leaf.crt\\n./soft\\n' >list && mkdir -p s/CA &&"
                  " cp root.pem s/CA/x.pem && echo password >secret && mkfifo pipe &&"
                  " printf '[crypto]\\nuser_stores=\"%s/s\"\\ncache_key_file=\"secret\"\\n' $PWD >in.toml"};
    ASSERT_EQ(run(joined({"sh"}, prepare)).exitStatus, 0);
    const std::string sum = "find . -type f | sort | xargs sha256sum";
    const std::string check = "$T check --trust root.pem --url $1 ";
    for (const std::string& script : {
             check + "--report hard leaf.pem",
             check + "--metrics soft leaf.pem",
             check + "--report x/../ca.pem --issuer ca.pem leaf.pem",
             check + "--save-response list --from-file - <list",
             check + "--report list --from-file - <list",
             check + "--report hard --from-file list",
             check + "--report hard --metrics new --from-file pipe & cat list >pipe; wait $!",
             check + "--report secret --proxy http://127.0.0.1:9 --proxy-user u --proxy-password-file secret leaf.pem",
             check + "--report in.toml --settings in.toml leaf.pem",
             check + "--report secret --settings in.toml leaf.pem",
             check + "--report s/CA/x.pem --settings in.toml leaf.pem",
             std::string("$T request --issuer root.pem --sign leaf.crt --key secret -o secret leaf.pem"),
             std::string("mkdir -p d; ln leaf.pem d/leaf.ocsp; $T staple --url $1 --out d leaf.pem"),
         }) {
        const ProcessResult run =
            shell(tallow,
                  "mkdir -p x; before=$(" + sum + "); status=0; { " + script + "; } || status=$?; rm -rf d;" +
                      " test \"$before\" = \"$(" + sum + ")\" && exit $status",
                  {responderUrl()});
        EXPECT_EQ(run.exitStatus, kExitUsage) << script << run.err;
        EXPECT_EQ(numLines(run.err), 1U) << script << run.err;
    }
}

TEST_F(ResultFile, ThatCannotBeWrittenIsNeverASuccess) {
    const std::string check = "check --settings settings.toml --trust root.pem --url $1 leaf.pem ";
    ASSERT_EQ(shell(tallow, "$T request --settings settings.toml --issuer root.pem -o request.der leaf.pem").exitStatus,
              0);
    for (const std::string& arguments :
         {check, check + "--json", check + "--save-response -", std::string("show request.der"),
          std::string("settings"), std::string("--help"), std::string("check --help"), std::string("--version")}) {
        for (const char* const way : {" > /dev/full", " >&-", " | true"}) {
            // A reader that ends at once: the pipe is closed when the command writes.
            const std::string script =
                "{ sleep 0.05; $T " + arguments + "; echo $? > status; }" + way + "; test $(cat status) -ne 0";
            const ProcessResult run = shell(tallow, script, {responderUrl()});
            EXPECT_EQ(run.exitStatus, 0) << script << run.err;
        }
    }
}

TEST_F(Interruption, EndsAtOnceWithoutTemporaryFiles) {
    const HttpServer slow([](const HttpRequest&) {
        std::this_thread::sleep_for(std::chrono::seconds(3));
        return HttpReply{};
    });
    for (const auto& [signal, exitStatus] : {std::pair("INT", 130), std::pair("TERM", 143)}) {
        const auto begin = std::chrono::steady_clock::now();
        const ProcessResult run = shell(
            tallow,
            std::string("timeout --preserve-status -s ") + signal +
                " 0.5 $T check --jsonl --settings settings.toml --trust root.pem --url $1 --save-response out leaf.pem",
            {slow.url()});
        EXPECT_EQ(run.exitStatus, exitStatus);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
        EXPECT_EQ(run.out, "");
        for (const auto& entry : std::filesystem::directory_iterator(tallow.folder().path())) {
            EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith(".tallow")));
        }
    }
}

}  // namespace
