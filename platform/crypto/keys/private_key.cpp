#include "platform/crypto/keys/private_key.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/decoder.h>
#include <openssl/pem.h>
#include <openssl/store.h>
#include <openssl/ui.h>
#include <strings.h>
#include <sys/stat.h>

#include <cstring>
#include <new>
#include <string_view>

#include "platform/crypto/base/pem_blocks.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/keys/key_cost.h"
#include "platform/crypto/keys/pkcs12_keys.h"
#include "platform/support/descriptor.h"

namespace tallow::platform {

namespace {

constexpr off_t kLargestKeyFile = off_t{1} << 20;  // a key with its whole chain has some ten thousand octets
// Blocks of a file, or objects of a token: for each, OpenSSL tries all its decoders.
constexpr int kMaximumSteps = 256;

using DecoderPtr = std::unique_ptr<OSSL_DECODER_CTX, OpenSslFree<OSSL_DECODER_CTX_free>>;
using StorePtr = std::unique_ptr<OSSL_STORE_CTX, OpenSslFree<OSSL_STORE_close>>;
using LoaderPtr = std::unique_ptr<OSSL_STORE_LOADER, OpenSslFree<OSSL_STORE_LOADER_free>>;
using StoreInfoPtr = std::unique_ptr<OSSL_STORE_INFO, OpenSslFree<OSSL_STORE_INFO_free>>;

struct Search {
    EVP_PKEY* const publicKey;
    const char* const pin;
    int timesAsked = 0;          // for the PIN
    bool isLocked = false;       // something did not open
    bool isUnsupported = false;  // something cannot be opened here
    bool sawOtherKey = false;
    KeyPtr found = nullptr;

    void offer(KeyPtr key) {
        if (EVP_PKEY_eq(key.get(), publicKey) == 1) {
            found = std::move(key);
        } else {
            sawOtherKey = true;
        }
    }
    DWORD verdict() const {
        if (found != nullptr) {
            return 0;
        }
        if (isUnsupported) {
            return ERROR_NOT_SUPPORTED;
        }
        if (isLocked) {
            return pin == nullptr ? NTE_SILENT_CONTEXT : SCARD_W_WRONG_CHV;
        }
        return sawOtherKey ? NTE_BAD_PUBLIC_KEY : NTE_BAD_KEYSET;
    }
};

// Gives the PIN to OpenSSL, directly into its buffer, which it cleanses.
int givePin(UI* dialogue, UI_STRING* question) {
    const UI_string_types kind = UI_get_string_type(question);
    if (kind != UIT_PROMPT && kind != UIT_VERIFY) {
        return 1;  // a notice
    }
    auto& search = *static_cast<Search*>(UI_get0_user_data(dialogue));
    ++search.timesAsked;
    return search.pin != nullptr && UI_set_result(dialogue, question, search.pin) >= 0 ? 1 : -1;
}

// The same for the functions that read files, which cleanse their buffer as well.
int givePinText(char* buffer, int size, int /*isForWriting*/, void* context) {
    auto& search = *static_cast<Search*>(context);
    ++search.timesAsked;
    const size_t length = search.pin == nullptr ? 0 : std::strlen(search.pin);
    if (search.pin == nullptr || length > static_cast<size_t>(size)) {
        return -1;
    }
    std::memcpy(buffer, search.pin, length);
    return static_cast<int>(length);
}

// How OpenSSL asks for a PIN here, instead of at the terminal. Lives as long as the process.
const UI_METHOD* pinDialogue() {
    static const UI_METHOD* const method = [] {
        UI_METHOD* const made = UI_create_method("tallow");
        if (made == nullptr || UI_method_set_reader(made, givePin) != 0) {
            throw std::bad_alloc();
        }
        return made;
    }();
    return method;
}

void searchStore(OSSL_STORE_CTX* store, Search& search) {
    OSSL_STORE_expect(store, OSSL_STORE_INFO_PKEY);
    int asked = 0;
    for (int i = 0; i < kMaximumSteps && search.found == nullptr && OSSL_STORE_eof(store) != 1; ++i) {
        const StoreInfoPtr object(OSSL_STORE_load(store));
        if (KeyPtr key(object == nullptr ? nullptr : OSSL_STORE_INFO_get1_PKEY(object.get())); key != nullptr) {
            search.offer(std::move(key));
        } else if (search.timesAsked > asked && OSSL_STORE_error(store) == 1) {
            search.isLocked = true;
        }
        asked = search.timesAsked;
    }
}

// The content of a key file, cleansed on destruction.
struct KeyFile {
    Bytes content;

