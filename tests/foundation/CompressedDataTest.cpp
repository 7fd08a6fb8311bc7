#include "foundation/CompressedData.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string_view>
#include <vector>

namespace halden {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// Text-like or random bytes.
Bytes sample(std::size_t length, unsigned letters, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(length);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random() % letters);
    return bytes;
}

Bytes copied(const std::optional<Data>& data) {
    return data ? Bytes(data->span().begin(), data->span().end()) : Bytes();
}

TEST(CompressedData, ComesBack) {
    for (const std::size_t length : {1U, 2U, 100U, 16383U, 16384U, 16385U, 300000U}) {
        for (const unsigned letters : {1U, 20U, 256U}) {
            const Bytes bytes = sample(length, letters, static_cast<unsigned>(length));
            for (const int level : {-1, 1, 6, 9}) {
                for (const auto format : {CompressionFormat::zlib, CompressionFormat::gzip}) {
                    const auto compressed = dataByCompressingBytes(bytes, level, format);
                    ASSERT_TRUE(compressed);
                    ASSERT_EQ(compressed->bytes()[0], format == CompressionFormat::gzip ? 0x1F : 0x78);
                    ASSERT_EQ(copied(dataByInflatingData(*compressed)), bytes) << length << " " << letters;
                }
            }
        }
    }
}

TEST(CompressedData, LevelsAreCappedAndNeverNone) {
    const Bytes bytes = sample(5000, 20, 1);
    const auto at = [&](int level) { return copied(dataByGzippingBytes(bytes, level)); };
    EXPECT_EQ(at(0), at(1));
    EXPECT_EQ(at(-2), at(1));
    EXPECT_EQ(at(10), at(9));
    EXPECT_EQ(at(1000), at(9));
    EXPECT_EQ(at(-1), at(6));
    EXPECT_NE(at(1), at(9));
}

TEST(CompressedData, RefusesNothing) {
    EXPECT_EQ(dataByDeflatingBytes({}), std::nullopt);
    EXPECT_EQ(dataByGzippingData(Data()), std::nullopt);
    EXPECT_EQ(dataByInflatingData(Data()), std::nullopt);
    Bytes receiver{1, 2};
    EXPECT_FALSE(setDataByInflatingBytes(receiver, {}));
    EXPECT_EQ(receiver, (Bytes{1, 2}));
    // The length is looked at before the bytes are.
    const std::uint8_t one = 0x78;
    const std::span<const std::uint8_t> claimed(&one, std::size_t{5} << 30);
    EXPECT_FALSE(setDataByInflatingBytes(receiver, claimed));
    EXPECT_EQ(receiver, (Bytes{1, 2}));
    EXPECT_EQ(dataByGzippingBytes(claimed), std::nullopt);
}

TEST(CompressedData, EndsWhereItsInputDoes) {
    const Bytes bytes = sample(40000, 30, 7);
    for (const auto format : {CompressionFormat::zlib, CompressionFormat::gzip}) {
        Bytes compressed = copied(dataByCompressingBytes(bytes, -1, format));
        Bytes receiver;
        for (std::size_t length = 1; length < compressed.size(); length += 1 + length / 7) {
            EXPECT_FALSE(setDataByInflatingBytes(receiver, std::span(compressed).first(length)));
            EXPECT_TRUE(std::equal(receiver.begin(), receiver.end(), bytes.begin()));
        }
        compressed.push_back(0);
        EXPECT_FALSE(setDataByInflatingBytes(receiver, compressed));
        EXPECT_EQ(receiver, bytes);  // what came out stays
        EXPECT_EQ(dataByInflatingBytes(compressed), std::nullopt);
    }
}

TEST(CompressedData, NeverTakesDamageForContents) {
    const Bytes bytes = sample(3000, 40, 9);
    const Bytes compressed = copied(dataByDeflatingBytes(bytes));
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        Bytes damaged = compressed;
        damaged[random() % damaged.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
        const auto inflated = dataByInflatingBytes(damaged);
        // Some bits of the header mean nothing to the contents.
        if (inflated) {
            EXPECT_EQ(copied(inflated), bytes);
        }
    }
}

TEST(CompressedData, WithADictionaryIsRefused) {
    const Bytes bytes = bytesOf("the words of the dictionary, the words");
    const Bytes dictionary = bytesOf("the words of the dictionary");
    z_stream stream{};
    ASSERT_EQ(deflateInit(&stream, 6), Z_OK);
    ASSERT_EQ(deflateSetDictionary(&stream, dictionary.data(), static_cast<uInt>(dictionary.size())), Z_OK);
    Bytes compressed(200);
    stream.next_in = const_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = compressed.data();
    stream.avail_out = static_cast<uInt>(compressed.size());
    ASSERT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    compressed.resize(stream.total_out);
    deflateEnd(&stream);
    EXPECT_EQ(dataByInflatingBytes(compressed), std::nullopt);
}

TEST(CompressedData, StopsAtTheLimit) {
    const Bytes compressed = copied(dataByGzippingBytes(Bytes(50U << 20), 9));
    EXPECT_LT(compressed.size(), 100000U);
    Bytes receiver;
    EXPECT_FALSE(setDataByInflatingBytes(receiver, compressed, 1U << 20));
    EXPECT_LE(receiver.size(), (1U << 20) + 16384);
    EXPECT_FALSE(setDataByInflatingBytes(receiver, compressed, (50U << 20) - 1));
    EXPECT_TRUE(setDataByInflatingBytes(receiver, compressed, 50U << 20));
}

// Real streams, sound and damaged, where there is a folder of them: whatever our steps make of one, zlib at once makes
// of it too.
TEST(CompressedData, OfTheCorpusIsAsZlibHasIt) {
    const char* corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "no corpus";
    Bytes room(64U << 20);
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::filesystem::path(corpus) / "compress")) {
        if (!entry.is_regular_file()) continue;
        const auto data = Data::contentsOfFile(entry.path());
        if (!data || data->empty()) continue;
        z_stream stream{};
        ASSERT_EQ(inflateInit2(&stream, 15 + 32), Z_OK);
        stream.next_in = const_cast<Bytef*>(data->bytes());
        stream.avail_in = static_cast<uInt>(data->length());
        stream.next_out = room.data();
        stream.avail_out = static_cast<uInt>(room.size());
        const bool sound = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0;
        const Bytes whole(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(stream.total_out));
        inflateEnd(&stream);
        Bytes receiver;
        EXPECT_EQ(setDataByInflating(receiver, *data), sound) << entry.path();
        EXPECT_EQ(receiver, whole) << entry.path();
    }
}

}  // namespace
}  // namespace halden
