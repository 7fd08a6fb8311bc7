#include "foundation/UrlParameters.h"

#include "foundation/CharacterComparison.h"
#include "foundation/SessionParameters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace halden {
namespace {

constexpr auto kNone = std::u16string_view::npos;

constexpr bool isSeparator(char16_t unit) {
    return unit == u'&' || unit == u';' || unit == u'?';
}

/// Whether `unit` ends a parameter that starts behind `separator`.
constexpr bool endsParameter(char16_t unit, char16_t separator) {
    return isSeparator(unit) && (unit != u';' || separator == u';');
}

std::size_t findNoCase(std::u16string_view string, std::u16string_view needle) {
    const char16_t* place = fastCaseInsensitiveContainsUnichars(string, needle);
    return place == nullptr ? kNone : static_cast<std::size_t>(place - string.data());
}

// --- Removal by position -------------------------------------------------------------------------------------------

/// A string under deletion from left to right: what is kept moves to the front only once. Between the kept units and
/// the unread ones lies a gap of deleted ones.
class Eraser {
public:
    explicit Eraser(std::u16string& string) : string_(string) {}
    ~Eraser() { string_.erase(kept_, unread_ - kept_); }
    Eraser(const Eraser&) = delete;
    Eraser& operator=(const Eraser&) = delete;

    [[nodiscard]] std::u16string_view unread() const { return std::u16string_view(string_).substr(unread_); }

    /// The unit before that index of the unread part; 0 when there is none.
    [[nodiscard]] char16_t unitBefore(std::size_t index) const {
        if (index > 0) return string_[unread_ + index - 1];
        return kept_ > 0 ? string_[kept_ - 1] : u'\0';
    }

    /// Removes the parameter at that index of the unread part, behind its separator. Gives false when this removed
    /// everything up to the end.
    bool removeParameter(std::size_t index) {
        const char16_t separator = unitBefore(index);
        keep(index);
        const std::u16string_view rest = unread();
        const auto end = std::ranges::find_if(rest, [&](char16_t unit) { return endsParameter(unit, separator); });
        if (end != rest.end() && end + 1 != rest.end()) {
            unread_ += static_cast<std::size_t>(end - rest.begin()) + 1;
            return true;
        }
        --kept_;
        unread_ = string_.size();
        return false;
    }

    /// Makes up to that many of the kept units unread again.
    void goBack(std::size_t count) {
        count = std::min(count, kept_);
        kept_ -= count;
        unread_ -= count;
        if (unread_ != kept_) std::char_traits<char16_t>::move(&string_[unread_], &string_[kept_], count);
    }

private:
    void keep(std::size_t count) {
        if (unread_ != kept_) std::char_traits<char16_t>::move(&string_[kept_], &string_[unread_], count);
        kept_ += count;
        unread_ += count;
    }

    std::u16string& string_;
    std::size_t kept_ = 0;
    std::size_t unread_ = 0;
};

// --- Tracking parameters -------------------------------------------------------------------------------------------

constexpr std::array<std::u16string_view, 6> kTrackingNames{u"utm_source=", u"utm_medium=",  u"utm_campaign=",
                                                            u"utm_term=",   u"utm_content=", u"utm_nooverride="};

/// Whether "utm_" occurs, ignoring case. Underscores are rare, so that is what is looked for.
bool mentionsTracking(std::u16string_view url) {
    for (std::size_t i = url.find(u'_', 3); i != kNone; i = url.find(u'_', i + 1)) {
        if (toUpper(url[i - 1]) == u'M' && toUpper(url[i - 2]) == u'T' && toUpper(url[i - 3]) == u'U') return true;
    }
    return false;
}

/// The removal of tracking parameters. The string is cut before every separator: as the names hold none, a name is
/// always found within one piece, pieces only ever vanish, and the first place of a name only ever moves on.
class TrackingRemover {
public:
    explicit TrackingRemover(std::u16string_view url) {
        std::size_t start = 0;
        for (std::size_t i = 0; i < url.size(); ++i) {
            if (!isSeparator(url[i])) continue;
            add(url.substr(start, i - start));
            start = i;
        }
        add(url.substr(start));
    }

