#include "foundation/Data.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace halden {
namespace {

class DataFileTest : public ::testing::Test {
protected:
    DataFileTest() : folder_(std::filesystem::temp_directory_path() / ("quarry-data-" + std::to_string(getpid()))) {
        std::filesystem::create_directory(folder_);
    }
    ~DataFileTest() override { std::filesystem::remove_all(folder_); }

    std::string write(const std::string& name, const std::string& bytes) {
        const auto path = folder_ / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    std::filesystem::path folder_;
};

TEST(Data, SubdataIsCutToTheBytesThatExist) {
    const Data data = Data::copying("quarry");
    EXPECT_EQ(data.subdata(2, 3).view(), "arr");
    EXPECT_EQ(data.subdata(4, 100).view(), "ry");
    EXPECT_TRUE(data.subdata(7, 1).empty());
    EXPECT_TRUE(data.subdata(SIZE_MAX, SIZE_MAX).empty());
}

TEST(Data, AViewOutlivesTheDataItWasCutFrom) {
    Data tail;
    {
        const Data whole(std::vector<std::uint8_t>(1000, 7));
        tail = whole.subdata(990, 10);
    }
    EXPECT_EQ(tail, Data(std::vector<std::uint8_t>(10, 7)));
}

TEST(Data, EqualityGoesByBytes) {
    EXPECT_EQ(Data(), Data::copying(""));
    EXPECT_EQ(Data::copying("a"), Data::copying("a"));
    EXPECT_FALSE(Data::copying("a") == Data::copying("b"));
    EXPECT_FALSE(Data::copying("a") == Data::copying("ab"));
}

TEST_F(DataFileTest, ReadsAndMapsTheSameBytes) {
    const std::string bytes(10000, 'x');
    const std::string path = write("file", bytes);
    EXPECT_EQ(Data::contentsOfFile(path)->view(), bytes);
    EXPECT_EQ(Data::mappedContentsOfFile(path)->view(), bytes);
}

TEST_F(DataFileTest, TheLimitIsExact) {
    const std::string path = write("file", "12345");
    EXPECT_TRUE(Data::contentsOfFile(path, 5));
    EXPECT_FALSE(Data::contentsOfFile(path, 4));
}

TEST_F(DataFileTest, EmptyFilesAreEmptyNotMissing) {
    const std::string path = write("empty", "");
    EXPECT_TRUE(Data::contentsOfFile(path)->empty());
    EXPECT_TRUE(Data::mappedContentsOfFile(path)->empty());
}

TEST_F(DataFileTest, OnlyRegularFilesAreRead) {
    const std::string pipe = folder_ / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder_.string(), (folder_ / "missing").string()}) {
        EXPECT_FALSE(Data::contentsOfFile(path)) << path;
        EXPECT_FALSE(Data::mappedContentsOfFile(path)) << path;
    }
}

TEST(Data, FilesThatHideTheirSizeAreReadToTheEnd) {
    // Files of /proc say that they are empty.
    EXPECT_FALSE(Data::contentsOfFile("/proc/self/status")->empty());
    EXPECT_FALSE(Data::contentsOfFile("/proc/self/status", 10));
}

}  // namespace
}  // namespace halden
