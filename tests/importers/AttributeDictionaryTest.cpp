#include "importers/AttributeDictionary.h"

#include <gtest/gtest.h>

namespace quarry {
namespace {

using halden::Array;
using halden::Dictionary;
using halden::Value;

class AttributeDictionaryTest : public ::testing::Test {
protected:
    AttributeDictionary dictionary_;
    quarry_attributes* self_ = &dictionary_;
    const quarry_attributes_functions& table_ = *dictionary_.functions;
};

TEST_F(AttributeDictionaryTest, TheTableSaysItsSizeAndVersion) {
    EXPECT_EQ(table_.size, sizeof(quarry_attributes_functions));
    EXPECT_EQ(table_.version, 1U);
}

TEST_F(AttributeDictionaryTest, ContainersNestAndCloseInOrder) {
    table_.open_array(self_, "a");
    table_.set_integer(self_, nullptr, 1);
    table_.open_dictionary(self_, nullptr);
    table_.set_integer(self_, "k", 2);
    EXPECT_EQ(table_.count(self_), 1U);
    table_.close(self_);
    EXPECT_EQ(table_.count(self_), 2U);
    table_.close(self_);
    table_.set_bool(self_, "b", 1);
    EXPECT_EQ(dictionary_.take(), (Dictionary{{u"a", Array{1, Dictionary{{u"k", 2}}}}, {u"b", true}}));
    EXPECT_TRUE(dictionary_.take().empty());
}

TEST_F(AttributeDictionaryTest, ADictionaryNeedsKeys) {
    EXPECT_EQ(table_.set_integer(self_, nullptr, 1), 0);
    EXPECT_EQ(table_.open_array(self_, nullptr), 0);
    EXPECT_EQ(table_.close(self_), 0);
    EXPECT_EQ(table_.remove(self_, "absent"), 0);
    // Lengths that were negative numbers.
    EXPECT_EQ(table_.set_string(self_, "s", "x", static_cast<std::size_t>(-2)), 0);
    EXPECT_EQ(table_.set_data(self_, "d", "x", static_cast<std::size_t>(-1)), 0);
    EXPECT_TRUE(dictionary_.take().empty());
}

TEST_F(AttributeDictionaryTest, LookUpSeesTheInnermostDictionary) {
    table_.set_string(self_, "k", "outer", QUARRY_ZERO_TERMINATED);
    EXPECT_EQ(table_.kind_of(self_, "k"), QUARRY_STRING);
    EXPECT_EQ(table_.kind_of(self_, "other"), QUARRY_ABSENT);
    table_.open_dictionary(self_, "d");
    EXPECT_EQ(table_.kind_of(self_, "k"), QUARRY_ABSENT);
    table_.open_array(self_, "list");
    EXPECT_EQ(table_.kind_of(self_, "k"), QUARRY_ABSENT);
}

TEST_F(AttributeDictionaryTest, StringsAreCopiedOutInWholeCharacters) {
    table_.set_string(self_, "k", "a\xC3\xA9z", QUARRY_ZERO_TERMINATED);
    char buffer[8] = "xxxxxxx";
    EXPECT_EQ(table_.get_string(self_, "k", buffer, 3), 4U);
    EXPECT_STREQ(buffer, "a");
    EXPECT_EQ(table_.get_string(self_, "k", buffer, sizeof buffer), 4U);
    EXPECT_STREQ(buffer, "a\xC3\xA9z");
    EXPECT_EQ(table_.get_string(self_, "k", nullptr, 0), 4U);
    EXPECT_EQ(table_.get_string(self_, "absent", buffer, 8), SIZE_MAX);
}

}  // namespace
}  // namespace quarry
