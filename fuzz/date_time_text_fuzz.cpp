// Text of any kind as a point in time, as a span and as an XML Schema date; what is accepted must survive being written
// and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/date_time_text.h"
#include "handles/exception.h"

namespace {

using Orvane::CDateTime;

// A text may be refused, by the one exception alone.
template <class Action>
void attempt(Action&& action) {
    try {
        action();
    } catch (const ATL::CAtlException&) {
        return;
    }
}

void require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    attempt([&] {
        const CDateTime time(text.c_str());
        require(CDateTime(time.getGeneralizedTime().c_str()) == time);
        const CDateTime shown = Orvane::fromXsdDateTimeString(Orvane::toXsdDateTimeString(time).c_str());
        require(time - shown < Orvane::CDateTimeSpan::OneMillisecond());
        static_cast<void>(time.tostring());
    });
    attempt([&] { static_cast<void>(Orvane::CDateTimeSpan(text.c_str()).getGeneralizedTime()); });
    attempt([&] {
        const CDateTime time = Orvane::fromXsdDateTimeString(text.c_str());
        static_cast<void>(Orvane::toXsdDateTimeString(time));
        static_cast<void>(Orvane::DateAddA(text.c_str(), static_cast<int>(size), time));
    });
    return 0;
}
