// Drivers for files: of the command, of keys, of stores, and of settings.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/settings_file.h"
#include "tests/support/system_stores.h"

namespace proof {

using namespace testkit;

namespace {

constexpr std::size_t kMiB = 1 << 20;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// `text`, preceded by lines that mean nothing, with this size.
std::string padded(const std::string& text, std::size_t size, char comment = '#') {
    std::string all(size - text.size(), comment);
    for (std::size_t i = 79; i < all.size(); i += 80) {
        all[i] = '\n';
        if (i + 1 < all.size()) {
            all[i + 1] = comment;
        }
    }
    all.back() = '\n';
    return all + text;
}

// ---- Files of the command -------------------------------------------------------------------------------------------

void reads64MiB(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    const SmallPki pki;
    const auto show = [&](const std::vector<std::string>& arguments) {
        const ProcessResult result = command(probe.command, machine, arguments, 55000);
        return result.out + result.err;
    };
    // The certificate is at the end.
    for (const std::size_t size : {64 * kMiB, 64 * kMiB + 1}) {
        const std::string file = machine.folder().write("certs.pem", padded(pki.leaf.certificatePem(), size, ' '));
        const std::string text = show({"check", file, "--url", "http://127.0.0.1:1/"});
        probe.expect(contains(text, "is too large") == (size > 64 * kMiB), "64 MiB are read, one octet more is not");
    }
    for (const std::size_t size : {4 * kMiB, 4 * kMiB + 1}) {
        const std::string file = machine.folder().write("response.der", Bytes(size, 0x30));
        const ProcessResult result = run({probe.command, "show", file});
        probe.expect(contains(result.err, "is too large") == (size > 4 * kMiB),
                     "4 MiB are shown, one octet more is not");
    }
    machine.folder().write("certs.pem", "");
}

void reads1024OctetsOfPassword(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    const SmallPki pki;
    const std::string leaf = machine.folder().write("leaf.pem", pki.leaf.certificatePem());
    const std::string issuer = machine.folder().write("ca.pem", pki.ca.certificatePem());
    for (const std::size_t size : {1024, 1025}) {
        const std::string password =
            machine.folder().write("password", std::string(size, 'p') + "\n" + std::string(5000, 'x'));
        const ProcessResult result =
            command(probe.command, machine,
                    {"check", leaf, "--issuer", issuer, "--url", "http://127.0.0.1:1/", "--proxy", "http://127.0.0.1:1",
                     "--proxy-user", "user", "--proxy-password-file", password});
        probe.expect((result.exitStatus == 64) == (size > 1024),
                     "a password of 1024 octets is used, one of 1025 is not: " + result.err);
    }
}

// ---- Private keys ---------------------------------------------------------------------------------------------------

using ContextPtr = std::unique_ptr<const CERT_CONTEXT, FreeWith<CertFreeCertificateContext>>;

// Whether the service opens the key in the file, with this PIN.
bool opensKey(const Identity& owner, const std::string& path, const char* pin = nullptr) {
    const ContextPtr certificate(CertCreateCertificateContext(X509_ASN_ENCODING, owner.certificate.data(),
                                                              static_cast<DWORD>(owner.certificate.size())));
    HCRYPTPROV provider = 0;
    BOOL isOwned = FALSE;
    const bool isOpen = crypto_set_key_uri(certificate.get(), path.c_str()) != FALSE &&
                        CryptAcquireCertificatePrivateKey(certificate.get(), CRYPT_ACQUIRE_USE_PROV_INFO_FLAG, nullptr,
                                                          &provider, nullptr, &isOwned) != FALSE;
    const bool isUnlocked = isOpen && (pin == nullptr || CryptSetProvParam(provider, PP_SIGNATURE_PIN,
                                                                           reinterpret_cast<const BYTE*>(pin), 0));
    if (isOpen) {
        CryptReleaseContext(provider, 0);
    }
    return isUnlocked;
}

void readsKeysOf1MiB(Probe& probe) {
    const Machine machine;
    const Identity owner = selfSigned({.commonName = "owner"});
    for (const std::size_t size : {kMiB, kMiB + 1}) {
        const std::string file = machine.folder().write("key.pem", padded(owner.key.pem(), size));
        probe.expect(opensKey(owner, file) == (size == kMiB), "1 MiB is read, one octet more is not");
    }
    const std::string pipe = machine.folder().file("pipe");
    require(::mkfifo(pipe.c_str(), 0600) == 0, "making a pipe");
    bool isOpened = true;
    const double seconds = secondsOf([&] { isOpened = opensKey(owner, pipe); });
    probe.expect(!isOpened && seconds < 1, "a pipe is refused without waiting");
    probe.expect(!opensKey(owner, "/dev/zero") && !opensKey(owner, "/proc/self/fd") && !opensKey(owner, "/dev/tty"),
                 "devices and directories are refused");
    std::filesystem::create_symlink(machine.folder().write("real.pem", owner.key.pem()), machine.folder().file("link"));
    probe.expect(opensKey(owner, machine.folder().file("link")), "a link to a file is followed");
}

// PKCS #8 with this number of rounds, encrypted with the password 1234.
std::string encryptedKey(const Machine& machine, const Key& key, long rounds) {
    const std::string plain = machine.folder().write("plain.pem", key.pem());
    const ProcessResult result =
        run({"openssl", "pkcs8", "-topk8", "-in", plain, "-passout", "pass:1234", "-iter", std::to_string(rounds)});
    require(result.exitStatus == 0, "encrypting a key");
    return result.out;
}

// The same with another number of rounds, whose key cannot be opened.
std::string withRounds(const std::string& pem, const char* from, const char* to) {
    const TempDir folder;
    const ProcessResult result =
        run({"openssl", "asn1parse", "-noout", "-in", folder.write("key.pem", pem), "-out", folder.file("key.der")});
    require(result.exitStatus == 0, "reading a key");
    Bytes der = readFile(folder.file("key.der"));
    const Bytes old = fromHex(from);
    const auto at = std::search(der.begin(), der.end(), old.begin(), old.end());
    require(at != der.end(), "finding the rounds of a key");
    const Bytes changed = fromHex(to);
    std::copy(changed.begin(), changed.end(), at);
    return toPem(der, "ENCRYPTED PRIVATE KEY");
}

void tries5MillionRounds(Probe& probe) {
    const Machine machine;
    const Identity owner = selfSigned({.commonName = "owner"});
    const auto opens = [&](const std::string& content) {
        const std::string file = machine.folder().write("key.pem", content);
        return opensKey(owner, file, "1234");
    };
    const std::string all = encryptedKey(machine, owner.key, 5000000);
    probe.expect(opens(all), "5 million rounds are made");
    probe.expect(!opens(withRounds(all, "02034C4B40", "02034C4B41")), "one more is not");
    const std::string other = encryptedKey(machine, Key::make(), 2500000);
    const std::string half = encryptedKey(machine, owner.key, 2500000);
    probe.expect(opens(other + half), "5 million in two keys of a file are made");
    probe.expect(!opens(withRounds(other, "02032625A0", "02032625A1") + half), "one more is not");
}

// ---- Stores and settings --------------------------------------------------------------------------------------------

void readsStoresOf64MiB(Probe& probe) {
    const SmallPki pki;
    for (const std::size_t size : {64 * kMiB, 64 * kMiB + 1}) {
        const Machine machine;
        machine.folder().write("machine/ROOT/root.pem", padded(pki.root.certificatePem(), size, ' '));
        showStoreChanges();
        probe.expect(chainOf(pki.ca.certificate, {}).isSound() == (size == 64 * kMiB),
                     "a root at the end of 64 MiB counts, one octet more does not");
    }
}

void readsSettingsOf1MiB(Probe& probe) {
    const TempDir folder;
    const std::string text = machineSettings(folder);
    for (const std::size_t size : {kMiB, kMiB + 1}) {
        const std::string file = folder.write("settings.toml", padded(text, size));
        probe.expect((support_settings_open(file.c_str()) == 0) == (size == kMiB),
                     "1 MiB of settings is read, one octet more is not");
    }
    // A side file names the key of its certificate.
    const Identity owner = selfSigned({.commonName = "owner"});
    const std::string key = folder.write("owner.key", owner.key.pem());
    for (const std::size_t size : {kMiB, kMiB + 1}) {
        const Machine machine;
        machine.folder().write("user/My/owner.pem", owner.certificatePem());
        machine.folder().write("user/My/owner.pem.toml", padded("key = \"" + key + "\"\n", size));
        machine.folder().write("user/My/owner.toml", padded("key = \"" + key + "\"\n", size));
        const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, "My");
        PCCERT_CONTEXT found = CertEnumCertificatesInStore(store, nullptr);
        HCRYPTPROV provider = 0;
        BOOL isOwned = FALSE;
        const bool hasKey =
            found != nullptr && CryptAcquireCertificatePrivateKey(found, CRYPT_ACQUIRE_USE_PROV_INFO_FLAG, nullptr,
                                                                  &provider, nullptr, &isOwned) != FALSE;
        probe.expect(found != nullptr && hasKey == (size == kMiB),
                     "1 MiB of a side file is read, one octet more is not");
        CertFreeCertificateContext(found);
        CertCloseStore(store, 0);
    }
}

void nestsToml32Levels(Probe& probe) {
    const TempDir folder;
    const auto isRead = [&](const std::string& value) {
        return support_settings_open(folder.write("s.toml", machineSettings(folder) + value).c_str()) == 0;
    };
    const auto repeat = [](const std::string& text, std::size_t count) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    };
    for (const auto& [open, close] : {std::pair("[", "]"), std::pair("{a = ", "}")}) {
        const auto nested = [&](std::size_t depth) {
            return "x = " + repeat(open, depth) + "1" + repeat(close, depth) + "\n";
        };
        probe.expect(isRead(nested(30)), std::string("30 levels of ") + open);
        probe.expect(!isRead(nested(33)), std::string("33 levels are refused: ") + open);
        onSmallStack([&] { probe.expect(!isRead(nested(100000)), "also 100,000 on a small stack"); });
        onSmallStack([&] { probe.expect(isRead(nested(30)), "a small stack is enough for 30 levels"); });
    }
    probe.expect(!isRead("x" + repeat(".a", 33) + " = 1\n") && !isRead("[x" + repeat(".a", 33) + "]\n"),
                 "keys with 33 dots are refused");
}

