// What comes over the worker's socket: frames cut anywhere, their fields, and the page that is in one.

#include "platform/web/Frames.h"
#include "platform/web/PageReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using halden::web::FrameBuffer;
using halden::web::FrameKind;
using halden::web::FrameReader;
using halden::web::FrameWriter;

namespace {

/// Every frame as "kind, page, fields", with the bytes coming in pieces of this size.
std::vector<std::string> framesOf(std::string_view bytes, std::size_t piece) {
    FrameBuffer buffer;
    std::vector<std::string> frames;
    while (!bytes.empty() && !buffer.isBad()) {
        buffer.append(bytes.substr(0, piece));
        bytes.remove_prefix(std::min(piece, bytes.size()));
        while (const auto frame = buffer.next()) {
            std::string whole = FrameWriter(frame->kind, frame->page).take();
            frames.push_back(whole.append(frame->fields));
        }
    }
    return frames;
}

void readReport(std::string_view fields) {
    const auto report = halden::web::reportOfPage(fields);
    if (!report) return;
    // Written again, it is what it was.
    FrameWriter writer(FrameKind::page, 0);
    writer.number(static_cast<std::uint32_t>(report->status)).number(report->kilobytes).bytes(report->contents.text);
    for (const auto& image : report->contents.images)
        writer.bytes(image.address).bytes(image.mediaType).bytes(image.data.view());
    if (std::string_view(writer.take()).substr(halden::web::kFrameHeader) != fields) std::abort();
    (void)halden::web::attributedStringOfPage(report->contents);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto frames = framesOf(bytes, bytes.size());
    // However the bytes are cut, the frames are the same.
    if (frames != framesOf(bytes, data[0] % 7 + 1u)) std::abort();
    for (const std::string& frame : frames)
        readReport(std::string_view(frame).substr(halden::web::kFrameHeader));
    readReport(bytes);
    FrameReader fields(bytes);
    while (fields.isGood() && !fields.atEnd()) {
        if (fields.bytes().size() > bytes.size()) std::abort();
    }
    return 0;
}