    void removeAll() {
        for (std::size_t name = 0; name < kTrackingNames.size();) {
            const auto piece = findQualifying(name);
            if (piece == kNone) {
                ++name;
            } else {
                remove(piece);
                name = 0;
            }
        }
    }

    [[nodiscard]] std::u16string string() const {
        std::u16string result;
        for (const Piece& piece : pieces_) {
            if (piece.isRemoved) continue;
            if (piece.separator != 0) result += piece.separator;
            result += piece.text;
        }
        return result;
    }

private:
    struct Piece {
        char16_t separator = 0;  // 0 for a first piece that has none
        std::u16string_view text;
        bool isRemoved = false;
    };

    void add(std::u16string_view piece) {
        if (!piece.empty() && isSeparator(piece.front())) {
            pieces_.push_back({.separator = piece.front(), .text = piece.substr(1)});
        } else {
            pieces_.push_back({.text = piece});
        }
    }

    /// The first piece in which a name occurs.
    struct First {
        std::size_t piece = 0;  // no piece before it holds the name
        bool isFound = false;   // in this piece
        bool qualifies = false;
    };

    /// The piece in which the name first occurs, when it stands right behind the separator.
    std::size_t findQualifying(std::size_t name) {
        First& first = firsts_[name];
        for (; first.piece < pieces_.size(); ++first.piece, first.isFound = false) {
            const Piece& piece = pieces_[first.piece];
            if (piece.isRemoved) continue;
            if (!first.isFound) {  // or else it still is
                const std::size_t place = findNoCase(piece.text, kTrackingNames[name]);
                first.isFound = place != kNone;
                first.qualifies = place == 0 && piece.separator != 0;
            }
            if (first.isFound) return first.qualifies ? first.piece : kNone;
        }
        return kNone;
    }

    void remove(std::size_t first) {
        const char16_t separator = pieces_[first].separator;
        std::size_t next = first + 1;
        for (; next < pieces_.size(); ++next) {
            if (!pieces_[next].isRemoved && endsParameter(pieces_[next].separator, separator)) break;
        }
        // The last piece is never a removed one, so that it ends the string.
        if (next >= pieces_.size() || (next + 1 == pieces_.size() && pieces_[next].text.empty())) {
            pieces_.resize(first);
            while (!pieces_.empty() && pieces_.back().isRemoved)
                pieces_.pop_back();
            return;
        }
        for (std::size_t i = first; i < next; ++i)
            pieces_[i].isRemoved = true;
        pieces_[next].separator = separator;
    }

