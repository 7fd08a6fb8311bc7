// Numbers of a document.
#pragma once

#include <charconv>
#include <iterator>

namespace halden::pdf {

/// The number that the document has: the engine keeps floats, whose shortest digits are those that were written.
inline double numberAsWritten(float number) {
    char digits[32];
    const auto written = std::to_chars(std::begin(digits), std::end(digits), number);
    double exact = number;
    std::from_chars(digits, written.ptr, exact);
    return exact;
}

}  // namespace halden::pdf
