// What a picture says of itself, and under which keys.
//
// A properties dictionary has, as far as the file tells them:
//
//   PixelWidth, PixelHeight   integers, of the stored picture, before it is turned
//   DPIWidth, DPIHeight       doubles, pixels an inch
//   Depth                     integer, bits of a sample
//   ColorModel                "RGB", "Gray", "CMYK" or "Lab"
//   HasAlpha                  boolean
//   Orientation               integer, 1 to 8
//   ProfileName               string, the description of the colour profile
//
// and dictionaries, left out when they would be empty: {Exif}, {TIFF}, {GPS}, {IPTC}, {PNG}, {JFIF}. Their keys are the
// published names of the tags without the group ("FNumber", "Make", "LatitudeRef", "Caption/Abstract"). In them:
//
//   - text is a string, whole numbers are integers, fractions doubles; several numbers are an array
//   - ISOSpeedRatings, ExifVersion, FlashPixVersion, ComponentsConfiguration, GPSVersion and JFIFVersion are arrays of
//     integers, whatever their number
//   - Latitude, Longitude and their Dest forms are degrees; the letter of the hemisphere stands in the Ref beside them
//   - TimeStamp of {GPS} is "HH:MM:SS"
//   - of {IPTC}, entries that may be repeated are arrays of strings, the others strings
//
// Text beyond 64 KiB, and more than 256 numbers in one entry (tables, notes in a maker's own form), are left out.
#pragma once

#include <string_view>

namespace halden {

inline constexpr std::u16string_view kPixelWidth = u"PixelWidth";
inline constexpr std::u16string_view kPixelHeight = u"PixelHeight";
inline constexpr std::u16string_view kDPIWidth = u"DPIWidth";
inline constexpr std::u16string_view kDPIHeight = u"DPIHeight";
inline constexpr std::u16string_view kDepth = u"Depth";
inline constexpr std::u16string_view kColorModel = u"ColorModel";
inline constexpr std::u16string_view kHasAlpha = u"HasAlpha";
inline constexpr std::u16string_view kOrientation = u"Orientation";
inline constexpr std::u16string_view kProfileName = u"ProfileName";
inline constexpr std::u16string_view kExifDictionary = u"{Exif}";
inline constexpr std::u16string_view kTIFFDictionary = u"{TIFF}";
inline constexpr std::u16string_view kGPSDictionary = u"{GPS}";
inline constexpr std::u16string_view kIPTCDictionary = u"{IPTC}";
inline constexpr std::u16string_view kPNGDictionary = u"{PNG}";
inline constexpr std::u16string_view kJFIFDictionary = u"{JFIF}";

}  // namespace halden