    std::vector<Piece> pieces_;
    std::array<First, kTrackingNames.size()> firsts_{};
};

// --- Session identifiers -------------------------------------------------------------------------------------------

constexpr char16_t lowerAscii(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

/// For each ASCII character the lengths (bit n for n units) of names that begin with it.
constexpr auto kLengthsByFirst = [] {
    std::array<std::uint32_t, 128> lengths{};
    for (const SessionParameter& row : kSessionParameters) {
        const std::uint32_t length = std::uint32_t{1} << row.name.size();
        lengths[row.name.front()] |= row.isPrefix ? ~(length - 1) : length;
    }
    return lengths;
}();

/// The name of the parameter that `rest` begins with; empty when it has no "=".
std::u16string_view nameAtStart(std::u16string_view rest) {
    const auto end = std::ranges::find_if(rest, [](char16_t unit) { return unit == u'=' || isSeparator(unit); });
    if (end == rest.end() || *end != u'=') return {};
    return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
}

}  // namespace

bool isSessionParameter(std::u16string_view name) noexcept {
    constexpr std::size_t kLongest = 31;  // beyond it a name can only be one with a prefix of the table's
    static_assert(std::ranges::all_of(kSessionParameters, [](const auto& row) { return row.name.size() < kLongest; }));
    if (name.empty() || name.front() >= 128) return false;
    const std::uint32_t lengths = kLengthsByFirst[lowerAscii(name.front())];
    if (((lengths >> std::min(name.size(), kLongest)) & 1) == 0) return false;
    return std::ranges::any_of(kSessionParameters, [name](const SessionParameter& row) {
        if (row.isPrefix ? name.size() < row.name.size() : name.size() != row.name.size()) return false;
        return std::ranges::equal(name.substr(0, row.name.size()), row.name, {}, lowerAscii);
    });
}

void removeSessionIDs(std::u16string& url) {
    std::size_t index = 0;
    Eraser eraser(url);
    while (true) {
        const std::u16string_view rest = eraser.unread();
        if (isSeparator(eraser.unitBefore(index)) && isSessionParameter(nameAtStart(rest.substr(index)))) {
            if (!eraser.removeParameter(index)) return;
            index = 0;
            continue;
        }
        while (index < rest.size() && !isSeparator(rest[index]))
            ++index;
        if (index++ >= rest.size()) return;
    }
}

void removeAnalytics(std::u16string& url) {
    if (!mentionsTracking(url)) return;
    TrackingRemover remover(url);
    remover.removeAll();
    url = remover.string();
}

void removeQueryParam(std::u16string& url, std::u16string_view parameter) {
    // A deletion joins what stands on both sides. Only a parameter that holds a separator itself can begin before it.
    const std::size_t overlap = std::ranges::any_of(parameter, isSeparator) ? parameter.size() - 1 : 0;
    Eraser eraser(url);
    while (true) {
        const std::size_t index = findNoCase(eraser.unread(), parameter);
        if (index == kNone || !isSeparator(eraser.unitBefore(index))) return;
        if (!eraser.removeParameter(index)) return;
        eraser.goBack(overlap);
    }
}

namespace {

/// Whether any "=" is followed by nothing, or by what can follow an empty parameter.
bool hasEmptyParam(std::u16string_view url) {
    for (std::size_t i = url.find(u'='); i != kNone; i = url.find(u'=', i + 1)) {
        if (i + 1 == url.size() || url[i + 1] == 0 || isSeparator(url[i + 1])) return true;
    }
    return false;
}

void removeParamsWithoutValue(std::u16string& url) {
    const std::size_t length = url.size();
    std::size_t written = 0;
    for (std::size_t read = 0; read < length;) {
        const char16_t unit = url[written++] = url[read++];
        if (unit != u'=' || written < 2) continue;
        if (read < length && url[read] != 0 && !isSeparator(url[read])) continue;

        const std::size_t equals = written - 1;
        std::size_t start = equals - 1;  // behind the separator, if there is one; at least one unit is the name
        while (start > 0 && !isSeparator(url[start - 1]) && url[start - 1] != u'=')
            --start;
        if (start == 0 || url[start - 1] == u'=') continue;
        if (read == length) {
            written = start - 1;
            break;
        }
        written = start;
        ++read;
        // What moves to the places up to that of the "=" is not looked at.
        while (written <= equals && read < length)
            url[written++] = url[read++];
    }
    url.resize(written);
}

/// Writes "?" for every "?&".
void joinSeparators(std::u16string& url) {
    std::size_t written = 0;
    for (std::size_t read = 0; read < url.size(); ++read) {
        const char16_t unit = url[written++] = url[read];
        if (unit == u'?' && read + 1 < url.size() && url[read + 1] == u'&') ++read;
    }
    url.resize(written);
}

}  // namespace

void removeEmptyParams(std::u16string& url) {
    if (hasEmptyParam(url)) removeParamsWithoutValue(url);
    if (url.find(u"?&") != std::u16string::npos) joinSeparators(url);
}

}  // namespace halden
