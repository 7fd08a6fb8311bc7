#include "foundation/CompressedData.h"
#include "foundation/operations/Operations.h"

#include <algorithm>
#include <array>

namespace halden::operations {
namespace {

// Nil data have no bytes, and those are refused by every operation.
using MaybeData = std::optional<Data>;

int levelFrom(std::int64_t level) {
    return static_cast<int>(std::clamp<std::int64_t>(level, -2, 10));
}

MaybeData compress(const MaybeData& data, std::int64_t level, bool useGzip) {
    return dataByCompressingBytes(data.value_or(Data()).span(), levelFrom(level),
                                  useGzip ? CompressionFormat::gzip : CompressionFormat::zlib);
}

MaybeData gzip(const MaybeData& data) {
    return compress(data, kDefaultCompressionLevel, true);
}

MaybeData gzipAtLevel(const MaybeData& data, std::int64_t level) {
    return compress(data, level, true);
}

MaybeData deflate(const MaybeData& data) {
    return compress(data, kDefaultCompressionLevel, false);
}

MaybeData deflateAtLevel(const MaybeData& data, std::int64_t level) {
    return compress(data, level, false);
}

MaybeData inflate(const MaybeData& data) {
    return dataByInflatingData(data.value_or(Data()));
}

Dictionary setByInflating(const MaybeData& data) {
    std::vector<std::uint8_t> receiver;
    const bool result = setDataByInflating(receiver, data.value_or(Data()));
    return {{u"result", Value(result)}, {u"data", Value(Data(std::move(receiver)))}};
}

constexpr auto kOperations = std::to_array<Operation>({
    function<compress>("dataByCompressingBytes:length:compressionLevel:useGzip:", "bytes compressionLevel useGzip"),
    function<gzip>("dataByGzippingBytes:length:", "bytes"),
    function<gzip>("dataByGzippingData:", "data"),
    function<gzipAtLevel>("dataByGzippingBytes:length:compressionLevel:", "bytes compressionLevel"),
    function<gzipAtLevel>("dataByGzippingData:compressionLevel:", "data compressionLevel"),
    function<deflate>("dataByDeflatingBytes:length:", "bytes"),
    function<deflate>("dataByDeflatingData:", "data"),
    function<deflateAtLevel>("dataByDeflatingBytes:length:compressionLevel:", "bytes compressionLevel"),
    function<deflateAtLevel>("dataByDeflatingData:compressionLevel:", "data compressionLevel"),
    function<setByInflating>("setDataByInflatingBytes:length:", "bytes"),
    function<setByInflating>("setDataByInflating:", "data"),
    function<inflate>("dataByInflatingBytes:length:", "bytes"),
    function<inflate>("dataByInflatingData:", "data"),
});

}  // namespace

std::span<const Operation> dataOperations() {
    return kOperations;
}

}  // namespace halden::operations
