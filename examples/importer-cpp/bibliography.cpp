// SPDX-License-Identifier: 0BSD
//
// An importer in C++: titles, authors and years of bibliographies in the BibTeX form (.bibx).
//
//     @book{key,
//       title  = {A title with {Braces}},
//       author = {First Author and Second Author},
//       year   = 1999
//     }
#include <quarry_importer.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kMaxLength = 16 * 1024 * 1024;

struct Field {
    std::string name;
    std::string value;
};

/// Reads the fields of all entries, one after the other; anything that is no field is passed over.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    bool next(Field& field) {
        while (at_ < text_.size()) {
            const std::size_t equals = text_.find('=', at_);
            if (equals == std::string_view::npos) return false;
            field.name = nameBefore(equals);
            at_ = equals + 1;
            skipSpace();
            field.value = value();
            if (!field.name.empty() && !field.value.empty()) return true;
        }
        return false;
    }

private:
    [[nodiscard]] std::string nameBefore(std::size_t end) const {
        while (end > at_ && isSpace(text_[end - 1]))
            --end;
        std::size_t start = end;
        while (start > at_ && std::isalpha(static_cast<unsigned char>(text_[start - 1])) != 0)
            --start;
        std::string name(text_.substr(start, end - start));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return name;
    }

    std::string value() {
        if (at_ >= text_.size()) return {};
        const char open = text_[at_];
        if (open != '{' && open != '"') return bareWord();
        ++at_;
        std::string text;
        for (int depth = 0; at_ < text_.size(); ++at_) {
            const char c = text_[at_];
            if (depth == 0 && c == (open == '{' ? '}' : '"')) break;
            if (c == '{')
                ++depth;
            else if (c == '}')
                --depth;
            else if (!isSpace(c))
                text += c;
            else if (!text.empty() && text.back() != ' ')
                text += ' ';
        }
        if (at_ < text_.size()) ++at_;
        return text;
    }

    std::string bareWord() {
        const std::size_t start = at_;
        while (at_ < text_.size() && text_[at_] != ',' && text_[at_] != '}' && !isSpace(text_[at_]))
            ++at_;
        return std::string(text_.substr(start, at_ - start));
    }

    void skipSpace() {
        while (at_ < text_.size() && isSpace(text_[at_]))
            ++at_;
    }
    static bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

    std::string_view text_;
    std::size_t at_ = 0;
};

std::vector<std::string> splitAtAnd(const std::string& authors) {
    constexpr std::string_view kAnd = " and ";
    std::vector<std::string> names;
    std::size_t start = 0;
    for (std::size_t end; (end = authors.find(kAnd, start)) != std::string::npos; start = end + kAnd.size()) {
        names.push_back(authors.substr(start, end - start));
    }
    names.push_back(authors.substr(start));
    return names;
}

void setStrings(quarry_attributes* attributes, const char* key, std::vector<std::string> strings) {
    std::sort(strings.begin(), strings.end());
    strings.erase(std::unique(strings.begin(), strings.end()), strings.end());
    if (strings.empty()) return;
    const auto& functions = *attributes->functions;
    functions.open_array(attributes, key);
    for (const auto& string : strings)
        functions.set_string(attributes, nullptr, string.data(), string.size());
    functions.close(attributes);
}

/// Exceptions may leave this function: the helper drops them and keeps what was filled.
std::uint8_t importBibliography(quarry_importer*, quarry_attributes* attributes, const char*, const char* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return 0;
    std::string text(kMaxLength, '\0');  // what comes after is not read
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    std::vector<std::string> authors;
    std::string content;
    Field field;
    for (Reader reader(text); reader.next(field);) {
        if (field.name == "author") {
            const auto names = splitAtAnd(field.value);
            authors.insert(authors.end(), names.begin(), names.end());
        }
        content += field.value + "\n";
    }
    setStrings(attributes, "kMDItemAuthors", std::move(authors));
    if (!content.empty()) {
        attributes->functions->set_string(attributes, "kMDItemTextContent", content.data(), content.size());
    }
    return 1;
}

bool isSame(const quarry_uuid& a, const quarry_uuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// One instance without state serves every file, so that counting references has nothing to do.
std::uint32_t keep(quarry_importer*) {
    return 1;
}

quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface) {
    constexpr quarry_uuid importer = QUARRY_IMPORTER_INTERFACE_ID;
    constexpr quarry_uuid unknown = QUARRY_UNKNOWN_INTERFACE_ID;
    const bool isKnown = isSame(id, importer) || isSame(id, unknown);
    *interface = isKnown ? self : nullptr;
    return isKnown ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

constexpr quarry_importer_functions kFunctions = {nullptr, queryInterface, keep, keep, importBibliography};
quarry_importer theImporter = {&kFunctions};

}  // namespace

extern "C" QUARRY_IMPORTER_EXPORT void* makeBibliographyImporter(void*, quarry_uuid type) {
    constexpr quarry_uuid importerType = QUARRY_IMPORTER_TYPE_ID;
    return isSame(type, importerType) ? &theImporter : nullptr;
}
