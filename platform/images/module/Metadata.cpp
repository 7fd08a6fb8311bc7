#include "platform/images/module/Metadata.h"

#include "foundation/Unicode.h"
#include "platform/images/module/PropertyKeys.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>

namespace halden::images {
namespace {

constexpr long kLongestText = 64L * 1024;
constexpr long kMostNumbers = 256;

void startOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
#ifdef EXV_ENABLE_BMFF
        Exiv2::enableBMFF(true);
#endif
    });
}

std::u16string cleanText(std::string text) {
    text = text.substr(0, text.find('\0'));
    text.erase(text.find_last_not_of(" \r\n\t") + 1);
    return utf16FromUtf8(text);
}

/// nullopt for a fraction without a divisor.
std::optional<double> realAt(const Exiv2::Value& value, long index) {
    const auto type = value.typeId();
    if (type == Exiv2::unsignedRational || type == Exiv2::signedRational) {
        const Exiv2::Rational number = value.toRational(index);
        if (number.second == 0) return std::nullopt;
        if (type == Exiv2::unsignedRational)
            return static_cast<double>(static_cast<std::uint32_t>(number.first)) /
                   static_cast<std::uint32_t>(number.second);
        return static_cast<double>(number.first) / number.second;
    }
    return static_cast<double>(value.toFloat(index));
}

bool isReal(const Exiv2::Value& value) {
    switch (value.typeId()) {
        case Exiv2::unsignedRational:
        case Exiv2::signedRational:
        case Exiv2::tiffFloat:
        case Exiv2::tiffDouble:
            return true;
        default:
            return false;
    }
}

std::int64_t integerAt(const Exiv2::Value& value, long index) {
    const auto number = static_cast<std::int64_t>(value.toLong(index));
    return value.typeId() == Exiv2::unsignedLong ? static_cast<std::uint32_t>(number) : number;
}

std::optional<Value> numberAt(const Exiv2::Value& value, long index) {
    if (!isReal(value)) return Value(integerAt(value, index));
    const auto real = realAt(value, index);
    return real && std::isfinite(*real) ? std::optional<Value>(*real) : std::nullopt;
}

Array numbersOf(const Exiv2::Value& value) {
    Array numbers;
    for (long i = 0; i < value.count(); ++i) {
        if (auto number = numberAt(value, i)) numbers.push_back(std::move(*number));
    }
    return numbers;
}

/// "0230" is 2, 3: a leading and a trailing zero say nothing.
Array digitsOf(const Exiv2::Value& value) {
    Array numbers;
    for (long i = 0; i < value.count(); ++i) {
        const long digit = value.toLong(i) - '0';
        if (digit >= 0 && digit <= 9) numbers.emplace_back(static_cast<std::int64_t>(digit));
    }
    if (!numbers.empty() && numbers.front() == Value(0)) numbers.erase(numbers.begin());
    if (numbers.size() > 2 && numbers.back() == Value(0)) numbers.pop_back();
    return numbers;
}

std::optional<Value> degreesOf(const Exiv2::Value& value) {
    double degrees = 0;
    double unit = 1;
    for (long i = 0; i < std::min(value.count(), 3L); ++i, unit *= 60)
        degrees += realAt(value, i).value_or(0) / unit;
    if (value.count() == 0 || !realAt(value, 0) || !std::isfinite(degrees)) return std::nullopt;
    return degrees;
}

std::optional<Value> timeOf(const Exiv2::Value& value) {
    if (value.count() < 3) return std::nullopt;
    const double parts[] = {realAt(value, 0).value_or(-1), realAt(value, 1).value_or(-1),
                            realAt(value, 2).value_or(-1)};
    if (!(parts[0] >= 0 && parts[0] < 24 && parts[1] >= 0 && parts[1] < 60 && parts[2] >= 0 && parts[2] < 61))
        return std::nullopt;
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(parts[0]), static_cast<int>(parts[1]),
                  static_cast<int>(parts[2]));
    return Value(utf16FromUtf8(text));
}

std::optional<Value> textOf(std::string text) {
    std::u16string clean = cleanText(std::move(text));
    return clean.empty() ? std::nullopt : std::optional<Value>(std::move(clean));
}

std::optional<Value> arrayUnlessEmpty(Array array) {
    return array.empty() ? std::nullopt : std::optional<Value>(std::move(array));
}

std::optional<Value> plainValue(const Exiv2::Value& value) {
    if (value.typeId() == Exiv2::asciiString) return textOf(value.toString());
    if (value.count() == 1) return numberAt(value, 0);
    return arrayUnlessEmpty(numbersOf(value));
}