    KeyFile() = default;
    KeyFile(const KeyFile&) = delete;
    KeyFile& operator=(const KeyFile&) = delete;
    ~KeyFile() { OPENSSL_cleanse(content.data(), content.size()); }
};

bool readKeyFile(const std::string& path, KeyFile& file) {
    // Neither a pipe nor a device may make the call wait.
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!descriptor.valid() || ::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size == 0 || status.st_size > kLargestKeyFile) {
        return false;
    }
    file.content.resize(static_cast<size_t>(status.st_size));
    return descriptor.readAll(file.content.data(), file.content.size());
}

// Why the encrypted parts of `der` are not opened with any PIN; null when they may be tried. Adds their rounds to those
// of the parts before, since a PIN is tried with each.
const char* whyClosed(ByteView der, unsigned long long& rounds) {
    using SignaturePtr = std::unique_ptr<X509_SIG, OpenSslFree<X509_SIG_free>>;
    const unsigned char* position = der.data();
    const SignaturePtr encrypted(d2i_X509_SIG(nullptr, &position, static_cast<long>(der.size())));
    const X509_ALGOR* algorithm = nullptr;
    if (encrypted != nullptr) {
        X509_SIG_get0(encrypted.get(), &algorithm, nullptr);
    }
    if (algorithm != nullptr && !canOpen(algorithm)) {
        return "is encrypted in a way that OpenSSL does not open here";
    }
    rounds += roundsIn(der);
    return rounds > kMaximumRounds ? "asks for too much work to open it" : nullptr;
}

// Looks at DER, or at each block of PEM text.
const char* whyClosedIn(const KeyFile& file) {
    unsigned long long rounds = 0;
    const char* why = whyClosed(file.content, rounds);
    KeyFile block;  // cleansed like the file
    for (const PemBlock& pem : pemBlocks({reinterpret_cast<const char*>(file.content.data()), file.content.size()})) {
        if (why == nullptr && pem.label == "ENCRYPTED PRIVATE KEY" && decodeBlock(pem, block.content)) {
            why = whyClosed(block.content, rounds);
        }
    }
    return why;
}

BioPtr bioOf(ByteView bytes) {
    BioPtr bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
    return bio != nullptr ? std::move(bio) : throw std::bad_alloc();
}

// A key in any binary form.
KeyPtr keyIn(ByteView binary, Search& search) {
    EVP_PKEY* key = nullptr;
    const DecoderPtr decoder(
        OSSL_DECODER_CTX_new_for_pkey(&key, nullptr, nullptr, nullptr, EVP_PKEY_KEYPAIR, nullptr, nullptr));
    if (decoder == nullptr || OSSL_DECODER_CTX_set_pem_password_cb(decoder.get(), givePinText, &search) != 1) {
        throw std::bad_alloc();
    }
    const unsigned char* position = binary.data();
    size_t size = binary.size();
    const bool isDecoded = OSSL_DECODER_from_data(decoder.get(), &position, &size) == 1;
    if (KeyPtr decoded(key); isDecoded) {
        return decoded;
    }
    // The decoders know no engines.
    position = binary.data();
    if (KeyPtr plain(d2i_AutoPrivateKey(nullptr, &position, static_cast<long>(binary.size()))); plain != nullptr) {
        return plain;
    }
    return KeyPtr(d2i_PKCS8PrivateKey_bio(bioOf(binary).get(), nullptr, givePinText, &search));
}

// OSSL_STORE also reads files, but crashes when memory runs out while it does.
void searchKeys(ByteView content, Search& search) {
    const auto offer = [&search](KeyPtr key, int asked) {
        if (key != nullptr) {
            search.offer(std::move(key));
        } else if (search.timesAsked > asked) {
            search.isLocked = true;
        }
    };
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    const std::vector<PemBlock> blocks = pemBlocks(text);
    if (blocks.empty()) {
        offer(keyIn(content, search), 0);
    }
    for (size_t i = 0; i < blocks.size() && i < kMaximumSteps && search.found == nullptr; ++i) {
        if (blocks[i].label.ends_with("PRIVATE KEY")) {
            const int asked = search.timesAsked;
            const size_t end = i + 1 < blocks.size() ? blocks[i + 1].start : content.size();
            const BioPtr block = bioOf(content.subspan(blocks[i].start, end - blocks[i].start));
            offer(KeyPtr(PEM_read_bio_PrivateKey(block.get(), nullptr, givePinText, &search)), asked);
        }
    }
}

DWORD searchFile(const std::string& path, Search& search) {
    KeyFile file;
    if (!readKeyFile(path, file)) {
        TALLOW_CRYPTO_TRACE("the key file %s cannot be read\n", path.c_str());
        return NTE_BAD_KEYSET;
    }
    if (const char* const why = whyClosedIn(file)) {
        TALLOW_CRYPTO_TRACE("the key file %s %s\n", path.c_str(), why);
        return ERROR_NOT_SUPPORTED;
    }
    if (Pkcs12Result result = findPkcs12Key(file.content, search.pin, search.publicKey); result.isPkcs12) {
        search.found = std::move(result.found);
        search.isLocked = result.isLocked;
        search.isUnsupported = result.isUnsupported;
        search.sawOtherKey = result.sawOtherKey;
        return search.verdict();
    }
    searchKeys(file.content, search);
    return search.verdict();
}

DWORD searchToken(const std::string& uri, const std::string& scheme, Search& search) {
    if (const LoaderPtr loader(OSSL_STORE_LOADER_fetch(nullptr, scheme.c_str(), nullptr)); loader == nullptr) {
        TALLOW_CRYPTO_TRACE("no OpenSSL provider loads keys by %s:\n", scheme.c_str());
        return NTE_NOT_SUPPORTED;
    }
    const StorePtr store(
        OSSL_STORE_open_ex(uri.c_str(), nullptr, nullptr, pinDialogue(), &search, nullptr, nullptr, nullptr));
    if (store != nullptr) {
        searchStore(store.get(), search);
    }
    // Without its PIN a token shows no private key at all, which is no error to OpenSSL.
    search.isLocked |= search.timesAsked > 0 && !search.sawOtherKey;
    return search.verdict();
}

// Empty for a path.
std::string schemeOf(std::string_view text) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::string_view kOthers = "0123456789+-.";
    size_t size = 0;
    while (size < text.size() && (kLetters.find(text[size]) != std::string_view::npos ||
                                  (size > 0 && kOthers.find(text[size]) != std::string_view::npos))) {
        ++size;
    }
    return size < text.size() && text[size] == ':' ? std::string(text.substr(0, size)) : std::string();
}

