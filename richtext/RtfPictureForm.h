// How RTF holds the picture of a file.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"

#include <optional>
#include <string_view>

namespace halden {

struct RtfPictureForm {
    std::string_view words;  // "\pngblip"
    Data data;               // of the file, without what files have and RTF has not
    Size size;               // points, where the words for the kind of picture do not go without; else zeros
};

/// The form of a PNG, JPEG, EMF or WMF file, of a Windows bitmap or a Macintosh picture, told by its bytes, or where
/// these tell nothing by its content type ("public.png", "public.jpeg"); nullopt for every other file.
[[nodiscard]] std::optional<RtfPictureForm> rtfPictureForm(const Data& file, std::u16string_view type);

}  // namespace halden
