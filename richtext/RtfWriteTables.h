// The tables in front of a written document, which grow as its text is written: fonts, colours, lists.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfOutput.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace halden {

class RtfWriteTables {
public:
    RtfWriteTables();

    /// The number of a font, by its PostScript name.
    [[nodiscard]] std::int32_t fontNumber(const Font& font);
    /// The number of a colour; 0 stands for none.
    [[nodiscard]] std::int32_t colorNumber(const std::optional<Color>& color);
    /// The Windows number of a language (BCP 47); 1024, "no language", for those without one.
    [[nodiscard]] std::int32_t languageNumber(const std::u16string& language);

    struct ListPlace {
        std::int32_t number = 0;  // \ls
        std::int32_t level = 0;   // \ilvl
    };
    /// Where the innermost of `lists` stands, which are not empty. Levels beyond the ninth are left out.
    [[nodiscard]] ListPlace listPlace(const std::vector<std::shared_ptr<const TextList>>& lists);

    /// Writes the tables as they stand.
    void write(RtfOutput& output) const;

private:
    using ListPath = std::vector<const TextList*>;

    std::int32_t listNumber(const ListPath& path);
    void writeFonts(RtfOutput& output) const;
    void writeColors(RtfOutput& output) const;
    void writeLists(RtfOutput& output) const;

    std::vector<std::u16string> fonts_;
    std::unordered_map<std::u16string, std::int32_t> fontNumbers_;
    std::vector<Color> colors_;  // from number 1 on
    std::map<std::array<double, 4>, std::int32_t> colorNumbers_;
    std::unordered_map<std::u16string, std::int32_t> languages_;
    std::vector<ListPath> lists_;                  // by number, from 1 on
    std::map<ListPath, std::int32_t> listOfPath_;  // the list that has these levels, and maybe more
    std::map<ListPath, std::int32_t> openLists_;   // that have just these levels
};

}  // namespace halden
