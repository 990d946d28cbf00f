// Blobs as files and as hexadecimal text.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "foundation/blob.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace Orvane {
namespace {

struct FileCloser {
    // fclose errors are ignored: reads are complete, and failing writes are not reported.
    void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void throwPathError() {
    const std::int32_t status = ATL2::convertedLastError();
    ATL::AtlThrowImpl(status == status::kOk ? status::kPathNotConverted : status);
}

std::string narrowPath(const wchar_t* path) {
    const int size = WideCharToMultiByte(CP_ACP, 0, path, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        throwPathError();
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(CP_ACP, 0, path, -1, narrow.data(), size, nullptr, nullptr) == 0) {
        throwPathError();
    }
    return narrow;
}

// The whole of an open file, or false when it cannot be read as a whole into 32 bits of size.
bool readWhole(std::FILE* file, CBlob& content) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return false;
    }
    const long length = std::ftell(file);
    if (length < 0 || length > static_cast<long>(UINT32_MAX)) {
        return false;
    }
    if (length == 0) {
        return true;
    }
    content.resize_to(static_cast<unsigned long>(length));
    return std::fseek(file, 0, SEEK_SET) == 0 &&
           std::fread(content.pbData(), 1, content.cbData(), file) == content.cbData();
}

// Independent of the locale, unlike the functions of <cctype>.
constexpr bool isWhiteSpace(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr int digitValue(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

const char* skipWhiteSpace(const char* text) noexcept {
    while (isWhiteSpace(*text)) {
        ++text;
    }
    return text;
}

}  // namespace

void CBlob::readFromFile(const char* path) {
    const File file(std::fopen(path, "rb"));
    if (!file) {
        cbData_ = 0;
        ATL::AtlThrowImpl(status::kFileNotFound);
    }
    CBlob content;
    if (!readWhole(file.get(), content)) {
        cbData_ = 0;
        ATL::AtlThrowImpl(status::kFileCorrupt);
    }
    *this = std::move(content);
}

void CBlob::readFromFile(const wchar_t* path) {
    readFromFile(narrowPath(path).c_str());
}

// A write that fails after the file was opened stays unreported; callers rely on the call coming back.
void CBlob::writeToFile(const char* path) const {
    const File file(std::fopen(path, "wb"));
    if (!file) {
        ATL::AtlThrowImpl(status::kFileNotFound);
    }
    if (cbData_ != 0) {
        static_cast<void>(std::fwrite(pbData_.get(), 1, cbData_, file.get()));
    }
}

void CBlob::writeToFile(const wchar_t* path) const {
    writeToFile(narrowPath(path).c_str());
}

void CBlob::readFromHexString(const char* text) {
    const unsigned long sizeMost = std::strlen(text) / 2;
    if (cbData_ <= sizeMost) {
        pbData_ = std::make_unique_for_overwrite<unsigned char[]>(sizeMost + 1);
    }
    cbData_ = 0;
    text = skipWhiteSpace(text);
    while (digitValue(text[0]) >= 0 && digitValue(text[1]) >= 0) {
        pbData_[cbData_++] = static_cast<unsigned char>(digitValue(text[0]) << 4 | digitValue(text[1]));
        text = skipWhiteSpace(text + 2);
    }
}

CStringProxy CBlob::writeToHexString(unsigned long group) const {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(cbData_ * 2 + (group == 0 ? 0 : cbData_ / group));
    for (unsigned long i = 0; i < cbData_; ++i) {
        if (group != 0 && i != 0 && i % group == 0) {
            text += ' ';
        }
        text += kDigits[pbData_[i] >> 4];
        text += kDigits[pbData_[i] & 0x0F];
    }
    return CStringProxy(std::move(text));
}

}  // namespace Orvane
