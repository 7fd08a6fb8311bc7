#include "platform/images/PackedDrawing.h"

#include "foundation/CompressedData.h"
#include "platform/images/ImageFormat.h"

namespace halden {
namespace {

constexpr std::size_t kLargestDrawing = std::size_t{64} << 20;
// Both marks of the format, and its one method.
constexpr std::string_view kSignature = "\x1F\x8B\x08";

}  // namespace

Data unpackedDrawing(const Data& data) {
    if (!data.view().starts_with(kSignature)) return data;
    const auto drawing = dataByInflatingData(data, kLargestDrawing);
    return drawing && imageFormatOf(drawing->span()) == ImageFormat::svg ? *drawing : data;
}

}  // namespace halden
