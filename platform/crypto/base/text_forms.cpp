// Base64 and PEM.
#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/crypto/base/pem_blocks.h"
#include "platform/crypto/base/service_call.h"

using namespace tallow::platform;

namespace {

constexpr DWORD kFormMask = 0x0FFFFFFF;
constexpr DWORD kMaximumBinary = 512U << 20U;
constexpr size_t kLineSize = 64;

std::string base64(ByteView bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(size));
    return text;
}

// Lines of 64 characters, each with its end.
std::string inLines(const std::string& text, std::string_view lineEnd) {
    std::string lines;
    for (size_t position = 0; position < text.size(); position += kLineSize) {
        lines += text.substr(position, kLineSize);
        lines += lineEnd;
    }
    return lines;
}

// The first complete block; `position` is where it begins.
bool readPem(std::string_view text, Bytes& bytes, size_t& position) {
    for (const PemBlock& block : pemBlocks(text)) {
        if (block.isComplete) {
            position = block.start;
            return decodeBlock(block, bytes);
        }
    }
    return false;
}

// Reads text in the forms that `form` allows. Returns the form found; empty when none fits.
bool readText(std::string_view text, DWORD form, Bytes& bytes, DWORD& met, size_t& position) {
    const bool pemAllowed = form == CRYPT_STRING_BASE64HEADER || form >= CRYPT_STRING_BASE64_ANY;
    const bool base64Allowed = form == CRYPT_STRING_BASE64 || form >= CRYPT_STRING_BASE64_ANY;
    if (pemAllowed && text.find("-----BEGIN ") != std::string_view::npos) {
        met = CRYPT_STRING_BASE64HEADER;
        return readPem(text, bytes, position);
    }
    if (base64Allowed && decodeBase64(text, bytes)) {
        met = CRYPT_STRING_BASE64;
        return true;
    }
    if (form == CRYPT_STRING_ANY || form == CRYPT_STRING_BINARY) {
        met = CRYPT_STRING_BINARY;
        bytes.assign(text.begin(), text.end());
        return true;
    }
    return false;
}

bool isReadForm(DWORD form) {
    return form == CRYPT_STRING_BASE64HEADER || form == CRYPT_STRING_BASE64 || form == CRYPT_STRING_BINARY ||
           form == CRYPT_STRING_BASE64_ANY || form == CRYPT_STRING_ANY;
}

}  // namespace

BOOL CryptBinaryToStringW(const BYTE* pbBinary, DWORD cbBinary, DWORD dwFlags, LPWSTR pszString, DWORD* pcchString) {
    return serviceCall<BOOL>(FALSE, [&] {
        if ((pbBinary == nullptr && cbBinary != 0) || pcchString == nullptr || cbBinary > kMaximumBinary) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        if ((dwFlags & kFormMask) != CRYPT_STRING_BASE64) {
            return fail(NTE_BAD_FLAGS);
        }
        std::string text = base64({pbBinary, cbBinary});
        if ((dwFlags & CRYPT_STRING_NOCRLF) == 0) {
            text = inLines(text, (dwFlags & CRYPT_STRING_NOCR) != 0 ? "\n" : "\r\n");
        }
        const DWORD room = *pcchString;
        const DWORD size = static_cast<DWORD>(text.size());
        *pcchString = size + 1;
        if (pszString == nullptr) {
            return TRUE;
        }
        if (room < size + 1) {
            return fail(ERROR_MORE_DATA);
        }
        std::copy_n(text.c_str(), text.size() + 1, pszString);
        *pcchString = size;
        return TRUE;
    });
}

BOOL CryptStringToBinaryA(LPCSTR pszString, DWORD cchString, DWORD dwFlags, BYTE* pbBinary, DWORD* pcbBinary,
                          DWORD* pdwSkip, DWORD* pdwFlags) {
    return serviceCall<BOOL>(FALSE, [&] {
        if (pszString == nullptr || pcbBinary == nullptr) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        if (!isReadForm(dwFlags)) {
            return fail(NTE_BAD_FLAGS);
        }
        const std::string_view text(pszString, cchString == 0 ? std::strlen(pszString) : cchString);
        Bytes bytes;
        DWORD met = 0;
        size_t position = 0;
        if (text.size() > INT_MAX || !readText(text, dwFlags, bytes, met, position)) {
            return fail(ERROR_INVALID_DATA);
        }
        if (pdwSkip != nullptr) {
            *pdwSkip = static_cast<DWORD>(position);
        }
        if (pdwFlags != nullptr) {
            *pdwFlags = met;
        }
        return done(giveBytes(bytes, pbBinary, pcbBinary));
    });
}
