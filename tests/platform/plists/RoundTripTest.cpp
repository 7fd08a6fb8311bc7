// Whatever is written must be read as the same value.
#include "tests/platform/plists/ListText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace halden {
namespace {

enum class Form { xml, binary };

class RandomValues {
public:
    RandomValues(unsigned seed, Form form) : random_(seed), form_(form) {}

    Value value(int depth = 0) {
        switch (below(depth < 5 ? 9 : 7)) {
            case 0:
                return form_ == Form::binary ? Value() : Value(true);
            case 1:
                return Value(below(2) == 0);
            case 2:
                return integer(random_() >> below(64));
            case 3:
                return real();
            case 4:
                return string();
            case 5:
                return Data::copying(std::string(below(40), static_cast<char>(below(256))));
            case 6:
                return Date{static_cast<double>(below(1000000000)) + (form_ == Form::binary ? 0.5 : 0)};
            case 7:
                return array(depth);
            default:
                return dictionary(depth);
        }
    }

private:
    std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

    Value integer(std::uint64_t magnitude) {
        return Value(static_cast<std::int64_t>(below(2) == 0 ? magnitude : 0 - magnitude));
    }

    Value real() {
        switch (below(8)) {
            case 0:
                return Value(std::numeric_limits<double>::infinity());
            case 1:
                return Value(-0.0);
            case 2:
                return Value(std::numeric_limits<double>::denorm_min());
            default:
                return Value(std::ldexp(static_cast<double>(random_()), static_cast<int>(below(200)) - 100));
        }
    }

    std::u16string string() {
        std::u16string result;
        for (std::uint64_t i = below(30); i > 0; --i) {
            auto unit = static_cast<char16_t>(random_() >> (below(2) == 0 ? 0 : 9));
            if (form_ == Form::xml && (unit < 0x20 || unit >= 0xFFFE || (unit & 0xF800) == 0xD800)) unit = u'\r';
            result += unit;
        }
        return result;
    }

    Value array(int depth) {
        Array result;
        for (std::uint64_t i = below(8); i > 0; --i)
            result.push_back(value(depth + 1));
        return result;
    }

    Value dictionary(int depth) {
        Dictionary result;
        for (std::uint64_t i = below(30); i > 0; --i)
            result.set(string(), value(depth + 1));
        return result;
    }

    std::mt19937_64 random_;
    Form form_;
};

class RoundTrip : public testing::TestWithParam<Form> {};

TEST_P(RoundTrip, GivesAnEqualValueInTheSameOrder) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        const Value value = RandomValues(seed, GetParam()).value();
        const auto data = GetParam() == Form::xml ? xmlPropertyList(value) : binaryPropertyList(value);
        ASSERT_TRUE(data) << seed;
        PropertyListError error;
        const auto again = propertyListFromData(*data, &error);
        ASSERT_TRUE(again) << seed << ": " << error.description();
        EXPECT_EQ(*again, value) << seed;
        // Equality does not see the order of keys; the bytes do.
        EXPECT_EQ(GetParam() == Form::xml ? xmlPropertyList(*again) : binaryPropertyList(*again), data) << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, RoundTrip, testing::Values(Form::xml, Form::binary),
                         [](const auto& instance) { return instance.param == Form::xml ? "xml" : "binary"; });

}  // namespace
}  // namespace halden
