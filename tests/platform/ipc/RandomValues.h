// Random property-list values, the awkward ones more often than chance would have them.
#pragma once

#include "foundation/Value.h"

#include <array>
#include <limits>
#include <random>

namespace halden::testing {

class RandomValues {
public:
    explicit RandomValues(unsigned seed) : random_(seed) {}

    /// Containers lie at most `depth` levels deep in each other.
    Value value(int depth) {
        switch (number(depth > 0 ? 9 : 7)) {
            case 0:
                return Null{};
            case 1:
                return number(2) == 1;
            case 2:
                return integer();
            case 3:
                return real();
            case 4:
                return Date{real()};
            case 5:
                return string();
            case 6:
                return data();
            case 7:
                return array(depth - 1);
            default:
                return dictionary(depth - 1);
        }
    }

    Array array(int depth) {
        Array result(number(6));
        for (auto& element : result)
            element = value(depth);
        return result;
    }

    Dictionary dictionary(int depth) {
        Dictionary result;
        for (unsigned i = number(number(20) == 0 ? 100 : 6); i > 0; --i)
            result.set(string(), value(depth));
        return result;
    }

    std::u16string string() {
        static constexpr std::u16string_view kAwkward[] = {
            u"",       u"a",      {u"\0", 1},       u"\xD800",  u"\xDC00\xD800", u"\xD83D\xDE00",      u"x\xDC80y",
            u"\xFFFE", u"\xFEFF", {u"a\0b\0\0", 5}, u"\u00E4n", u"\uFFFD",       u"\xD800\xD800\xDC00"};
        std::u16string result;
        for (unsigned i = number(4); i > 0; --i)
            result += kAwkward[number(std::size(kAwkward))];
        if (number(10) == 0) result.append(number(5000), static_cast<char16_t>(number(0x10000)));
        return result;
    }

    Data data() {
        const unsigned length = number(3) == 0 ? 0 : number(10) == 0 ? number(200000) : number(50);
        std::vector<std::uint8_t> bytes(length);
        for (auto& byte : bytes)
            byte = static_cast<std::uint8_t>(random_());
        return Data(std::move(bytes));
    }

    unsigned number(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }

private:
    std::int64_t integer() {
        static constexpr std::array<std::int64_t, 5> kEdges = {0, -1, std::numeric_limits<std::int64_t>::max(),
                                                               std::numeric_limits<std::int64_t>::min(), 1L << 53};
        return number(2) == 0 ? kEdges[number(kEdges.size())] : static_cast<std::int64_t>(random_());
    }

    double real() {
        static constexpr std::array kEdges = {0.0,
                                              -0.0,
                                              0.1,
                                              std::numeric_limits<double>::infinity(),
                                              std::numeric_limits<double>::denorm_min(),
                                              std::numeric_limits<double>::lowest()};
        return number(2) == 0 ? kEdges[number(kEdges.size())] : static_cast<double>(random_()) / 1e6;
    }

    std::mt19937_64 random_;
};

}  // namespace halden::testing
