// UTF-8 in, wide text out and back: valid input must come back as it was, and no conversion may leave its buffer. The
// same bytes are also read as PEM and base64.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/crypto/crypto_service.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const char* const text = reinterpret_cast<const char*>(data);
    const int sizeText = static_cast<int>(size);
    std::vector<wchar_t> wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text, sizeText, nullptr, 0)));
    const int sizeWide = static_cast<int>(wide.size());
    if (MultiByteToWideChar(CP_UTF8, 0, text, sizeText, wide.data(), sizeWide) != sizeWide) {
        abort();
    }
    std::vector<char> back(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), sizeWide, nullptr, 0, nullptr, nullptr)));
    const int sizeBack = static_cast<int>(back.size());
    if (WideCharToMultiByte(CP_UTF8, 0, wide.data(), sizeWide, back.data(), sizeBack, nullptr, nullptr) != sizeBack) {
        abort();
    }
    const bool valid = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, sizeText, nullptr, 0) != 0;
    if (valid && (back.size() != size || std::memcmp(back.data(), data, size) != 0)) {
        abort();
    }
    const std::string terminated(text, size);
    for (DWORD const form : {CRYPT_STRING_BASE64_ANY, CRYPT_STRING_ANY}) {
        std::vector<BYTE> bytes(size + 1);
        DWORD sizeBytes = static_cast<DWORD>(bytes.size());
        CryptStringToBinaryA(terminated.c_str(), static_cast<DWORD>(size), form, bytes.data(), &sizeBytes, nullptr,
                             nullptr);
    }
    return 0;
}
