// Time texts through the plain readers and both control classes; what was read must be written and read alike.
#include <cstdlib>
#include <string>

#include "asn1rt/time_control.h"
#include "asn1rt/time_text.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The text made from a record gives the same record.
void rewrite(ASN1CTXT* ctx, const RtTime& time) {
    char area[64];
    char* text = area;
    RtTime again;
    require(rtMakeGeneralizedTime(ctx, &time, &text, sizeof area) == 0);
    require(rtParseGeneralizedTime(ctx, area, &again) == 0);
    require(again.year == time.year && again.second == time.second && again.diffMin == time.diffMin);
    require(std::string(again.fraction) == time.fraction);
}

// A text that a setter wrote is read as the same instant.
template <typename Control>
void edit(const std::string& input, bool forceUTC) {
    const char* text = input.c_str();
    Control control(text, 0, forceUTC);
    if (control.getYear() < 0 || control.setUTC(true) != 0) {
        return;
    }
    const char* written = text;
    const Control other(written, 0, forceUTC);
    require(other.getUTC() == 1);
    require(other.equals(control));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const ASN1CtxtPtr context(new ASN1Context);
    RtTime time;
    if (rtParseGeneralizedTime(context, input.c_str(), &time) == 0) {
        rewrite(context, time);
    }
    if (rtParseUTCTime(context, input.c_str(), &time) == 0) {
        rewrite(context, time);
    }
    for (const bool forceUTC : {false, true}) {
        edit<ASN1CGeneralizedTime>(input, forceUTC);
        edit<ASN1CUTCTime>(input, forceUTC);
    }
    return 0;
}
