// Pictures inside RTF (\pict): their bytes, from hexadecimal digits and binary runs, made into files of known types.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

enum class RtfPictureKind : std::uint8_t { unknown, png, jpeg, emf, wmf, pict, dib, bitmap };

/// A picture as a file would hold it.
struct RtfPictureFile {
    Data data;
    std::u16string_view extension;  // "png", without a dot
    std::u16string_view type;       // content type, "public.png"
    Size size;                      // points; zeros where the document does not say
};

/// What a \pict group says and holds. Pixels or metafile units in `width` and `height`, twips in the goals.
struct RtfPicture {
    RtfPictureKind kind = RtfPictureKind::unknown;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t goalWidth = 0;
    std::int32_t goalHeight = 0;
    std::int32_t scaleX = 100;  // percent
    std::int32_t scaleY = 100;
    std::int32_t bitsPerPixel = 1;  // device-dependent bitmaps
    std::int32_t planes = 1;
    std::int32_t rowBytes = 0;

    /// Takes hexadecimal digits; everything else in `text` is passed over. A byte may be split between calls.
    void appendHex(std::string_view text);
    void appendBytes(std::string_view bytes);

    /// The picture as a file, leaving this one empty; nullopt when there are no bytes or they are no picture.
    ///
    /// The bytes decide the type where they begin as a known format does. Metafiles get the header with their extent,
    /// Macintosh pictures their empty first block, and device-independent bitmaps their file header; device-dependent
    /// ones are rewritten as such.
    [[nodiscard]] std::optional<RtfPictureFile> takeFile();

private:
    [[nodiscard]] Size sizeInPoints() const noexcept;

    std::vector<std::uint8_t> bytes_;
    int highNibble_ = -1;
};

}  // namespace halden
