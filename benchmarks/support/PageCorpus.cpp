#include "benchmarks/support/PageCorpus.h"

#include "foundation/Unicode.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace halden::benchmarks {
namespace {

std::string contents(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(text).str();
}

std::vector<Page> readPages(const std::filesystem::path& folder) {
    std::vector<Page> pages;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        const std::filesystem::path& path = entry.path();
        if (!entry.is_regular_file() || (path.extension() != ".html" && path.extension() != ".htm")) continue;
        std::string bytes = contents(path);
        std::u16string text = utf16FromUtf8(bytes);
        pages.push_back({std::filesystem::relative(path, folder), std::move(bytes), std::move(text)});
    }
    std::ranges::sort(pages, {}, &Page::name);
    return pages;
}

/// A page of articles: prose with links, a list and a script, in about the proportions that real ones have.
Page madePage() {
    std::string bytes = "<!DOCTYPE html>\n<html><head><meta charset=utf-8><title>Made</title></head><body>\n";
    for (int i = 0; i < 2000; ++i) {
        const std::string number = std::to_string(i);
        bytes += "<div class=\"article\" id=\"a" + number + "\"><h2><a href=\"/articles/" + number +
                 "?from=list\" title='Number " + number + "'>Article &amp; number " + number +
                 "</a></h2>\n<p>The quick brown fox jumps over the lazy dog, again &mdash; and again, caf\xC3\xA9 "
                 "by caf\xC3\xA9.</p>\n<ul><li>one</li><li>two</li></ul><!-- end -->\n"
                 "<script>if (a < b) show('" +
                 number + "');</script></div>\n";
    }
    bytes += "</body></html>\n";
    std::u16string text = utf16FromUtf8(bytes);
    return {"made", std::move(bytes), std::move(text)};
}

}  // namespace

const std::vector<Page>& pageCorpus() {
    static const std::vector<Page> pages = [] {
        const char* corpus = std::getenv("QUARRY_CORPUS");
        std::vector<Page> found;
        if (corpus != nullptr) found = readPages(std::filesystem::path(corpus) / "html-pages");
        if (found.empty()) found.push_back(madePage());
        return found;
    }();
    return pages;
}

const std::u16string& wholePageCorpus() {
    static const std::u16string whole = [] {
        std::u16string text;
        for (const Page& page : pageCorpus())
            text += page.text;
        return text;
    }();
    return whole;
}

}  // namespace halden::benchmarks
