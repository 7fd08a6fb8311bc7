// The tags of a file, and the pictures that it keeps for others.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"

#include <exiv2/exiv2.hpp>

#include <memory>
#include <optional>

namespace halden::images {

/// What exiv2 knows of a file; it never throws beyond here.
class Metadata {
public:
    /// Reads the tags; an object without any when the file has none or they cannot be read. Shares the bytes.
    explicit Metadata(const Data& file);

    [[nodiscard]] Dictionary exif() const;
    [[nodiscard]] Dictionary tiff() const;
    [[nodiscard]] Dictionary gps() const;
    [[nodiscard]] Dictionary iptc() const;

    /// 1 to 8; 1 when the file does not say.
    [[nodiscard]] int orientation() const;
    /// The thumbnail among the Exif data, a JPEG or a TIFF file; empty when there is none.
    [[nodiscard]] Data thumbnail() const;
    /// The largest picture that was put beside a camera's raw data, a JPEG or a TIFF file, or the smallest one whose
    /// longer side reaches `enough` pixels; empty when there is none.
    [[nodiscard]] Data preview(int enough) const;
    /// By the library, of the whole picture, where it knows.
    [[nodiscard]] int width() const;
    [[nodiscard]] int height() const;

private:
    Data file_;
    std::unique_ptr<Exiv2::Image> image_;
};

}  // namespace halden::images
