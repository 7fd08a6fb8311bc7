// quarry feed: the items of a feed, or the feed as a page, in this process.
#include "foundation/Data.h"
#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "markup/Feeds.h"
#include "tools/Commands.h"
#include "tools/MarkupInput.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace quarry::tools {
namespace {

/// Why a page cannot contain the file; empty when it can.
std::string faultOfStyleSheet(const std::string& file) {
    if (::access(file.c_str(), R_OK) != 0) return std::strerror(errno);
    if (std::filesystem::is_directory(file)) return std::strerror(EISDIR);
    constexpr std::size_t kLargestSheet = std::size_t{16} << 20;
    const auto sheet = halden::Data::contentsOfFile(file, kLargestSheet);
    if (!sheet) return "this cannot be read, or is too large";
    return halden::strictUtf16FromUtf8(sheet->view()) ? "" : "this is no text in UTF-8";
}

/// Whether the file can be used; says what is wrong.
bool useStyleSheet(const std::string& file) {
    if (file.empty()) return true;
    if (const std::string fault = faultOfStyleSheet(file); !fault.empty()) {
        printError(fmt::format("{}: {}", shownName(file), fault));
        return false;
    }
    halden::setLinkableFeedStyleSheet(halden::stringFromPathBytes(std::filesystem::absolute(file).native()));
    return true;
}

/// As an array, one item after the other: there may be a million.
void printItems(std::vector<halden::Dictionary> items) {
    constexpr std::size_t kPortion = 65536;
    std::string lines;
    for (halden::Dictionary& item : items) {
        lines += &item == &items.front() ? "[\n  " : ",\n  ";
        for (const char unit : halden::jsonFromValue(halden::Value(std::move(item)), {.indent = 2})) {
            lines += unit;
            if (unit == '\n') lines += "  ";
        }
        if (lines.size() < kPortion) continue;
        print(lines);
        lines.clear();
    }
    print(lines + (items.empty() ? "[]\n" : "\n]\n"));
}

}  // namespace

Status feedCommand(const Invocation& invocation) {
    if (!useStyleSheet(invocation.markup.styleSheet)) return Status::none;
    auto feed = markupOfFile(invocation.files.front());
    const bool isFeed = feed && halden::isFeed(*feed);
    if (feed && !isFeed) printError(fmt::format("{}: this is no feed", shownName(invocation.files.front())));
    if (!isFeed) {
        if (!invocation.markup.html) print("null\n");
        return Status::none;
    }
    const auto url = halden::URLWithNormalizedStringURL(halden::utf16FromUtf8(invocation.markup.url));
    if (invocation.markup.html) {
        const auto page =
            halden::stringByConvertingFeedToDisplayHTML(*std::move(feed), url, halden::StyleSheet::inlined);
        print(halden::utf8FromUtf16(page) + "\n");
    } else {
        std::vector<halden::Dictionary> items = halden::getItemsOfFeed(*feed, url);
        feed.reset();
        printItems(std::move(items));
    }
    return Status::result;
}

}  // namespace quarry::tools
