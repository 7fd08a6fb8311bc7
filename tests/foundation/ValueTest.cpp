#include "foundation/Value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace halden {
namespace {

std::vector<std::u16string> keysOf(const Dictionary& dictionary) {
    std::vector<std::u16string> keys;
    for (const auto& entry : dictionary)
        keys.push_back(entry.key);
    return keys;
}

std::u16string keyNumber(int number) {
    const std::string digits = std::to_string(number);
    return u"key" + std::u16string(digits.begin(), digits.end());
}

TEST(Dictionary, KeepsTheOrderInWhichKeysWereFirstSet) {
    Dictionary dictionary{{u"b", 1}, {u"a", 2}, {u"b", 3}};
    dictionary.set(u"c", 4);
    dictionary.set(u"a", 5);
    EXPECT_EQ(keysOf(dictionary), (std::vector<std::u16string>{u"b", u"a", u"c"}));
    EXPECT_EQ(*dictionary.find(u"b"), Value(3));
    EXPECT_EQ(*dictionary.find(u"a"), Value(5));
}

// The dictionary searches small ones and hashes large ones: both must agree with a plain list at every size.
TEST(Dictionary, AgreesWithAPlainListThroughRandomChanges) {
    std::mt19937 random(20261122);
    Dictionary dictionary;
    std::vector<std::pair<std::u16string, int>> list;
    for (int step = 0; step < 4000; ++step) {
        const std::u16string key = keyNumber(static_cast<int>(random() % 60));
        const auto place = std::find_if(list.begin(), list.end(), [&](const auto& pair) { return pair.first == key; });
        if (random() % 3 == 0) {
            EXPECT_EQ(dictionary.remove(key), place != list.end());
            if (place != list.end()) list.erase(place);
        } else {
            dictionary.set(key, step);
            if (place != list.end())
                place->second = step;
            else
                list.emplace_back(key, step);
        }
        ASSERT_EQ(dictionary.size(), list.size());
        std::size_t i = 0;
        for (const auto& entry : dictionary) {
            ASSERT_EQ(entry.key, list[i].first);
            ASSERT_EQ(entry.value, Value(list[i].second));
            ASSERT_EQ(dictionary.find(entry.key), &entry.value);
            ++i;
        }
    }
}

TEST(Dictionary, RemoveIfKeepsLookUpsRight) {
    Dictionary dictionary;
    for (int i = 0; i < 100; ++i)
        dictionary.set(keyNumber(i), i % 2 == 0 ? Value() : Value(i));
    dictionary.removeIf([](const Value& value) { return value.isNull(); });
    EXPECT_EQ(dictionary.size(), 50U);
    EXPECT_FALSE(dictionary.contains(keyNumber(0)));
    EXPECT_EQ(*dictionary.find(keyNumber(99)), Value(99));
}

TEST(Dictionary, EqualityIgnoresOrder) {
    EXPECT_EQ((Dictionary{{u"a", 1}, {u"b", 2}}), (Dictionary{{u"b", 2}, {u"a", 1}}));
    EXPECT_FALSE((Dictionary{{u"a", 1}}) == (Dictionary{{u"a", 2}}));
    EXPECT_FALSE((Dictionary{{u"a", 1}}) == (Dictionary{{u"b", 1}}));
}

TEST(Value, KindsDoNotMix) {
    EXPECT_FALSE(Value(1) == Value(1.0));
    EXPECT_FALSE(Value(1) == Value(true));
    EXPECT_FALSE(Value() == Value(false));
    EXPECT_TRUE(Value(u"text").is<std::u16string>());
    EXPECT_TRUE(Value(7).is<std::int64_t>());
}

TEST(Value, CopiesAreIndependent) {
    Value original(Array{Value(1), Value(Dictionary{{u"k", u"v"}})});
    Value copy = original;
    copy.as<Array>()->at(1).as<Dictionary>()->set(u"k", u"changed");
    EXPECT_EQ(*original.as<Array>()->at(1).as<Dictionary>()->find(u"k"), Value(u"v"));
}

}  // namespace
}  // namespace halden
