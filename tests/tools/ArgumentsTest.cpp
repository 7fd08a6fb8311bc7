#include "tools/Arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quarry::tools {
namespace {

using Words = std::vector<std::string>;

Invocation parsed(const Words& words) {
    Parsed result = parseArguments(words);
    if (const auto* error = std::get_if<UsageError>(&result)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<Invocation>(std::move(result));
}

TEST(Arguments, DocumentOptionsStandBeforeOrAfterTheCommand) {
    const Invocation before = parsed({"--timeout", "2.5", "--memory=64M", "metadata", "a"});
    EXPECT_EQ(before.document.timeout, 2.5);
    EXPECT_EQ(before.document.memory, 64u << 20);
    EXPECT_FALSE(before.document.shared);
    const Invocation after = parsed({"--timeout", "2.5", "supports", "a", "--shared", "b", "--timeout=7"});
    EXPECT_EQ(after.document.timeout, 7);  // the last one counts
    EXPECT_TRUE(after.document.shared);
    EXPECT_EQ(after.files, (Words{"a", "b"}));
}

// Words that mean something to the parser or to the shell of another command are files like any other.
TEST(Arguments, FilesAreTakenAsTheyAre) {
    const Words files{"doctor", "metadata", "++",       "{}", "[a,b]", "%%",    "",
                      "-",      "a=b",      "\xff\xfe", "-x", "--",    "--help"};
    Words words{"metadata", "--data", "base64"};
    words.insert(words.end(), files.begin(), files.begin() + 10);
    words.push_back("--");
    words.insert(words.end(), files.begin() + 10, files.end());
    const Invocation invocation = parsed(words);
    EXPECT_EQ(invocation.files, files);
    EXPECT_EQ(invocation.data, halden::JsonData::base64);
}

TEST(Arguments, TheOutputStandsBeforeOrAfterTheFile) {
    EXPECT_EQ(parsed({"richtext", "-o", "b c.rtfd", "a"}).output, "b c.rtfd");
    const Invocation after = parsed({"write-rtfd", "a", "-o", "\xff.rtfd"});
    EXPECT_EQ(after.output, "\xff.rtfd");
    EXPECT_EQ(after.files, (Words{"a"}));
    EXPECT_EQ(parsed({"richtext", "--", "-o"}).files, (Words{"-o"}));
}

TEST(Arguments, WhatIsWrongIsAUsageError) {
    const std::vector<Words> wrong{
        {},
        {"--"},
        {"convert", "a"},
        {"--colour", "metadata", "a"},
        {"metadata"},
        {"metadata", "--"},
        {"metadata", "-x", "a"},
        {"metadata", "--time", "3", "a"},
        {"metadata", "--timeout"},
        {"metadata", "--timeout", "", "a"},
        {"metadata", "--timeout", "soon", "a"},
        {"metadata", "--timeout", "-1", "a"},
        {"metadata", "--timeout", "nan", "a"},
        {"metadata", "--timeout", "inf", "a"},
        {"metadata", "--timeout", "3s", "a"},
        {"metadata", "--timeout", "1e9", "a"},
        {"metadata", "--memory", "0", "a"},
        {"metadata", "--memory", "1X", "a"},
        {"metadata", "--shared", "--memory", "1G", "a"},
        {"metadata", "--shared=no", "a"},
        {"metadata", "--data", "hex", "a"},
        {"metadata", "--json", "a"},
        {"supports", "--data", "base64", "a"},
        {"richtext"},
        {"richtext", "a", "b"},
        {"richtext", "a", "-o"},
        {"richtext", "a", "-o", ""},
        {"write-rtfd", "a", "b", "-o", "c"},
        {"write-rtfd", "--data", "base64", "a"},
        {"importers", "a"},
        {"importers", "--timeout", "3"},
        {"--timeout", "3", "doctor"},
        {"--generate", "html"},
    };
    for (const Words& words : wrong) {
        EXPECT_TRUE(std::holds_alternative<UsageError>(parseArguments(words)))
            << "not refused: " << ::testing::PrintToString(words);
    }
}

TEST(Sizes, AreReadAndShown) {
    struct Case {
        const char* text;
        std::optional<std::uint64_t> bytes;
    };
    const Case cases[] = {
        {"1", 1},
        {"1000000", 1000000},
        {"512M", 512ull << 20},
        {"1.5g", 3ull << 29},
        {"64KiB", 65536},
        {"64kb", 65536},
        {"2T", 2ull << 40},
        {"10B", 10},
        {"0", {}},
        {"-1", {}},
        {"", {}},
        {"M", {}},
        {"1Mi", {}},
        {"1MiBs", {}},
        {" 1", {}},
        {"1 M", {}},
        {"99999999T", {}},
        {"nan", {}},
        {"inf", {}},
        {"1iB", {}},
        {"0x10", {}},
        {"1e6", {}},
        {"0.5", {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(bytesFromSize(c.text), c.bytes) << c.text;
    }
    EXPECT_EQ(sizeFromBytes(1023), "1023");
    EXPECT_EQ(sizeFromBytes(3ull << 29), "1.5G");
    EXPECT_EQ(sizeFromBytes(5000ull << 40), "5000.0T");
}

}  // namespace
}  // namespace quarry::tools
