// Text of Excel's binary format: a row of records, of which one holds the strings that cells share.
#include "importers/system/OfficeLegacy/BinaryBytes.h"
#include "importers/system/OfficeLegacy/BinaryText.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quarry::legacy {
namespace {

enum Record : std::uint32_t {
    kFilePass = 0x002F,
    kContinue = 0x003C,
    kRichLabel = 0x00D6,
    kSharedStrings = 0x00FC,
    kTextBox = 0x01B6,
    kLabel = 0x0204,
    kFormulaString = 0x0207,
    kBeginning = 0x0809
};

constexpr std::uint32_t kVersion8 = 0x0600;
constexpr std::uint32_t kWide = 0x01, kHasExtension = 0x04, kHasRuns = 0x08;  // flags of a string

void appendCharacters(std::string& text, std::string_view bytes, bool isWide) {
    if (isWide)
        appendUnits(text, bytes);
    else
        appendBytes(text, bytes);
}

/// Reads across the ends of records. A string that goes on in the next record starts there with its flags anew.
class Strings {
public:
    explicit Strings(std::vector<std::string_view> records) : records_(std::move(records)) {}

    void appendAll(std::string& text) {
        skip(4);
        const std::uint32_t count = take(4);
        for (std::uint32_t i = 0; i < count && text.size() < kMaxText && hasMore(); ++i)
            appendNext(text);
    }

private:
    [[nodiscard]] bool hasMore() {
        while (record_ < records_.size() && offset_ >= records_[record_].size()) {
            ++record_;
            offset_ = 0;
        }
        return record_ < records_.size();
    }
    std::uint32_t take(std::size_t length) {
        if (!hasMore()) return 0;
        const std::uint32_t value = number(records_[record_], offset_, length);
        offset_ += length;
        return value;
    }
    void skip(std::size_t length) {
        while (length > 0 && hasMore()) {
            const std::size_t step = std::min(length, records_[record_].size() - offset_);
            offset_ += step;
            length -= step;
        }
    }

    void appendNext(std::string& text) {
        std::size_t length = take(2);
        std::uint32_t flags = take(1);
        const std::size_t runs = (flags & kHasRuns) != 0 ? take(2) : 0;
        const std::size_t extension = (flags & kHasExtension) != 0 ? take(4) : 0;
        const std::size_t before = text.size();
        while (length > 0 && hasMore()) {
            const bool isWide = (flags & kWide) != 0;
            const std::size_t width = isWide ? 2 : 1;
            const std::string_view rest = records_[record_].substr(offset_);
            const std::size_t units = std::min(length, rest.size() / width);
            appendCharacters(text, rest.substr(0, units * width), isWide);
            length -= units;
            offset_ += units * width;
            if (length == 0) break;
            offset_ = records_[record_].size();
            if (hasMore()) flags = take(1);
        }
        if (text.size() > before) text.push_back('\n');
        skip(runs * 4 + extension);
    }

    std::vector<std::string_view> records_;
    std::size_t record_ = 0;
    std::size_t offset_ = 0;
};

class Workbook {
public:
    explicit Workbook(std::string_view stream) : stream_(stream) {}

    BinaryText read() {
        while (offset_ + 4 <= stream_.size() && result_.text.size() < kMaxText && !result_.isEncrypted) {
            const std::uint32_t type = shortAt(stream_, offset_);
            const std::string_view contents = next();
            handle(type, contents);
        }
        if (result_.isEncrypted) result_.text.clear();
        return std::move(result_);
    }

private:
    std::string_view next() {
        const std::size_t length = shortAt(stream_, offset_ + 2);
        const std::string_view contents = part(stream_, offset_ + 4, length);
        offset_ += 4 + length;
        return contents;
    }
    [[nodiscard]] bool isContinued() const {
        return offset_ + 4 <= stream_.size() && shortAt(stream_, offset_) == kContinue;
    }

    void handle(std::uint32_t type, std::string_view contents) {
        switch (type) {
            case kBeginning:
                isVersion8_ = shortAt(contents, 0) == kVersion8;
                break;
            case kFilePass:
                result_.isEncrypted = true;
                break;
            case kSharedStrings: {
                std::vector<std::string_view> records{contents};
                while (isContinued())
                    records.push_back(next());
                Strings(std::move(records)).appendAll(result_.text);
                break;
            }
            case kLabel:
            case kRichLabel:
                appendString(part(contents, 6, contents.size()));
                break;
            case kFormulaString:
                appendString(contents);
                break;
            case kTextBox:
                if (isVersion8_ && shortAt(contents, 10) > 0 && isContinued()) appendBox(shortAt(contents, 10));
                break;
            default:
                break;
        }
    }
    void appendString(std::string_view string) {
        const std::size_t length = shortAt(string, 0);
        const bool isWide = isVersion8_ && (byteAt(string, 2) & kWide) != 0;
        appendLine(part(string, isVersion8_ ? 3 : 2, isWide ? length * 2 : length), isWide);
    }
    /// The text of a box stands in the records that go on from it; behind it are its runs.
    void appendBox(std::size_t length) {
        while (length > 0 && isContinued()) {
            const std::string_view contents = next();
            const bool isWide = (byteAt(contents, 0) & kWide) != 0;
            const std::size_t width = isWide ? 2 : 1;
            const std::size_t units = contents.empty() ? 0 : std::min(length, (contents.size() - 1) / width);
            if (units == 0) break;
            appendCharacters(result_.text, part(contents, 1, units * width), isWide);
            length -= units;
        }
        result_.text.push_back('\n');
    }
    void appendLine(std::string_view bytes, bool isWide) {
        if (bytes.empty()) return;
        appendCharacters(result_.text, bytes, isWide);
        result_.text.push_back('\n');
    }

    std::string_view stream_;
    std::size_t offset_ = 0;
    bool isVersion8_ = true;
    BinaryText result_;
};

}  // namespace

BinaryText textOfWorkbook(std::string_view stream) {
    return Workbook(stream).read();
}

}  // namespace quarry::legacy
