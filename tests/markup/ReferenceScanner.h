// The rules of the tag scanner once more, unit by unit and in the plainest form: what the fast one is compared with.
#pragma once

#include "foundation/Characters.h"
#include "markup/TagScanner.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace halden::reference {

/// One call of a handler.
struct Call {
    TagKind kind = TagKind::end;
    std::size_t nameLocation = kNotFound;
    std::size_t nameLength = 0;
    std::size_t tagLocation = 0;
    std::size_t tagLength = 0;
    std::size_t textLocation = 0;

    friend bool operator==(const Call&, const Call&) = default;
};

class Scanner {
public:
    explicit Scanner(std::u16string_view text) : text_(text) {}

    [[nodiscard]] std::vector<Call> calls() {
        if (text_.empty()) return {};
        enum Mode { kText, kTag, kRemark, kMeta } mode = kText;
        std::size_t tagStart = 0;
        std::size_t textStart = 0;
        bool afterEquals = false;
        bool inDouble = false;
        bool inSingle = false;
        bool singleDash = false;
        std::size_t i = 0;
        while (i < text_.size()) {
            switch (text_[i]) {
                case u'<':
                    if (mode != kText) break;
                    mode = kTag;
                    tagStart = i;
                    if (i + 2 >= text_.size() || text_[i + 1] != u'!') break;
                    if (text_[i + 2] == u'[') {
                        mode = kMeta;
                        i += 3;
                        continue;
                    }
                    if (text_[i + 2] == u'-') {
                        mode = kRemark;
                        singleDash = at(i + 3) != u'-';
                        i += 3;
                        continue;
                    }
                    break;
                case u'=':
                    if (mode == kTag && !inDouble && !inSingle) afterEquals = true;
                    break;
                case u'"':
                    if (mode == kTag) quote(inDouble, inSingle, afterEquals);
                    break;
                case u'\'':
                    if (mode == kTag) quote(inSingle, inDouble, afterEquals);
                    break;
                case u'>': {
                    if (mode == kText || (mode == kTag && (inDouble || inSingle))) break;
                    if (mode == kMeta && !endsWith(i, u"]") && !endsWith(i, u"]--")) break;
                    if (mode == kRemark && !endsWith(i, singleDash ? u"-" : u"--") &&
                        (singleDash || !endsWith(i, u"--!"))) {
                        break;
                    }
                    Call call;
                    call.kind = mode == kTag ? TagKind::tag : mode == kRemark ? TagKind::remark : TagKind::meta;
                    call.tagLocation = tagStart;
                    call.textLocation = textStart;
                    if (mode == kTag) {
                        name(call, i);
                        swallow(call, i);
                    }
                    call.tagLength = i - tagStart + 1;
                    calls_.push_back(call);
                    textStart = i + 1;
                    mode = kText;
                    afterEquals = inDouble = inSingle = false;
                    break;
                }
                default:
                    break;
            }
            ++i;
        }
        if (mode == kRemark || mode == kMeta) {
            calls_.push_back({mode == kRemark ? TagKind::remark : TagKind::meta, kNotFound, 0, tagStart,
                              text_.size() - tagStart, textStart});
            textStart = text_.size();
        }
        calls_.push_back({TagKind::end, kNotFound, 0, text_.size(), 0, textStart});
        return calls_;
    }

private:
    [[nodiscard]] char16_t at(std::size_t i) const { return i < text_.size() ? text_[i] : u'\0'; }
    [[nodiscard]] bool endsWith(std::size_t i, std::u16string_view end) const {
        return text_.substr(0, i).ends_with(end);
    }

    static void quote(bool& inThis, const bool& inOther, bool& afterEquals) {
        if (inOther) return;
        if (afterEquals && !inThis) {
            inThis = true;
        } else {
            inThis = false;
        }
        afterEquals = false;
    }

    void name(Call& call, std::size_t close) const {
        std::size_t start = call.tagLocation;
        while (start <= close && !alphaCharacterSetRep().contains(text_[start]))
            ++start;
        if (start > close) return;
        std::size_t end = start;
        while (end <= close && text_[end] != u'/' && text_[end] != u'>' &&
               !whiteCharacterSetRep().contains(text_[end])) {
            ++end;
        }
        call.nameLocation = start;
        call.nameLength = end - start;
    }

    static char16_t folded(char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }

    /// The first place from `from` on, before `end`, where `word` stands.
    [[nodiscard]] std::size_t find(std::u16string_view word, std::size_t from, std::size_t end, bool fold) const {
        for (std::size_t i = from; i + word.size() <= end; ++i) {
            std::size_t k = 0;
            while (k < word.size() && (fold ? folded(text_[i + k]) : text_[i + k]) == word[k])
                ++k;
            if (k == word.size()) return i;
        }
        return kNotFound;
    }

    void swallow(const Call& call, std::size_t& i) const {
        const std::size_t length = i - call.tagLocation + 1;
        if (length < 3 || text_[call.tagLocation + 1] == u'/' || text_[i - 1] == u'/') return;
        std::u16string tagName;
        if (call.nameLength == 5 || call.nameLength == 6) {
            for (const char16_t unit : text_.substr(call.nameLocation, call.nameLength))
                tagName += folded(unit);
        }
        if (tagName != u"script" && tagName != u"style") return;
        const std::u16string endTag = u"</" + tagName;
        const std::size_t size = text_.size();
        std::size_t found = find(endTag, call.tagLocation + 1, size, true);
        if (found == kNotFound) return;
        const std::size_t comment = find(u"<!-", call.tagLocation, found, false);
        if (comment != kNotFound) {
            const std::size_t commentEnd = find(u"-->", comment, size, false);
            if (commentEnd != kNotFound) {
                const std::size_t later = find(endTag, commentEnd, size, true);
                if (later != kNotFound) found = later;
            }
        }
        i = found + endTag.size();
        while (i < size && text_[i] != u'>')
            ++i;
    }

    std::u16string_view text_;
    std::vector<Call> calls_;
};

/// The calls that a scan of `text` has to make; none for no text.
[[nodiscard]] inline std::vector<Call> calls(std::u16string_view text) {
    return Scanner(text).calls();
}

}  // namespace halden::reference
