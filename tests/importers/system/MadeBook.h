// Mobipocket books of a few records, as bytes.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace quarry::test {

/// `value` in `length` bytes, the highest first.
std::string big(std::size_t value, int length);

struct MadeBook {
    using Tags = std::vector<std::pair<unsigned, std::string>>;

    std::string type = "BOOKMOBI";
    std::string name = "Full name";
    std::vector<std::string> text{};  ///< of each record, as it is stored
    unsigned compression = 2;         ///< 1 none, 2 PalmDOC, 17480 words
    unsigned encryption = 0;
    unsigned encoding = 65001;
    unsigned version = 6;
    unsigned locale = 0x0407;
    unsigned textSize = 4096;  ///< of a record, unpacked
    Tags tags{};
    std::vector<std::string> more{};  ///< records behind the text
    /// In the newer form: the records of sections, fragments and frames. In any: of the first with codes, and how many.
    std::size_t sections = kNone, fragments = kNone, frames = kNone, codes = kNone, codeRecords = 0;

    static constexpr std::size_t kNone = 0xFFFFFFFF;

    /// The first record and all others.
    [[nodiscard]] std::vector<std::string> records() const;
    [[nodiscard]] std::string bytes() const;
};

/// A database of these records.
std::string database(const std::vector<std::string>& records, const std::string& type = "BOOKMOBI");

/// PalmDOC: repetitions, spaces before letters, and bytes that would mean something else.
std::string palmDoc(const std::string& text);

/// An index of one data record, preceded by the record that describes its values: number, count and bits of each.
std::vector<std::string> madeIndex(const std::string& kinds, const std::vector<std::string>& entries);
/// `control` has the bits that say how often each kind of value is there.
std::string indexEntry(const std::string& label, char control, const std::vector<std::size_t>& values);
/// The kinds of frames: how many fragments (bits 1 and 2), place and length (bits 4 and 8).
extern const std::string kFrameKinds;

/// A book in the newer form of one frame with two fragments in its middle, and a style sheet.
MadeBook newerBook();
/// How long that frame is.
std::size_t lengthOfFrame();

/// A book whose text is words of a dictionary, each a code of eight bits: the byte 255 is the first word. A word is its
/// bytes and whether they are plain, or codes.
MadeBook bookOfWords(const std::string& codes, const std::vector<std::pair<std::string, bool>>& words);

}  // namespace quarry::test
