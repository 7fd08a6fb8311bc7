// The tags that are reported, and their published names.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace halden::images {

enum class PropertyForm {
    plain,       ///< by the type of the value
    numbers,     ///< an array of integers, however many
    digits,      ///< an array of the digits that the text consists of
    text,        ///< a string, whatever the type
    comment,     ///< a string behind a name of its character set
    coordinate,  ///< degrees, minutes and seconds as degrees
    time,        ///< hours, minutes and seconds as text
};

struct PropertyKey {
    std::uint16_t tag;
    std::u16string_view key;
    PropertyForm form = PropertyForm::plain;
};

struct IptcKey {
    std::uint16_t dataSet;  ///< of the application record
    std::u16string_view key;
    bool isRepeatable = false;
};

[[nodiscard]] std::span<const PropertyKey> exifKeys();
[[nodiscard]] std::span<const PropertyKey> tiffKeys();
[[nodiscard]] std::span<const PropertyKey> gpsKeys();
[[nodiscard]] std::span<const IptcKey> iptcKeys();

}  // namespace halden::images