// The path in what follows "file:"; empty when it is on another host.
std::string pathOf(std::string_view rest) {
    constexpr std::string_view kAuthority = "//";
    constexpr std::string_view kThisHost = "localhost/";
    if (!rest.starts_with(kAuthority)) {
        return std::string(rest);
    }
    rest.remove_prefix(kAuthority.size());
    if (rest.starts_with(kThisHost)) {
        rest.remove_prefix(kThisHost.size() - 1);
    }
    return rest.starts_with('/') ? std::string(rest) : std::string();
}

}  // namespace

DWORD openPrivateKey(const std::string& uri, const char* pin, EVP_PKEY* publicKey, KeyPtr& key) {
    const OpenSslErrors errors;
    if (publicKey == nullptr) {
        return NTE_BAD_PUBLIC_KEY;
    }
    const std::string scheme = schemeOf(uri);
    const bool isFile = scheme.empty() || strcasecmp(scheme.c_str(), "file") == 0;
    Search search{publicKey, pin};
    if (!isFile) {
        const DWORD code = searchToken(uri, scheme, search);
        key = std::move(search.found);
        return code;
    }
    const std::string path = scheme.empty() ? uri : pathOf(std::string_view(uri).substr(scheme.size() + 1));
    if (path.empty()) {
        return NTE_NOT_SUPPORTED;
    }
    const DWORD code = searchFile(path, search);
    key = std::move(search.found);
    return code;
}

std::string keyUri(const std::string& text, const std::filesystem::path& folder) {
    return schemeOf(text).empty() ? (folder / text).string() : text;
}

}  // namespace tallow::platform
