#include "importers/system/Mobi/Chapters.h"

#include "importers/system/Mobi/PalmDatabase.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <utility>

namespace quarry::mobi {
namespace {

using Records = std::vector<std::string_view>;

constexpr std::size_t kMaxEntries = std::size_t{1} << 20;
constexpr std::size_t kMaxForms = 64;

/// What an entry of an index says, as far as it is of use here.
struct Entry {
    std::size_t label = 0;  // of a fragment: where it goes
    std::size_t count = 0;  // of a frame: its fragments
    std::size_t position = 0, length = 0;
};

/// How one kind of value is kept: whether it is there, or how often, is said by bits at the entry's start.
struct ValueForm {
    std::uint8_t number, perGroup, mask;
    bool isEnd;  // of the kinds that one byte of bits tells of
};

/// Takes numbers off the front of an entry. Beyond the end everything is 0.
class EntryBytes {
public:
    explicit EntryBytes(std::string_view bytes) : rest_(bytes) {}

    std::string_view take(std::size_t length) {
        const std::string_view taken = rest_.substr(0, length);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    std::size_t byte() {
        const std::string_view taken = take(1);
        return taken.empty() ? 0 : static_cast<unsigned char>(taken[0]);
    }
    /// Seven bits a byte; the last has the upper bit set.
    std::size_t number() {
        std::size_t number = 0;
        for (int i = 0; i < 4 && !rest_.empty(); ++i) {
            const std::size_t next = byte();
            number = number << 7 | (next & 0x7F);
            if ((next & 0x80) != 0) break;
        }
        return number;
    }
    [[nodiscard]] std::size_t left() const { return rest_.size(); }

private:
    std::string_view rest_;
};

std::size_t decimal(std::string_view digits) {
    std::size_t number = 0;
    for (const char digit : digits.substr(0, 12)) {
        if (digit < '0' || digit > '9') break;
        number = number * 10 + static_cast<std::size_t>(digit - '0');
    }
    return number;
}

class Index {
public:
    /// The first record describes the entries, those behind it hold them.
    Index(const Records& records, std::size_t first) {
        if (first >= records.size() || !records[first].starts_with("INDX")) return;
        readForms(records[first]);
        const std::size_t count = std::min<std::size_t>(number32(records[first], 24), records.size() - first - 1);
        for (std::size_t i = 1; i <= count && !forms_.empty(); ++i)
            readEntries(records[first + i]);
    }
    std::vector<Entry> entries;

private:
    void readForms(std::string_view record) {
        const std::size_t place = number32(record, 4);
        if (place > record.size() || !record.substr(place).starts_with("TAGX")) return;
        const std::string_view table = record.substr(place, number32(record, place + 4));
        controlBytes_ = number32(table, 8);
        for (std::size_t i = 12; i + 4 <= table.size() && forms_.size() < kMaxForms; i += 4) {
            const auto byte = [&](std::size_t n) { return static_cast<std::uint8_t>(table[i + n]); };
            forms_.push_back({byte(0), byte(1), byte(2), byte(3) == 1});
        }
    }

    void readEntries(std::string_view record) {
        const std::size_t places = number32(record, 20);
        if (!record.starts_with("INDX") || places > record.size() || !record.substr(places).starts_with("IDXT")) return;
        const std::size_t count = std::min<std::size_t>(number32(record, 24), (record.size() - places - 4) / 2);
        for (std::size_t i = 0; i < count && entries.size() < kMaxEntries; ++i) {
            const std::size_t begin = number16(record, places + 4 + 2 * i);
            const std::size_t end = i + 1 < count ? number16(record, places + 6 + 2 * i) : places;
            if (begin >= end || end > places) return;
            entries.push_back(entryFrom(EntryBytes(record.substr(begin, end - begin))));
        }
    }

    [[nodiscard]] Entry entryFrom(EntryBytes bytes) const {
        constexpr std::uint8_t kCount = 1, kPlace = 6;
        Entry entry;
        entry.label = decimal(bytes.take(bytes.byte()));
        const std::string_view control = bytes.take(controlBytes_);
        std::size_t at = 0;
        std::vector<Found> found;
        for (const ValueForm& form : forms_) {
            const auto bits = at < control.size() ? static_cast<std::uint8_t>(control[at]) : std::uint8_t{0};
            const unsigned value = bits & form.mask;
            if (form.isEnd)
                ++at;
            else if (value == form.mask && std::popcount(form.mask) > 1)
                found.push_back({&form, std::nullopt, bytes.number()});
            else if (value != 0)
                found.push_back({&form, value >> std::countr_zero(form.mask), 0});
        }
        for (const Found& kind : found) {
            const auto [first, second] = valuesOf(kind, bytes);
            if (kind.form->number == kCount) entry.count = first;
            if (kind.form->number == kPlace) {
                entry.position = first;
                entry.length = second;
            }
        }
        return entry;
    }

    /// A kind of value that an entry has: so many groups, or so many bytes of them where all bits of several are set.
    struct Found {
        const ValueForm* form;
        std::optional<std::size_t> groups;
        std::size_t bytes;
    };

    /// The first two.
    static std::pair<std::size_t, std::size_t> valuesOf(const Found& kind, EntryBytes& bytes) {
        std::size_t values[2] = {0, 0};
        const std::size_t most = kind.groups ? *kind.groups * kind.form->perGroup : kind.bytes;
        const std::size_t left = kind.groups ? 0 : bytes.left() - std::min(bytes.left(), kind.bytes);
        for (std::size_t n = 0; n < most && bytes.left() > left; ++n) {
            const std::size_t value = bytes.number();
            if (n < 2) values[n] = value;
        }
        return {values[0], values[1]};
    }

    std::vector<ValueForm> forms_;
    std::size_t controlBytes_ = 0;
};

}  // namespace

Chapters chaptersOf(std::string_view flow, const Records& records, std::size_t frames, std::size_t fragments) {
    const Index frameIndex(records, frames), fragmentIndex(records, fragments);
    Chapters chapters;
    auto fragment = fragmentIndex.entries.begin();
    for (const Entry& frame : frameIndex.entries) {
        if (chapters.markup.size() == kMaxChapters) break;
        if (frame.position < chapters.end || frame.position > flow.size()) break;
        if (frame.length > flow.size() - frame.position) break;
        std::string_view rest = flow.substr(frame.position, frame.length);
        std::string markup;
        std::size_t end = frame.position + frame.length;
        for (std::size_t i = 0; i < frame.count && fragment != fragmentIndex.entries.end(); ++i, ++fragment) {
            const std::size_t done = frame.position + markup.size();
            const std::size_t before = std::min(fragment->label - std::min(fragment->label, done), rest.size());
            markup.append(rest.substr(0, before));
            rest.remove_prefix(before);
            const std::string_view piece = flow.substr(end, fragment->length);
            markup.append(piece);
            end += piece.size();
        }
        markup.append(rest);
        chapters.markup.push_back(std::move(markup));
        chapters.end = end;
    }
    return chapters;
}

}  // namespace quarry::mobi
