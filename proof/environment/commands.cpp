#include "proof/environment/commands.h"

namespace proof {

std::vector<Command> makeCommands(const Scene& scene) {
    using Arguments = std::vector<std::string>;
    using M = const Machine&;
    const auto file = [&scene](const char* name) { return scene.files().file(name); };
    // With the trust of files; `more` follows.
    const auto trusting = [file](const char* command, M machine, const Arguments& more) {
        Arguments all = {command, "--settings",     machine.settings, "--trust",     file("root.pem"),
                         "--crl", file("root.crl"), "--crl",          file("ca.crl")};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    };
    const auto checking = [&scene, file, trusting](M machine, const char* subject, const Arguments& more) {
        Arguments all = {"--url", scene.responderUrl(), "--issuer", file("ca.pem"), file(subject)};
        all.insert(all.end(), more.begin(), more.end());
        return trusting("check", machine, all);
    };
    const auto loading = [&scene](M) { return Arguments{TALLOW_LIBRARY, scene.files().path().string()}; };
    return {
        {"check, good", [=](M m) { return checking(m, "good.pem", {}); }},
        {"check, revoked", [=](M m) { return checking(m, "revoked.pem", {"--json"}); }},
        {"check, unknown", [=](M m) { return checking(m, "unknown.pem", {"-v"}); }},
        {"check, files",
         [=](M m) {
             return checking(m, "good.pem", {"--save-response", m.folder.file("out")});
         },
         {3, 64},
         false,
         "out",
         true},
        {"check, downloads",
         [=](M m) {
             return Arguments{"check", "--settings", m.settings, "--verify-chain", file("online.pem")};
         }},
        {"check, server",
         [=, &scene](M m) {
             return trusting(
                 "check", m,
                 {"--url", scene.responderUrl(), "--issuer", file("ca.pem"), "--connect", scene.tlsAddress()});
         }},
        {"request",
         [=](M m) {
             return Arguments{"request",      "--settings", m.settings,           "--issuer",
                              file("ca.pem"), "-o",         m.folder.file("out"), file("good.pem")};
         },
         {3, 64},
         false,
         "out"},
        {"request, signed",
         [=](M m) {
             return Arguments{"request",
                              "--settings",
                              m.settings,
                              "--issuer",
                              file("ca.pem"),
                              "--sign",
                              file("requestor.pem"),
                              "--key",
                              file("requestor.key"),
                              "--include",
                              "chain",
                              "-o",
                              m.folder.file("out"),
                              file("good.pem")};
         },
         {3, 64},
         false,
         "out"},
        {"send",
         [=, &scene](M m) {
             return Arguments{"send", "--settings",         m.settings,         "--url", scene.responderUrl(),
                              "-o",   m.folder.file("out"), file("request.der")};
         },
         {3, 64},
         false,
         "out",
         true},
        {"verify, good",
         [=](M m) {
             return trusting("verify", m,
                             {"--issuer", file("ca.pem"), "--cert", file("good.pem"), file("response.der")});
         },
         {3, 64},
         true},
        {"verify, revoked",
         [=](M m) {
             return trusting("verify", m, {"--issuer", file("ca.pem"), "--json", file("revoked.der")});
         },
         {3, 64},
         true},
        {"verify, stores",
         [=](M m) {
             return Arguments{"verify", "--settings", m.settings, "--cert", file("good.pem"), file("response.der")};
         },
         {3, 64},
         true},
        {"verify-request",
         [=](M m) {
             return trusting("verify-request", m, {"--certs", file("ca.pem"), file("signed.der")});
         },
         {1, 3, 64},
         true},
        // Prints in hexadecimal what it cannot read.
        {"show",
         [=](M) {
             return Arguments{"show", file("response.der")};
         },
         {3, 64}},
        {"store list",
         [=](M m) {
             return Arguments{"store", "list", "CA", "--settings", m.settings};
         },
         {3, 64},
         true},
        {"store add",
         [=](M m) { return Arguments{"store", "add", "--settings", m.settings, "CA", file("good.pem")}; },
         {3, 64}},
        {"store remove",
         [=](M m) { return Arguments{"store", "remove", "--settings", m.settings, "CA", file("ca.pem")}; },
         {3, 64}},
        {"settings",
         [=](M m) {
             return Arguments{"settings", "--settings", m.settings};
         },
         {3, 64}},
        {"settings --check",
         [=](M m) {
             return Arguments{"settings", "--check", m.settings};
         },
         {3, 64}},
        {"explain",
         [=](M) {
             return Arguments{"explain", "0x80093101"};
         },
         {3, 64},
         true},
        {"help",
         [=](M) {
             return Arguments{"check", "--help"};
         },
         {3, 64},
         true},
        // 127 is from the dynamic linker.
        {"with dlopen", loading, {3, 127}, false, "", false, LOAD_LIBRARY_PROGRAM},
        {"before main", loading, {3, 127}, false, "", false, START_LINKED_PROGRAM},
    };
}

}  // namespace proof
