// The items of feeds, on those below $QUARRY_CORPUS/feeds or on some made here. The peer in the same run is libmrss,
// where it is there; it has to read each of them, so only those count that it does not refuse.
#include "foundation/Unicode.h"
#include "markup/Feeds.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#if defined(QUARRY_HAS_MRSS)
#include <mrss.h>
#endif

namespace {

struct Feed {
    std::string bytes;
    std::u16string text;
};

std::string madeFeed() {
    std::string feed =
        "<?xml version=\"1.0\"?>\n<rss version=\"2.0\"><channel><title>News</title><link>http://h/</link>";
    for (int i = 0; i < 500; ++i) {
        const std::string number = std::to_string(i);
        feed += "<item><title>A title of &amp; more, " + number + "</title>\n<link>http://h.org/news/" + number +
                "</link>\n<pubDate>Thu, 01 Feb 2024 10:00:00 GMT</pubDate>\n<author>Somebody</author>\n<description>";
        for (int j = 0; j < 10; ++j)
            feed += "&lt;p&gt;Some words of a text that says something.&lt;/p&gt;\n";
        feed += "</description><category>news</category></item>\n";
    }
    return feed + "</channel></rss>";
}

#if defined(QUARRY_HAS_MRSS)
std::size_t itemsOfPeer(std::string& bytes) {
    mrss_t* feed = nullptr;
    if (mrss_parse_buffer(bytes.data(), bytes.size(), &feed) != MRSS_OK) return 0;
    std::size_t count = 0;
    for (mrss_item_t* item = feed->item; item != nullptr; item = item->next)
        ++count;
    mrss_free(feed);
    return count;
}
#endif

bool peerReads([[maybe_unused]] std::string& bytes) {
#if defined(QUARRY_HAS_MRSS)
    // libmrss 0.19.2 writes over its memory at some Atom feeds.
    return bytes.find("<feed") == std::string::npos && itemsOfPeer(bytes) > 0;
#else
    return true;
#endif
}

std::vector<Feed> readFeeds() {
    std::vector<std::string> all{madeFeed()};
    const char* corpus = std::getenv("QUARRY_CORPUS");
    const std::filesystem::path folder = std::filesystem::path(corpus != nullptr ? corpus : "") / "feeds";
    if (corpus != nullptr && std::filesystem::is_directory(folder)) {
        all.clear();
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.path().extension() != ".xml") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            all.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    std::vector<Feed> feeds;
    for (std::string& bytes : all) {
        std::u16string text = halden::utf16FromUtf8(bytes);
        if (halden::isFeed(text) && peerReads(bytes)) feeds.push_back({bytes, std::move(text)});
    }
    return feeds;
}

std::vector<Feed>& feeds() {
    static std::vector<Feed> all = readFeeds();
    return all;
}

std::vector<Feed>& largeFeed() {
    static std::vector<Feed> one = {{madeFeed(), halden::utf16FromUtf8(madeFeed())}};
    return one;
}

/// From bytes, as the peer has them.
void items(benchmark::State& state, std::vector<Feed>& of) {
    for (auto _ : state) {
        for (const Feed& feed : of)
            benchmark::DoNotOptimize(halden::getItemsOfFeed(halden::utf16FromUtf8(feed.bytes)));
    }
    state.counters["feeds"] = static_cast<double>(of.size());
}

void itemsOfCorpus(benchmark::State& state) {
    items(state, feeds());
}
void itemsOfLargeFeed(benchmark::State& state) {
    items(state, largeFeed());
}
BENCHMARK(itemsOfCorpus)->Unit(benchmark::kMicrosecond);
BENCHMARK(itemsOfLargeFeed)->Unit(benchmark::kMicrosecond);

#if defined(QUARRY_HAS_MRSS)
void peerItems(benchmark::State& state, std::vector<Feed>& of) {
    for (auto _ : state) {
        for (Feed& feed : of)
            benchmark::DoNotOptimize(itemsOfPeer(feed.bytes));
    }
}
void libmrssOfCorpus(benchmark::State& state) {
    peerItems(state, feeds());
}
void libmrssOfLargeFeed(benchmark::State& state) {
    peerItems(state, largeFeed());
}
BENCHMARK(libmrssOfCorpus)->Unit(benchmark::kMicrosecond);
BENCHMARK(libmrssOfLargeFeed)->Unit(benchmark::kMicrosecond);
#endif

}  // namespace

BENCHMARK_MAIN();