std::optional<Value> valueOf(const Exiv2::Exifdatum& datum, PropertyForm form) {
    const Exiv2::Value& value = datum.value();
    const bool isText =
        value.typeId() == Exiv2::asciiString || form == PropertyForm::comment || form == PropertyForm::text;
    if (value.count() <= 0 || value.size() > kLongestText || (!isText && value.count() > kMostNumbers))
        return std::nullopt;
    switch (form) {
        case PropertyForm::numbers:
            return arrayUnlessEmpty(numbersOf(value));
        case PropertyForm::digits:
            return arrayUnlessEmpty(digitsOf(value));
        case PropertyForm::coordinate:
            return degreesOf(value);
        case PropertyForm::time:
            return timeOf(value);
        case PropertyForm::text:
            return textOf(value.toString());
        case PropertyForm::comment: {
            const auto* comment = dynamic_cast<const Exiv2::CommentValue*>(&value);
            return textOf(comment != nullptr ? comment->comment() : value.toString());
        }
        case PropertyForm::plain:
            break;
    }
    return plainValue(value);
}

/// The tags of one group, in the order of the table.
Dictionary groupOf(const Exiv2::ExifData& tags, const char* group, std::span<const PropertyKey> keys) {
    Dictionary result;
    for (const PropertyKey& key : keys) {
        const auto datum = std::ranges::find_if(
            tags, [&](const auto& candidate) { return candidate.tag() == key.tag && candidate.groupName() == group; });
        if (datum == tags.end()) continue;
        try {
            if (auto value = valueOf(*datum, key.form)) result.set(std::u16string(key.key), std::move(*value));
        } catch (const std::exception&) {
            // A value that makes no sense is left out, and the others stay.
        }
    }
    return result;
}

Data copied(const Exiv2::DataBuf& buffer) {
    return buffer.pData_ != nullptr
               ? Data::copying(std::span<const std::uint8_t>(buffer.pData_, static_cast<std::size_t>(buffer.size_)))
               : Data();
}

template <class Body>
auto withoutExceptions(Body body) -> decltype(body()) {
    try {
        return body();
    } catch (const std::exception&) {
        return {};
    }
}

}  // namespace

Metadata::Metadata(const Data& file) : file_(file) {
    startOnce();
    withoutExceptions([&] {
        image_ = Exiv2::ImageFactory::open(file_.bytes(), static_cast<long>(file_.length()));
        if (image_) image_->readMetadata();
        return 0;
    });
}

Dictionary Metadata::exif() const {
    return image_ ? groupOf(image_->exifData(), "Photo", exifKeys()) : Dictionary();
}

Dictionary Metadata::tiff() const {
    return image_ ? groupOf(image_->exifData(), "Image", tiffKeys()) : Dictionary();
}

Dictionary Metadata::gps() const {
    return image_ ? groupOf(image_->exifData(), "GPSInfo", gpsKeys()) : Dictionary();
}

Dictionary Metadata::iptc() const {
    Dictionary result;
    if (!image_) return result;
    for (const IptcKey& key : iptcKeys()) {
        Array values;
        for (const auto& datum : image_->iptcData()) {
            if (datum.record() != Exiv2::IptcDataSets::application2 || datum.tag() != key.dataSet) continue;
            auto text = withoutExceptions([&] { return textOf(datum.toString().substr(0, kLongestText)); });
            if (text && values.size() < kMostNumbers) values.push_back(std::move(*text));
        }
        if (values.empty()) continue;
        result.set(std::u16string(key.key), key.isRepeatable ? Value(std::move(values)) : std::move(values.front()));
    }
    return result;
}

int Metadata::orientation() const {
    return withoutExceptions([&]() -> int {
        if (!image_) return 1;
        const auto datum = image_->exifData().findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        const long value = datum != image_->exifData().end() && datum->count() > 0 ? datum->toLong() : 1;
        return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
    });
}

Data Metadata::thumbnail() const {
    return withoutExceptions([&] { return image_ ? copied(Exiv2::ExifThumbC(image_->exifData()).copy()) : Data(); });
}

Data Metadata::preview(int enough) const {
    return withoutExceptions([&]() -> Data {
        if (!image_) return {};
        const Exiv2::PreviewManager manager(*image_);
        // From the smallest to the largest one.
        const Exiv2::PreviewPropertiesList previews = manager.getPreviewProperties();
        if (previews.empty()) return {};
        auto chosen = std::ranges::find_if(previews, [enough](const auto& preview) {
            return static_cast<int>(std::max(preview.width_, preview.height_)) >= enough;
        });
        if (chosen == previews.end()) --chosen;
        const Exiv2::PreviewImage preview = manager.getPreviewImage(*chosen);
        return Data::copying(std::span<const std::uint8_t>(preview.pData(), preview.size()));
    });
}

int Metadata::width() const {
    return image_ ? image_->pixelWidth() : 0;
}

int Metadata::height() const {
    return image_ ? image_->pixelHeight() : 0;
}

}  // namespace halden::images
