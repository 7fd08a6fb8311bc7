// The importer of fonts: what their faces are called, and who made them.
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SFNT_NAMES_H
#include FT_TRUETYPE_IDS_H
#include FT_TYPE1_TABLES_H

#include <algorithm>
#include <memory>

namespace {

using quarry::support::Attributes;
using quarry::support::cleanLine;

constexpr std::size_t kMaxLength = std::size_t{256} << 20;
constexpr FT_Long kMaxFaces = 1000;

struct Done {
    void operator()(FT_Face face) const noexcept { FT_Done_Face(face); }
};
using Face = std::unique_ptr<FT_FaceRec, Done>;

/// Initialised once, with the first font.
FT_Library library() {
    static const FT_Library kLibrary = [] {
        FT_Library made = nullptr;
        return FT_Init_FreeType(&made) == 0 ? made : nullptr;
    }();
    return kLibrary;
}

std::string textOfUtf16(const FT_SfntName& name) {
    std::string text;
    for (FT_UInt i = 0; i + 1 < name.string_len; i += 2) {
        char32_t character = static_cast<char32_t>(name.string[i] << 8 | name.string[i + 1]);
        if ((character & 0xFC00) == 0xD800 && i + 3 < name.string_len) {
            const char32_t low = static_cast<char32_t>(name.string[i + 2] << 8 | name.string[i + 3]);
            if ((low & 0xFC00) == 0xDC00) {
                character = 0x10000 + ((character & 0x3FF) << 10) + (low & 0x3FF);
                i += 2;
            }
        }
        quarry::support::appendUtf8(text, character);
    }
    return text;
}

/// How well a record serves: English of a Unicode platform best; of the old platform what is ASCII only, since that is
/// the same in every script.
int rankOf(const FT_SfntName& name) {
    if (name.platform_id == TT_PLATFORM_MICROSOFT)
        return name.language_id == TT_MS_LANGID_ENGLISH_UNITED_STATES ? 4 : 2;
    if (name.platform_id == TT_PLATFORM_APPLE_UNICODE) return 3;
    const bool isAscii =
        std::all_of(name.string, name.string + name.string_len, [](FT_Byte byte) { return byte < 0x80; });
    return name.platform_id == TT_PLATFORM_MACINTOSH && isAscii ? 1 : 0;
}

std::string nameOf(FT_Face face, FT_UShort identifier) {
    std::string best;
    int bestRank = 0;
    const FT_UInt count = FT_Get_Sfnt_Name_Count(face);
    for (FT_UInt i = 0; i < count; ++i) {
        FT_SfntName name{};
        if (FT_Get_Sfnt_Name(face, i, &name) != 0 || name.name_id != identifier || name.string_len == 0) continue;
        const int rank = rankOf(name);
        if (rank <= bestRank) continue;
        std::string text = cleanLine(
            rank == 1 ? std::string(reinterpret_cast<const char*>(name.string), name.string_len) : textOfUtf16(name));
        if (text.empty()) continue;
        best = std::move(text);
        bestRank = rank;
    }
    return best;
}

std::string lineOf(const char* text) {
    return text != nullptr ? cleanLine(text) : std::string();
}

struct Names {
    std::string full, family, copyright, version, manufacturer;
};

Names namesOf(FT_Face face) {
    Names names{.full = nameOf(face, TT_NAME_ID_FULL_NAME),
                .family = lineOf(face->family_name),
                .copyright = nameOf(face, TT_NAME_ID_COPYRIGHT),
                .version = nameOf(face, TT_NAME_ID_VERSION_STRING),
                .manufacturer = nameOf(face, TT_NAME_ID_MANUFACTURER)};
    PS_FontInfoRec information{};
    if (FT_Get_PS_Font_Info(face, &information) == 0) {
        if (names.full.empty()) names.full = lineOf(information.full_name);
        if (names.copyright.empty()) names.copyright = lineOf(information.notice);
        if (names.version.empty()) names.version = lineOf(information.version);
    }
    if (names.full.empty()) {
        const std::string style = lineOf(face->style_name);
        names.full = names.family + (names.family.empty() || style.empty() ? "" : " ") + style;
    }
    return names;
}

bool importFont(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = library() != nullptr ? quarry::support::bytesOfFile(path, kMaxLength) : std::nullopt;
    if (!bytes) return false;
    std::vector<std::string> fonts;
    FT_Long count = 1;
    for (FT_Long i = 0; i < std::min(count, kMaxFaces); ++i) {
        FT_Face opened = nullptr;
        const auto* memory = reinterpret_cast<const FT_Byte*>(bytes->data());
        if (FT_New_Memory_Face(library(), memory, static_cast<FT_Long>(bytes->size()), i, &opened) != 0) break;
        const Face face(opened);
        count = face->num_faces;
        const Names names = namesOf(face.get());
        if (!names.full.empty()) fonts.push_back(names.full);
        if (i > 0) continue;
        attributes.setLine("kMDItemTitle", count == 1 ? names.full : names.family);
        attributes.setLine("kMDItemCopyright", names.copyright);
        attributes.setLine("kMDItemVersion", names.version);
        attributes.setLines("kMDItemPublishers", {names.manufacturer});
    }
    attributes.setLines("kMDItemFonts", fonts);
    return !fonts.empty();
}

}  // namespace

QUARRY_IMPORTER(makeFontImporter, importFont)
