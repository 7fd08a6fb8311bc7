#include "platform/images/module/Properties.h"

#include "foundation/Unicode.h"
#include "platform/images/ByteReader.h"
#include "platform/images/IcnsFile.h"
#include "platform/images/ImageProperties.h"
#include "platform/images/JpegHeader.h"
#include "platform/images/PngHeader.h"
#include "platform/images/module/Metadata.h"

#include <cmath>
#include <cstring>
#include <string>

namespace halden::images {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kCentimetresPerInch = 2.54;

/// The general entries, before they are put in their order.
struct General {
    std::int64_t width = 0;
    std::int64_t height = 0;
    double xResolution = 0;  ///< pixels an inch; 0: not told
    double yResolution = 0;
    int depth = 8;
    std::u16string_view colorModel = u"RGB";
    bool hasAlpha = false;
    int orientation = 1;
    std::u16string profileName;
};

std::u16string unitsOf(const ByteReader& profile, std::size_t at, std::size_t length) {
    std::u16string text;
    for (std::size_t i = 0; i + 1 < length && profile.has(at + i, 2); i += 2)
        text.push_back(profile.u16(at + i));
    return text.substr(0, text.find(u'\0'));
}

/// The description inside a colour profile: of the second version in ASCII, of the fourth in the first language.
std::u16string nameOfProfile(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kTable = 128;
    constexpr std::size_t kLongestName = 512;
    const ByteReader profile(bytes, ByteReader::Order::big);
    const std::size_t count = std::min<std::size_t>(profile.u32(kTable), 100);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = kTable + 4 + 12 * i;
        if (profile.u32(entry) != 0x64657363) continue;  // "desc"
        const std::size_t at = profile.u32(entry + 4);
        if (profile.u32(at) == 0x6D6C7563)  // "mluc"
            return unitsOf(profile, at + profile.u32(at + 24),
                           std::min<std::size_t>(profile.u32(at + 20), kLongestName));
        const auto text = profile.range(at + 12, std::min<std::size_t>(profile.u32(at + 8), kLongestName));
        const std::string_view name(reinterpret_cast<const char*>(text.data()), text.size());
        return utf16FromUtf8(name.substr(0, name.find('\0')));
    }
    return {};
}

std::u16string_view modelOf(VipsImage* picture) {
    switch (vips_image_guess_interpretation(picture)) {
        case VIPS_INTERPRETATION_B_W:
        case VIPS_INTERPRETATION_GREY16:
            return u"Gray";
        case VIPS_INTERPRETATION_CMYK:
            return u"CMYK";
        case VIPS_INTERPRETATION_LAB:
        case VIPS_INTERPRETATION_LABS:
        case VIPS_INTERPRETATION_LABQ:
            return u"Lab";
        default:
            return u"RGB";
    }
}

int depthOf(VipsImage* picture) {
    int bits = 0;
    if (vips_image_get_typeof(picture, "bits-per-sample") != 0 &&
        vips_image_get_int(picture, "bits-per-sample", &bits) == 0 && bits > 0)
        return bits;
    if (vips_image_get_typeof(picture, "heif-bitdepth") != 0 &&
        vips_image_get_int(picture, "heif-bitdepth", &bits) == 0 && bits > 0)
        return bits;
    return static_cast<int>(8 * vips_format_sizeof(vips_image_get_format(picture)));
}

void readPicture(General& general, VipsImage* picture, ImageFormat format) {
    general.width = vips_image_get_width(picture);
    general.height = vips_image_get_height(picture);
    general.depth = depthOf(picture);
    general.colorModel = modelOf(picture);
    general.hasAlpha = vips_image_hasalpha(picture) != 0;
    // The library has 1 pixel a millimetre for files that do not tell.
    const bool isTold = vips_image_get_typeof(picture, "resolution-unit") != 0 || format == ImageFormat::tiff;
    if (isTold && vips_image_get_xres(picture) != 1.0) {
        general.xResolution = vips_image_get_xres(picture) * kMillimetresPerInch;
        general.yResolution = vips_image_get_yres(picture) * kMillimetresPerInch;
    }
    const void* profile = nullptr;
    std::size_t length = 0;
    if (vips_image_get_typeof(picture, VIPS_META_ICC_NAME) != 0 &&
        vips_image_get_blob(picture, VIPS_META_ICC_NAME, &profile, &length) == 0)
        general.profileName = nameOfProfile({static_cast<const std::uint8_t*>(profile), length});
    vips_error_clear();
}

