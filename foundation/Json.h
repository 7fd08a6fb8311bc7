// JSON that keeps every UTF-16 string, lone surrogates included. (The common libraries refuse those.)
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// How data appear in JSON, which has no form of its own for them.
enum class JsonData {
    summary,  ///< {"bytes": N, "type": "image/tiff"}, the type by the first bytes where they tell
    base64,   ///< {"base64": "..."}
};

/// How dates appear.
enum class JsonDate {
    iso8601,      ///< "2026-11-22T21:54:00Z", with milliseconds where there are any
    unixSeconds,  ///< {"date": SECONDS} since 1970-01-01T00:00:00Z
};

struct JsonWriteOptions {
    JsonData data = JsonData::summary;
    JsonDate date = JsonDate::iso8601;
    /// Spaces an inner level is indented by; 0 writes one line.
    int indent = 0;
};

/// `value` as JSON in UTF-8. Strings are written as they are but for quotes, backslashes, control characters (U+007F,
/// U+2028 and U+2029 too) and lone surrogates, which are escaped. Doubles have the shortest form that reads back equal,
/// with ".0" when it would look like an integer; NaN and infinities are null. Dictionaries keep their order.
[[nodiscard]] std::string jsonFromValue(const Value& value, JsonWriteOptions options = {});

/// The media type of data by their first bytes, "application/octet-stream" where these do not tell.
[[nodiscard]] std::string_view mediaTypeOfData(const Data& data) noexcept;

struct JsonError {
    std::string message;
    std::size_t offset = 0;  ///< in bytes
};

/// The value of one JSON text (RFC 8259), or nullopt with what is wrong and where. Numbers without fraction or exponent
/// that fit become integers, others doubles. `\ud800` alone gives that unit. A repeated key keeps its last value.
/// Nesting is limited to 512.
[[nodiscard]] std::optional<Value> valueFromJson(std::string_view text, JsonError* error = nullptr);

}  // namespace halden
