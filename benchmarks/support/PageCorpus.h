// Real pages to measure on, when there is a folder of them: $QUARRY_CORPUS/html-pages, with every .html and .htm file
// in it and below it. Without it, pages made here.
#pragma once

#include <string>
#include <vector>

namespace halden::benchmarks {

/// A page, as bytes and as UTF-16 (read as UTF-8, with U+FFFD for what is none).
struct Page {
    std::string name;
    std::string bytes;
    std::u16string text;
};

/// The pages by name, read once.
[[nodiscard]] const std::vector<Page>& pageCorpus();

/// The texts of all pages, one after the other.
[[nodiscard]] const std::u16string& wholePageCorpus();

}  // namespace halden::benchmarks
