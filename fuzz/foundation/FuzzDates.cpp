// Any text as a date: what is read is a day that exists, and is shown in a form that is read as the same minute.
#include "foundation/DateText.h"
#include "foundation/Unicode.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::u16string text = utf16FromUtf8({reinterpret_cast<const char*>(bytes), size});
    const std::optional<Date> date = dateFromString(text);
    if (!date) return 0;
    constexpr double kYear1000 = -30610224000;
    constexpr double kYear9999 = 253370764800;
    const double seconds = date->unixSeconds();
    // Of the years before, the form has fewer digits than a date is read with; behind lies what zones add to 9999.
    const std::u16string shown = stringFromDate(*date);
    if (shown.empty()) std::abort();
    if (!(seconds >= kYear1000 && seconds < kYear9999)) return 0;
    const std::optional<Date> again = dateFromString(shown);
    if (!again || again->unixSeconds() != std::floor(seconds / 60) * 60) std::abort();
    return 0;
}
