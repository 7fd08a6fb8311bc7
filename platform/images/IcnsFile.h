// Icon files: one icon in several sizes.
//
//   "icns", the length of the file (4), then elements: a type (4), a length with these eight bytes (4), contents
//   ic07 to ic14, icp4 to icp6     a PNG or a JPEG 2000 file
//   ic04, ic05                     "ARGB" and four packed planes: alpha, red, green, blue; or a PNG
//   is32 il32 ih32 it32            packed planes red, green, blue; of it32 four zero bytes come first
//   s8mk l8mk h8mk t8mk            the alpha plane of these, not packed
//   packed: a byte below 128 stands for that many bytes plus one, which follow; another one, less 125, for that many
//   copies of the byte that follows
//
// All numbers are big-endian. Elements in fewer colours (which need the old system's palettes) are left out.
#pragma once

#include "foundation/Data.h"
#include "platform/images/Bitmap.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace halden {

struct IcnsElement {
    PixelSize size;          ///< in pixels; for an encoded one, what its type promises
    double scale = 1;        ///< pixels a point
    bool isEncoded = false;  ///< `contents` is a file in a format of its own, PNG or JPEG 2000
    Data contents{};
    Data mask{};  ///< of packed planes without alpha; may be empty

    /// The pixels of an element that is not encoded; nullopt when they are cut off.
    [[nodiscard]] std::optional<Bitmap> bitmap() const;
};

/// The elements that can be shown, in the file's order; empty for bytes that are no icon file. At most 64.
[[nodiscard]] std::vector<IcnsElement> icnsElementsOf(const Data& file);

}  // namespace halden
