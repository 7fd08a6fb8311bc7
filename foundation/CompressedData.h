// Bytes compressed and inflated in the zlib (RFC 1950) and gzip (RFC 1952) formats.
#pragma once

#include "foundation/Data.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace halden {

/// The most bytes that one call takes; more give no result.
inline constexpr std::uint64_t kCompressedInputLimit = 4294967295;

// --- Compression ---------------------------------------------------------------------------------------------------
// Levels: -1 is zlib's own choice; above 0, the work to put in, 9 at most; every other value counts as 1, so that there
// is no level without compression. nullopt for no bytes and for too many.

enum class CompressionFormat : bool { zlib, gzip };

inline constexpr int kDefaultCompressionLevel = -1;

[[nodiscard]] std::optional<Data> dataByCompressingBytes(std::span<const std::uint8_t> bytes, int compressionLevel,
                                                         CompressionFormat format);
[[nodiscard]] std::optional<Data> dataByGzippingBytes(std::span<const std::uint8_t> bytes,
                                                      int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<Data> dataByGzippingData(const Data& data, int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<Data> dataByDeflatingBytes(std::span<const std::uint8_t> bytes,
                                                       int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<Data> dataByDeflatingData(const Data& data,
                                                      int compressionLevel = kDefaultCompressionLevel);

// --- Inflation -----------------------------------------------------------------------------------------------------
// Either format is recognised. It fails for no bytes and for too many, for damaged or truncated streams and those that
// want a preset dictionary, for bytes after the end of the stream, and when more than `limit` bytes would come out (a
// thousand times the length of the input may, when somebody means harm).

inline constexpr std::size_t kNoInflationLimit = SIZE_MAX;

/// Replaces `receiver` by the inflated bytes; `bytes` must not be its own. On failure it holds what was inflated before
/// (past `limit` by less than 16 KB at most), but is untouched where nothing could be tried.
bool setDataByInflatingBytes(std::vector<std::uint8_t>& receiver, std::span<const std::uint8_t> bytes,
                             std::size_t limit = kNoInflationLimit);
bool setDataByInflating(std::vector<std::uint8_t>& receiver, const Data& data, std::size_t limit = kNoInflationLimit);

[[nodiscard]] std::optional<Data> dataByInflatingBytes(std::span<const std::uint8_t> bytes,
                                                       std::size_t limit = kNoInflationLimit);
[[nodiscard]] std::optional<Data> dataByInflatingData(const Data& data, std::size_t limit = kNoInflationLimit);

}  // namespace halden
