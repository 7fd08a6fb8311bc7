// PostScript, turned into PDF by Ghostscript in a process of its own.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

struct PostScriptLimits {
    std::uint64_t addressSpace = std::uint64_t{1} << 30;  ///< bytes
    std::uint64_t fileSize = std::uint64_t{256} << 20;    ///< bytes of the PDF, and of every temporary file
    std::chrono::seconds cpu{30};
    std::chrono::milliseconds time{40'000};
};

/// The PostScript program alone: without the preview of an EPS file for other systems, and without what printers'
/// drivers put before it. Shares the bytes; empty when there is none.
[[nodiscard]] Data postScriptProgramOf(const Data& file) noexcept;

/// The picture's size in points, by the comments of its program: the first well-formed one of %%BoundingBox, or, where
/// that is put off to the end, the last one. nullopt when there is none, or none with an area.
[[nodiscard]] std::optional<Size> boundingBoxSizeOf(const Data& file) noexcept;

/// The program as PDF; of an EPS picture, its bounding box alone. nullopt, with a line in the log, when Ghostscript is
/// missing, refuses the program, or reaches a limit.
///
/// The program can neither read nor write any file but those of its own folder, which is gone afterwards, and has no
/// network where that can be had.
[[nodiscard]] std::optional<Data> pdfFromPostScript(const Data& file, const PostScriptLimits& limits = {});

/// Path of Ghostscript; empty when it is not installed.
[[nodiscard]] std::string ghostscriptPath();

}  // namespace halden
