#include "foundation/Value.h"

#include <algorithm>

namespace halden {
namespace {

// Below this, comparing keys one after the other beats hashing.
constexpr std::size_t kIndexThreshold = 16;
constexpr std::size_t kNotFound = SIZE_MAX;

std::size_t hashOf(std::u16string_view key) noexcept {
    return std::hash<std::u16string_view>{}(key);
}

}  // namespace

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<DictionaryEntry> entries) {
    entries_.reserve(entries.size());
    for (const auto& entry : entries)
        set(entry.key, entry.value);
}

std::size_t Dictionary::size() const noexcept {
    return entries_.size();
}

std::size_t Dictionary::indexOf(std::u16string_view key) const noexcept {
    if (index_.empty()) {
        const auto hasKey = [key](const DictionaryEntry& entry) { return entry.key == key; };
        const auto found = std::find_if(entries_.begin(), entries_.end(), hasKey);
        return found == entries_.end() ? kNotFound : static_cast<std::size_t>(found - entries_.begin());
    }
    auto [first, last] = index_.equal_range(hashOf(key));
    for (; first != last; ++first) {
        if (entries_[first->second].key == key) return first->second;
    }
    return kNotFound;
}

void Dictionary::rebuildIndex() {
    index_.clear();
    if (entries_.size() <= kIndexThreshold) return;
    index_.reserve(entries_.size());
    for (std::size_t place = 0; place < entries_.size(); ++place)
        index_.emplace(hashOf(entries_[place].key), place);
}

void Dictionary::set(std::u16string key, Value value) {
    if (const std::size_t place = indexOf(key); place != kNotFound) {
        entries_[place].value = std::move(value);
        return;
    }
    entries_.push_back({std::move(key), std::move(value)});
    if (!index_.empty()) {
        index_.emplace(hashOf(entries_.back().key), entries_.size() - 1);
    } else if (entries_.size() > kIndexThreshold) {
        rebuildIndex();
    }
}

bool Dictionary::remove(std::u16string_view key) {
    const std::size_t place = indexOf(key);
    if (place == kNotFound) return false;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(place));
    rebuildIndex();
    return true;
}

void Dictionary::removeIf(bool (*shouldRemove)(const Value&)) {
    const auto removed =
        std::erase_if(entries_, [shouldRemove](const DictionaryEntry& entry) { return shouldRemove(entry.value); });
    if (removed > 0) rebuildIndex();
}

void Dictionary::clear() {
    entries_.clear();
    index_.clear();
}

const Value* Dictionary::find(std::u16string_view key) const noexcept {
    const std::size_t place = indexOf(key);
    return place == kNotFound ? nullptr : &entries_[place].value;
}

Value* Dictionary::find(std::u16string_view key) noexcept {
    const std::size_t place = indexOf(key);
    return place == kNotFound ? nullptr : &entries_[place].value;
}

Dictionary::const_iterator Dictionary::begin() const noexcept {
    return entries_.data();
}
Dictionary::const_iterator Dictionary::end() const noexcept {
    return entries_.data() + entries_.size();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
    if (a.size() != b.size()) return false;
    return std::all_of(a.begin(), a.end(), [&b](const DictionaryEntry& entry) {
        const Value* other = b.find(entry.key);
        return other != nullptr && *other == entry.value;
    });
}

}  // namespace halden
