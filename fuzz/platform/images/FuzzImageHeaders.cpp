// Everything of pictures that is read by our own code: formats, headers, icon files, the comments of PostScript.
#include "platform/images/IcnsFile.h"
#include "platform/images/ImageFormat.h"
#include "platform/images/JpegHeader.h"
#include "platform/images/PngHeader.h"
#include "platform/postscript/PostScript.h"

#include <cmath>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

bool lies(std::span<const std::uint8_t> part, const std::uint8_t* bytes, std::size_t size) {
    return part.empty() || (part.data() >= bytes && part.data() + part.size() <= bytes + size);
}

void checkJpeg(std::span<const std::uint8_t> bytes) {
    const auto header = halden::jpegHeaderOf(bytes);
    if (!header) return;
    require(header->width > 0 && header->height > 0 && header->width <= 0xFFFF && header->height <= 0xFFFF);
    require(header->orientation >= 1 && header->orientation <= 8);
    require(std::isfinite(header->exifXResolution) && header->exifXResolution >= 0);
    require(lies(header->thumbnail, bytes.data(), bytes.size()));
}

void checkIcon(const halden::Data& file) {
    const auto elements = halden::icnsElementsOf(file);
    require(elements.size() <= 64);
    for (const auto& element : elements) {
        require(element.size.width > 0 && element.size.width <= 1024 && element.size.width == element.size.height);
        require(lies(element.contents.span(), file.bytes(), file.length()));
        const auto bitmap = element.bitmap();
        if (!bitmap) continue;
        require(!element.isEncoded && bitmap->width == element.size.width && bitmap->hasAlpha());
        require(bitmap->pixels.size() == bitmap->rowLength() * bitmap->height);
    }
}

void checkPostScript(const halden::Data& file) {
    const halden::Data program = halden::postScriptProgramOf(file);
    require(program.empty() || program.view().starts_with("%!"));
    if (const auto size = halden::boundingBoxSizeOf(file)) require(size->width > 0 && size->height > 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const halden::Data file = halden::Data::copying({bytes, size});
    (void)halden::imageFormatOf(file.span());
    checkJpeg(file.span());
    if (const auto header = halden::pngHeaderOf(file.span())) require(header->width > 0 && header->height > 0);
    checkIcon(file);
    checkPostScript(file);
    return 0;
}
