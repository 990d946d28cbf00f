// Distinguished names as text: whatever parses must print, and what it prints must parse to the same name.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "asn1/names/name.h"
#include "handles/exception.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One octet a character reaches all that the grammar distinguishes; the first one shifts the rest out of ASCII.
    std::wstring text;
    for (std::size_t index = 1; index < size; ++index) {
        text.push_back(static_cast<wchar_t>(data[index] >= 0x80 ? data[index] << (data[0] % 24) : data[index]));
    }
    try {
        const Orvane::ASN1::CName name(text.c_str());
        const Orvane::CWStringProxy printed = name.toString();
        const Orvane::ASN1::CName again(printed.c_str());
        if (again.size() != name.size()) {
            std::abort();
        }
        Orvane::ASN1::CName decoded;
        decoded.decode(name.encode());
    } catch (const ATL::CAtlException&) {
    } catch (const std::out_of_range&) {
    }
    return 0;
}