void readJpeg(General& general, const JpegHeader& header) {
    general.width = header.width;
    general.height = header.height;
    general.depth = header.precision;
    general.colorModel = header.components == 1 ? u"Gray" : header.components == 4 ? u"CMYK" : u"RGB";
    if (header.exifXResolution > 0 && header.exifYResolution > 0) {
        general.xResolution = header.exifXResolution;
        general.yResolution = header.exifYResolution;
    } else if (header.densityUnit == 1 || header.densityUnit == 2) {
        const double unit = header.densityUnit == 2 ? kCentimetresPerInch : 1;
        general.xResolution = header.xDensity * unit;
        general.yResolution = header.yDensity * unit;
    }
}

void readPng(General& general, const PngHeader& header) {
    general.width = header.width;
    general.height = header.height;
    general.depth = header.depth;
    general.colorModel = (header.colorType & 2) != 0 ? u"RGB" : u"Gray";
    general.hasAlpha = header.hasAlpha;
    general.xResolution = resolutionFromMetre(header.xPixelsPerMeter);
    general.yResolution = resolutionFromMetre(header.yPixelsPerMeter);
}

Dictionary jfifProperties(const JpegHeader& header) {
    Dictionary jfif;
    if (!header.hasJfif) return jfif;
    jfif.set(u"JFIFVersion", Array{header.jfifVersion >> 8, header.jfifVersion & 0xFF});
    jfif.set(u"XDensity", header.xDensity);
    jfif.set(u"YDensity", header.yDensity);
    jfif.set(u"DensityUnit", header.densityUnit);
    jfif.set(u"IsProgressive", header.isProgressive);
    return jfif;
}

Dictionary dictionaryOf(const General& general) {
    Dictionary properties;
    properties.set(std::u16string(kPixelWidth), general.width);
    properties.set(std::u16string(kPixelHeight), general.height);
    if (general.xResolution > 0 && general.yResolution > 0) {
        properties.set(std::u16string(kDPIWidth), general.xResolution);
        properties.set(std::u16string(kDPIHeight), general.yResolution);
    }
    properties.set(std::u16string(kDepth), general.depth);
    properties.set(std::u16string(kColorModel), general.colorModel);
    properties.set(std::u16string(kHasAlpha), general.hasAlpha);
    if (general.orientation != 1) properties.set(std::u16string(kOrientation), general.orientation);
    if (!general.profileName.empty()) properties.set(std::u16string(kProfileName), general.profileName);
    return properties;
}

void setUnlessEmpty(Dictionary& properties, std::u16string_view key, Dictionary group) {
    if (!group.empty()) properties.set(std::u16string(key), std::move(group));
}

/// Reads the general entries; false when there is no picture.
bool readGeneral(General& general, const Data& file, ImageFormat format, const std::optional<JpegHeader>& jpeg,
                 const std::optional<PngHeader>& png) {
    // Only a profile needs more than the header, and starting the library takes its time.
    if (jpeg && !jpeg->hasProfile) {
        readJpeg(general, *jpeg);
        return true;
    }
    if (const VipsPicture picture = openPicture(file, format, 0)) readPicture(general, picture.get(), format);
    if (jpeg) readJpeg(general, *jpeg);
    if (png) readPng(general, *png);
    return general.width > 0 && general.height > 0;
}

}  // namespace

std::optional<Dictionary> propertiesOf(const Data& file, ImageFormat format) {
    General general;
    const Metadata metadata(file);
    const auto jpeg = format == ImageFormat::jpeg ? jpegHeaderOf(file.span()) : std::nullopt;
    const auto png = format == ImageFormat::png ? pngHeaderOf(file.span()) : std::nullopt;
    if (format == ImageFormat::icns) {
        const auto elements = icnsElementsOf(file);
        if (elements.empty()) return std::nullopt;
        general.width = elements.front().size.width;
        general.height = elements.front().size.height;
        general.hasAlpha = true;
    } else if (format == ImageFormat::cameraRaw) {
        general.width = metadata.width();
        general.height = metadata.height();
        if (general.width <= 0 || general.height <= 0) return std::nullopt;
    } else if (!readGeneral(general, file, format, jpeg, png)) {
        return std::nullopt;
    }
    general.orientation = metadata.orientation();
    Dictionary properties = dictionaryOf(general);
    setUnlessEmpty(properties, kExifDictionary, metadata.exif());
    setUnlessEmpty(properties, kTIFFDictionary, metadata.tiff());
    setUnlessEmpty(properties, kGPSDictionary, metadata.gps());
    setUnlessEmpty(properties, kIPTCDictionary, metadata.iptc());
    if (png) setUnlessEmpty(properties, kPNGDictionary, png->properties);
    if (jpeg) setUnlessEmpty(properties, kJFIFDictionary, jfifProperties(*jpeg));
    return properties;
}

}  // namespace halden::images
