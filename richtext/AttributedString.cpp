#include "richtext/AttributedString.h"

#include <algorithm>
#include <utility>

namespace halden {
namespace {

/// The run that holds `position`.
template <class Run>
typename std::vector<Run>::const_iterator runAt(const std::vector<Run>& runs, std::size_t position) {
    return std::ranges::upper_bound(runs, position, {}, &Run::end);
}

template <class Run>
void appendRuns(std::vector<Run>& runs, const std::vector<Run>& others, std::size_t offset) {
    for (const Run& other : others) {
        if (!runs.empty() && runs.back().attributes == other.attributes) {
            runs.back().end = offset + other.end;
        } else {
            runs.push_back({offset + other.end, other.attributes});
        }
    }
}

template <class Run>
std::vector<Run> runsWithin(const std::vector<Run>& runs, std::size_t start, std::size_t end) {
    std::vector<Run> within;
    for (auto run = runAt(runs, start); start < end && run != runs.end(); ++run) {
        within.push_back({std::min(run->end, end) - start, run->attributes});
        if (run->end >= end) break;
    }
    return within;
}

/// Whether runs give equal attributes to every unit, however they are cut.
template <class Run>
bool haveEqualAttributes(const std::vector<Run>& a, const std::vector<Run>& b) {
    for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
        if (a[i].attributes != b[j].attributes && *a[i].attributes != *b[j].attributes) return false;
        const std::size_t end = std::min(a[i].end, b[j].end);
        if (a[i].end == end) ++i;
        if (b[j].end == end) ++j;
    }
    return true;
}

}  // namespace

AttributedString::AttributedString() : parts_(std::make_shared<Parts>()) {}

AttributedString::AttributedString(std::u16string text, CharacterAttributes characters, ParagraphAttributes paragraphs)
    : parts_(std::make_shared<Parts>()) {
    parts_->text = std::move(text);
    if (parts_->text.empty()) return;
    const std::size_t end = parts_->text.size();
    parts_->characterRuns.push_back({end, std::make_shared<const CharacterAttributes>(std::move(characters))});
    parts_->paragraphRuns.push_back({end, std::make_shared<const ParagraphAttributes>(std::move(paragraphs))});
}

AttributedString::AttributedString(Parts parts) : parts_(std::make_shared<Parts>(std::move(parts))) {}

std::u16string_view AttributedString::string() const noexcept {
    return parts_->text;
}

std::span<const AttributedString::CharacterRun> AttributedString::characterRuns() const noexcept {
    return parts_->characterRuns;
}

std::span<const AttributedString::ParagraphRun> AttributedString::paragraphRuns() const noexcept {
    return parts_->paragraphRuns;
}

std::span<const AttributedString::AttachmentPlace> AttributedString::attachments() const noexcept {
    return parts_->attachments;
}

const CharacterAttributes& AttributedString::characterAttributesAt(std::size_t position) const {
    return *runAt(parts_->characterRuns, position)->attributes;
}

const ParagraphAttributes& AttributedString::paragraphAttributesAt(std::size_t position) const {
    return *runAt(parts_->paragraphRuns, position)->attributes;
}

const Attachment* AttributedString::attachmentAt(std::size_t position) const noexcept {
    const auto place = std::ranges::lower_bound(parts_->attachments, position, {}, &AttachmentPlace::position);
    return place != parts_->attachments.end() && place->position == position ? place->attachment.get() : nullptr;
}

void AttributedString::append(const AttributedString& other) {
    const std::shared_ptr<Parts> added = other.parts_;  // keeps it, should it be this string's own
    if (parts_.use_count() != 1) parts_ = std::make_shared<Parts>(*parts_);
    const std::size_t offset = parts_->text.size();
    parts_->text += added->text;
    appendRuns(parts_->characterRuns, added->characterRuns, offset);
    appendRuns(parts_->paragraphRuns, added->paragraphRuns, offset);
    for (const AttachmentPlace& place : added->attachments) {
        parts_->attachments.push_back({offset + place.position, place.attachment});
    }
}

AttributedString AttributedString::substring(std::size_t position, std::size_t length) const {
    const std::size_t start = std::min(position, parts_->text.size());
    const std::size_t end = start + std::min(length, parts_->text.size() - start);
    if (start == 0 && end == parts_->text.size()) return *this;
    Parts parts;
    parts.text = parts_->text.substr(start, end - start);
    parts.characterRuns = runsWithin(parts_->characterRuns, start, end);
    parts.paragraphRuns = runsWithin(parts_->paragraphRuns, start, end);
    for (const AttachmentPlace& place : parts_->attachments) {
        if (place.position >= start && place.position < end) {
            parts.attachments.push_back({place.position - start, place.attachment});
        }
    }
    return AttributedString(std::move(parts));
}

bool operator==(const AttributedString& a, const AttributedString& b) {
    if (a.parts_ == b.parts_) return true;
    const auto samePlace = [](const auto& x, const auto& y) {
        return x.position == y.position && (x.attachment == y.attachment || *x.attachment == *y.attachment);
    };
    return a.parts_->text == b.parts_->text && haveEqualAttributes(a.parts_->characterRuns, b.parts_->characterRuns) &&
           haveEqualAttributes(a.parts_->paragraphRuns, b.parts_->paragraphRuns) &&
           std::ranges::equal(a.parts_->attachments, b.parts_->attachments, samePlace);
}

}  // namespace halden