// A pipe without a writer must not count as an empty file.
void waits30SecondsForSettings(Probe& probe) {
    const TempDir folder;
    const std::string pipe = folder.file("pipe");
    require(::mkfifo(pipe.c_str(), 0600) == 0, "making a pipe");
    int result = 0;
    const double seconds = secondsOf([&] { result = support_settings_open(pipe.c_str()); });
    probe.expect(result != 0, "no settings from a pipe without a writer");
    probe.expectWithin(seconds, 29, 33, "seconds for settings from a pipe");
}

// A directory in which a CRL gets another name again and again.
void readsDirectoriesFourTimes(Probe& probe) {
    const SmallPki pki;
    const Machine machine;
    machine.write("ROOT/root.pem", bytesOf(pki.root.certificatePem()));
    machine.write("CA/ca.pem", bytesOf(pki.ca.certificatePem()));
    machine.write("CA/root.crl", pki.rootCrl);
    const std::string one = machine.write("CA/a.crl", pki.caCrl);
    const auto isSound = [&] {
        showStoreChanges();
        return chainOf(pki.leaf.certificate, {.hasRevocation = true}).isSound();
    };
    probe.expect(isSound(), "the directory is read");
    std::atomic<bool> isStopped = false;
    std::thread renaming([&] {
        const std::string other = one + "2";
        for (bool isBack = false; !isStopped; isBack = !isBack) {
            ::rename(isBack ? other.c_str() : one.c_str(), isBack ? one.c_str() : other.c_str());
            pauseMs(1);
        }
    });
    pauseMs(150);
    int opened = 0;
    const double seconds = secondsOf([&] {
        opened = directoriesOpened([&] {
            const HCERTSTORE store =
                CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, "CA");
            CertCloseStore(store, 0);
        });
    });
    probe.expect(!chainOf(pki.leaf.certificate, {.hasRevocation = true}).isSound(),
                 "the revocation status is unknown meanwhile");
    isStopped = true;
    renaming.join();
    // The directory of the machine's store four times, and the user's, which is missing, once.
    probe.expectWithin(opened, 4, 5, "readings of the directory");
    probe.expectWithin(seconds, 0.06, 1, "seconds with three pauses of 20 ms");
    probe.measured("reading it took", seconds * 1000, "ms");
    pauseMs(200);
    probe.expect(isSound(), "afterwards it is read again");
}

}  // namespace

std::vector<Driver> fileDrivers() {
    constexpr const char* kFile = "a file given to the command";
    constexpr const char* kKey = "a file with a private key";
    constexpr const char* kStore = "a file of a store, of settings, a side file";
    return {
        {kFile, "64 MiB, 4 MiB for `show`", reads64MiB},
        {kFile, "the first line of a file with a PIN or password 1024 octets", reads1024OctetsOfPassword},
        {kKey, "1 MiB, a regular file, read without waiting", readsKeysOf1MiB},
        {kKey, "5 million rounds of password-based encryption in total", tries5MillionRounds},
        {kStore, "64 MiB", readsStoresOf64MiB},
        {kStore, "1 MiB, 1 MiB", readsSettingsOf1MiB},
        {kStore, "TOML nests 32 levels at most", nestsToml32Levels},
        {kStore, "settings from a pipe within 30 s", waits30SecondsForSettings, 30},
        {"a directory of a store that keeps changing",
         "read four times with pauses of 20 ms, then a CRL may be missing", readsDirectoriesFourTimes},
    };
}

}  // namespace proof
