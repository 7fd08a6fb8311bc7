// The importer of pictures.
//
// What the file says of itself, without decoding it; see platform/images/ImageProperties.h for the entries.
#include "foundation/Unicode.h"
#include "importers/system/Image/SvgText.h"
#include "importers/system/support/Attributes.h"
#include "platform/images/ImageProperties.h"
#include "platform/images/ImagesEngine.h"
#include "platform/images/PackedDrawing.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>

namespace {

using halden::Array;
using halden::Dictionary;
using halden::Value;
using quarry::support::Attributes;

// What stands before the pixels lies anywhere in some formats; larger files are mapped.
constexpr std::size_t kMaxReadSize = std::size_t{64} * 1024 * 1024;

const Dictionary& groupOf(const Dictionary& properties, std::u16string_view key) {
    static const Dictionary kEmpty;
    const Value* value = properties.find(key);
    const auto* group = value != nullptr ? value->as<Dictionary>() : nullptr;
    return group != nullptr ? *group : kEmpty;
}

std::optional<double> numberOf(const Value* value) {
    if (value == nullptr) return std::nullopt;
    if (const auto* array = value->as<Array>()) return array->empty() ? std::nullopt : numberOf(&array->front());
    if (const auto* integer = value->as<std::int64_t>()) return static_cast<double>(*integer);
    const auto* real = value->as<double>();
    return real != nullptr ? std::optional(*real) : std::nullopt;
}

std::string textOf(const Value* value) {
    const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
    return text != nullptr ? halden::utf8FromUtf16(*text) : std::string();
}

std::vector<std::string> textsOf(const Value* value) {
    std::vector<std::string> texts;
    const auto* array = value != nullptr ? value->as<Array>() : nullptr;
    if (array == nullptr) {
        if (std::string text = textOf(value); !text.empty()) texts.push_back(std::move(text));
        return texts;
    }
    for (const Value& entry : *array)
        texts.push_back(textOf(&entry));
    return texts;
}

/// "2.3.1" of the numbers of a version.
std::string versionOf(const Value* value) {
    const auto* array = value != nullptr ? value->as<Array>() : nullptr;
    std::string version;
    if (array == nullptr) return version;
    for (const Value& entry : *array) {
        if (const auto* number = entry.as<std::int64_t>())
            version += (version.empty() ? "" : ".") + std::to_string(*number);
    }
    return version;
}

/// Seconds since 1970 of "2020:01:31 12:00:00": at the offset from universal time ("+01:00"), else in the zone that the
/// system is in, since a camera shows its owner's time.
std::optional<double> dateOf(const std::string& text, const std::string& offset) {
    std::tm time{};
    if (std::sscanf(text.c_str(), "%4d:%2d:%2d %2d:%2d:%2d", &time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour,
                    &time.tm_min, &time.tm_sec) != 6)
        return std::nullopt;
    const bool isPlausible = time.tm_year > 1800 && time.tm_mon >= 1 && time.tm_mon <= 12 && time.tm_mday >= 1 &&
                             time.tm_mday <= 31 && time.tm_hour < 24 && time.tm_min < 60 && time.tm_sec <= 60;
    if (!isPlausible) return std::nullopt;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    time.tm_isdst = -1;
    char sign = 0;
    int hours = 0;
    int minutes = 0;
    const bool hasOffset = std::sscanf(offset.c_str(), "%c%2d:%2d", &sign, &hours, &minutes) == 3 &&
                           (sign == '+' || sign == '-') && hours <= 14 && minutes < 60;
    if (!hasOffset) return static_cast<double>(std::mktime(&time));
    const double ahead = (sign == '-' ? -60.0 : 60.0) * (60 * hours + minutes);
    return static_cast<double>(timegm(&time)) - ahead;
}

/// "1/250" of a time below a second, else its seconds.
std::string exposureText(double seconds) {
    char text[32];
    if (seconds > 0 && seconds < 0.5)
        std::snprintf(text, sizeof text, "1/%.0f", std::round(1 / seconds));
    else
        std::snprintf(text, sizeof text, "%g", seconds);
    return text;
}

const char* meteringModeOf(int mode) {
    constexpr std::array<const char*, 7> kModes = {"",        "Average", "CenterWeightedAverage", "Spot", "MultiSpot",
                                                   "Pattern", "Partial"};
    return mode > 0 && mode < static_cast<int>(kModes.size()) ? kModes[mode] : "";
}

/// An entry that becomes a number.
struct NumberMapping {
    std::u16string_view group;
    std::u16string_view key;
    const char* attribute;
    bool isInteger = false;
};

constexpr NumberMapping kNumbers[] = {
    {halden::kExifDictionary, u"ApertureValue", "kMDItemAperture"},
    {halden::kExifDictionary, u"MaxApertureValue", "kMDItemMaxAperture"},
    {halden::kExifDictionary, u"FNumber", "kMDItemFNumber"},
    {halden::kExifDictionary, u"FocalLength", "kMDItemFocalLength"},
    {halden::kExifDictionary, u"FocalLenIn35mmFilm", "kMDItemFocalLength35mm"},
    {halden::kExifDictionary, u"ISOSpeedRatings", "kMDItemISOSpeed", true},
    {halden::kExifDictionary, u"ExposureMode", "kMDItemExposureMode", true},
    {halden::kExifDictionary, u"ExposureProgram", "kMDItemExposureProgram", true},
    {halden::kExifDictionary, u"WhiteBalance", "kMDItemWhiteBalance", true},
    {halden::kGPSDictionary, u"Speed", "kMDItemSpeed"},
    {halden::kGPSDictionary, u"ImgDirection", "kMDItemImageDirection"},
    {halden::kGPSDictionary, u"Track", "kMDItemGPSTrack"},
    {halden::kGPSDictionary, u"DOP", "kMDItemGPSDOP"},
};

struct LineMapping {
    std::u16string_view group;
    std::u16string_view key;
    const char* attribute;
};

// Of several entries for one attribute the first one that is there counts.
constexpr LineMapping kLines[] = {
    {halden::kTIFFDictionary, u"Make", "kMDItemAcquisitionMake"},
    {halden::kTIFFDictionary, u"Model", "kMDItemAcquisitionModel"},
    {halden::kTIFFDictionary, u"Software", "kMDItemCreator"},
    {halden::kPNGDictionary, u"Software", "kMDItemCreator"},
    {halden::kExifDictionary, u"LensModel", "kMDItemLensModel"},
    {halden::kIPTCDictionary, u"ObjectName", "kMDItemTitle"},
    {halden::kIPTCDictionary, u"Headline", "kMDItemHeadline"},
    {halden::kTIFFDictionary, u"DocumentName", "kMDItemTitle"},
    {halden::kPNGDictionary, u"Title", "kMDItemTitle"},
    {halden::kIPTCDictionary, u"Caption/Abstract", "kMDItemDescription"},
    {halden::kTIFFDictionary, u"ImageDescription", "kMDItemDescription"},
    {halden::kPNGDictionary, u"Description", "kMDItemDescription"},
    {halden::kExifDictionary, u"UserComment", "kMDItemComment"},
    {halden::kPNGDictionary, u"Comment", "kMDItemComment"},
    {halden::kIPTCDictionary, u"CopyrightNotice", "kMDItemCopyright"},
    {halden::kTIFFDictionary, u"Copyright", "kMDItemCopyright"},
    {halden::kPNGDictionary, u"Copyright", "kMDItemCopyright"},
    {halden::kIPTCDictionary, u"City", "kMDItemCity"},
    {halden::kIPTCDictionary, u"Province/State", "kMDItemStateOrProvince"},
    {halden::kIPTCDictionary, u"Country/PrimaryLocationName", "kMDItemCountry"},
    {halden::kIPTCDictionary, u"SpecialInstructions", "kMDItemInstructions"},
};

void setPicture(Attributes& attributes, const Dictionary& properties) {
    const auto width = numberOf(properties.find(halden::kPixelWidth));
    const auto height = numberOf(properties.find(halden::kPixelHeight));
    if (width && height) {
        attributes.setInteger("kMDItemPixelWidth", static_cast<std::int64_t>(*width));
        attributes.setInteger("kMDItemPixelHeight", static_cast<std::int64_t>(*height));
        attributes.setInteger("kMDItemPixelCount", static_cast<std::int64_t>(*width * *height));
        // 0: wider than tall as it is shown; 1: taller than wide.
        const bool isTurned = numberOf(properties.find(halden::kOrientation)).value_or(1) > 4;
        attributes.setInteger("kMDItemOrientation", (isTurned ? *width > *height : *height > *width) ? 1 : 0);
    }
    if (const auto depth = numberOf(properties.find(halden::kDepth)))
        attributes.setInteger("kMDItemBitsPerSample", static_cast<std::int64_t>(*depth));
    attributes.setLine("kMDItemColorSpace", textOf(properties.find(halden::kColorModel)));
    attributes.setLine("kMDItemProfileName", textOf(properties.find(halden::kProfileName)));
    const Value* alpha = properties.find(halden::kHasAlpha);
    if (alpha != nullptr && alpha->is<bool>()) attributes.setBool("kMDItemHasAlphaChannel", *alpha->as<bool>());
    if (const auto resolution = numberOf(properties.find(halden::kDPIWidth)))
        attributes.setReal("kMDItemResolutionWidthDPI", *resolution);
    if (const auto resolution = numberOf(properties.find(halden::kDPIHeight)))
        attributes.setReal("kMDItemResolutionHeightDPI", *resolution);
}

void setExposure(Attributes& attributes, const Dictionary& exif) {
    if (const auto time = numberOf(exif.find(u"ExposureTime"))) {
        attributes.setReal("kMDItemExposureTimeSeconds", *time);
        attributes.setLine("kMDItemExposureTimeString", exposureText(*time));
    }
    if (const auto flash = numberOf(exif.find(u"Flash"))) {
        const auto bits = static_cast<unsigned>(*flash);
        attributes.setBool("kMDItemFlashOnOff", (bits & 1U) != 0);
        attributes.setBool("kMDItemRedEyeOnOff", (bits & 0x40U) != 0);
    }
    if (const auto mode = numberOf(exif.find(u"MeteringMode")))
        attributes.setLine("kMDItemMeteringMode", meteringModeOf(static_cast<int>(*mode)));
    attributes.setLine("kMDItemEXIFVersion", versionOf(exif.find(u"ExifVersion")));
}

void setPlace(Attributes& attributes, const Dictionary& gps) {
    const auto signedBy = [&gps](std::u16string_view key, std::u16string_view reference, std::string_view negative) {
        auto number = numberOf(gps.find(key));
        if (number && textOf(gps.find(reference)) == negative) number = -*number;
        return number;
    };
    if (const auto latitude = signedBy(u"Latitude", u"LatitudeRef", "S"))
        attributes.setReal("kMDItemLatitude", *latitude);
    if (const auto longitude = signedBy(u"Longitude", u"LongitudeRef", "W"))
        attributes.setReal("kMDItemLongitude", *longitude);
    if (const auto altitude = numberOf(gps.find(u"Altitude"))) {
        const bool isBelowSea = numberOf(gps.find(u"AltitudeRef")).value_or(0) == 1;
        attributes.setReal("kMDItemAltitude", isBelowSea ? -*altitude : *altitude);
    }
    attributes.setLine("kMDItemEXIFGPSVersion", versionOf(gps.find(u"GPSVersion")));
    attributes.setLine("kMDItemTimestamp", textOf(gps.find(u"TimeStamp")));
}

void setDates(Attributes& attributes, const Dictionary& properties) {
    const Dictionary& exif = groupOf(properties, halden::kExifDictionary);
    const Dictionary& tiff = groupOf(properties, halden::kTIFFDictionary);
    auto created = dateOf(textOf(exif.find(u"DateTimeOriginal")), textOf(exif.find(u"OffsetTimeOriginal")));
    if (!created) created = dateOf(textOf(exif.find(u"DateTimeDigitized")), textOf(exif.find(u"OffsetTimeDigitized")));
    attributes.setDate("kMDItemContentCreationDate", created);
    attributes.setDate("kMDItemContentModificationDate",
                       dateOf(textOf(tiff.find(u"DateTime")), textOf(exif.find(u"OffsetTime"))));
}

void setWords(Attributes& attributes, const halden::Data& file) {
    const auto bytes = file.span();
    const auto words = quarry::image::textOfSvg({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    attributes.setLine("kMDItemTitle", words.title);
    attributes.setLine("kMDItemDescription", words.description);
    attributes.setText("kMDItemTextContent", words.text);
}

bool importImage(Attributes& attributes, std::string_view contentType, const char* path) {
    auto file = halden::Data::contentsOfFile(path, kMaxReadSize);
    if (!file) file = halden::Data::mappedContentsOfFile(path);
    const halden::ImagesEngine* engine = halden::imagesEngineStatus().engine;
    if (!file || engine == nullptr) return false;
    file = halden::unpackedDrawing(*file);
    const halden::ImageFormat format = halden::imageFormatOf(file->span());
    const bool isDocument = format == halden::ImageFormat::pdf || format == halden::ImageFormat::postScript;
    if (format == halden::ImageFormat::unknown || isDocument) return false;
    const auto properties = engine->propertiesOf(*file, format);
    if (!properties) return false;
    setPicture(attributes, *properties);
    setExposure(attributes, groupOf(*properties, halden::kExifDictionary));
    setPlace(attributes, groupOf(*properties, halden::kGPSDictionary));
    setDates(attributes, *properties);
    for (const NumberMapping& mapping : kNumbers) {
        const auto number = numberOf(groupOf(*properties, mapping.group).find(mapping.key));
        if (!number || !std::isfinite(*number)) continue;
        if (mapping.isInteger)
            attributes.setInteger(mapping.attribute, static_cast<std::int64_t>(*number));
        else
            attributes.setReal(mapping.attribute, *number);
    }
    for (const LineMapping& mapping : kLines) {
        if (!attributes.has(mapping.attribute))
            attributes.setLine(mapping.attribute, textOf(groupOf(*properties, mapping.group).find(mapping.key)));
    }
    const Dictionary& iptc = groupOf(*properties, halden::kIPTCDictionary);
    attributes.setLines("kMDItemKeywords", textsOf(iptc.find(u"Keywords")));
    auto authors = textsOf(iptc.find(u"Byline"));
    if (authors.empty()) authors = textsOf(groupOf(*properties, halden::kTIFFDictionary).find(u"Artist"));
    if (authors.empty()) authors = textsOf(groupOf(*properties, halden::kPNGDictionary).find(u"Author"));
    attributes.setLines("kMDItemAuthors", authors);
    if (contentType == "public.svg-image") setWords(attributes, *file);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeImageImporter, importImage)
