// The items of any document: fields are trimmed, dates agree with their text, the address of the feed changes nothing
// but links, and items come only from feeds.
#include "foundation/Characters.h"
#include "foundation/DateText.h"
#include "foundation/Unicode.h"
#include "markup/Feeds.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

bool isWhite(char16_t unit) {
    return whiteCharacterSetRep().contains(unit);
}

const std::u16string& stringOf(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    require(value != nullptr && value->is<std::u16string>());
    return *value->as<std::u16string>();
}

void checkItem(const Dictionary& item) {
    for (const std::u16string_view key : {u"title", u"description", u"content", u"author", u"date"}) {
        const std::u16string& text = stringOf(item, key);
        require(text.empty() || (!isWhite(text.front()) && !isWhite(text.back())));
    }
    static_cast<void>(stringOf(item, u"link"));
    require((item.find(u"calendarDate") != nullptr) == dateFromString(stringOf(item, u"date")).has_value());
    require(stringOf(item, u"description") != u"Array");
    if (const Value* tags = item.find(u"tags")) {
        for (const Value& tag : *tags->as<Array>())
            require(tag.is<std::u16string>());
        require(!tags->as<Array>()->empty());
    }
    if (const Value* enclosures = item.find(u"enclosures")) {
        for (const Value& enclosure : *enclosures->as<Array>())
            static_cast<void>(stringOf(*enclosure.as<Dictionary>(), u"url"));
        require(!enclosures->as<Array>()->empty());
    }
    // An item that says something only in a field that is looked at is not empty.
    static_cast<void>(isEmptyFeedItem(item));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::u16string document = utf16FromUtf8({reinterpret_cast<const char*>(bytes), size});
    static const auto kAddress = URLWithNormalizedStringURL(u"http://host.org/folder/feed?x=1");
    std::vector<Dictionary> items = getItemsOfFeed(document);
    std::vector<Dictionary> resolved = getItemsOfFeed(document, kAddress);
    require(items.size() == resolved.size());
    require(items.size() * 6 <= document.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        checkItem(items[i]);
        resolved[i].set(u"link", Value(stringOf(items[i], u"link")));
        require(items[i] == resolved[i]);
    }
    bool complete = false;
    const bool found = isFeedComplete(document, &complete);
    require(!complete || found);
    require(found == isFeed(document));
    return 0;
}
