#include "foundation/TextEncoding.h"

#include "foundation/Unicode.h"
#include "foundation/encodings/IcuCodec.h"
#include "foundation/encodings/JohabCodec.h"
#include "foundation/encodings/NonLossyAsciiCodec.h"
#include "foundation/encodings/Registry.h"
#include "foundation/encodings/SingleByteCodec.h"
#include "foundation/encodings/Utf8Codec.h"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <vector>

namespace halden {
namespace {

/// What decoding into a string works on at once: small enough to stay in the nearest cache.
constexpr std::size_t kChunk = 8192;

constexpr CFStringEncoding kCFStringEncodingUTF32 = 0x0C000100;

const EncodingRow* rowOf(CFStringEncoding encoding) noexcept {
    const auto rows = encodingRows();
    const auto found =
        std::ranges::lower_bound(rows, encoding, {}, [](const EncodingRow& row) { return row.encoding.cfEncoding; });
    return found != rows.end() && found->encoding.cfEncoding == encoding ? &*found : nullptr;
}

std::unique_ptr<const Codec> tableCodec(CFStringEncoding encoding) {
    std::array<char16_t, 256> units;
    for (unsigned byte = 0; byte < 256; ++byte)
        units[byte] = byte < 128 ? static_cast<char16_t>(byte) : kUndefinedUnit;
    const auto tables = singleByteTables();
    const auto table = std::ranges::find(tables, encoding, &SingleByteTable::encoding);
    if (table != tables.end()) {
        if (table->lower != nullptr) std::copy_n(table->lower, 128, units.begin());
        std::copy_n(table->upper, 128, units.begin() + 128);
    }
    const auto sequences = std::ranges::equal_range(byteSequences(), encoding, {}, &ByteSequence::encoding);
    return std::make_unique<SingleByteCodec>(units, std::span(sequences.begin(), sequences.end()));
}

/// Converters for one byte a character are turned into tables, which are far quicker.
std::unique_ptr<const Codec> icuCodec(const EncodingRow& row) {
    if (!IcuCodec::hasConverter(row.converter)) return nullptr;
    if (auto units = IcuCodec::singleByteUnits(row.converter)) {
        // The tables of some code pages permute the control characters 1A, 1C and 7F, as their terminals did.
        if ((*units)['A'] == u'A') {
            for (unsigned byte = 0; byte < 128; ++byte)
                (*units)[byte] = static_cast<char16_t>(byte);
        }
        return std::make_unique<SingleByteCodec>(*units);
    }
    IcuCodec::Options options{.exchanges = row.exchanges};
    if (row.encoding.cfEncoding == kCFStringEncodingUTF16) {
        options.mark = "\xFF\xFE";
        options.encoder = "UTF-16LE";
    } else if (row.encoding.cfEncoding == kCFStringEncodingUTF32) {
        options.mark = std::string_view("\xFF\xFE\0\0", 4);
        options.encoder = "UTF-32LE";
    }
    return std::make_unique<IcuCodec>(row.converter, options);
}

std::unique_ptr<const Codec> makeCodec(const EncodingRow& row) {
    switch (row.kind) {
        case CodecKind::none:
            return nullptr;
        case CodecKind::icu:
            return icuCodec(row);
        case CodecKind::table:
            return tableCodec(row.encoding.cfEncoding);
        case CodecKind::utf8:
            return std::make_unique<Utf8Codec>();
        case CodecKind::johab:
            if (!JohabCodec::isAvailable()) return nullptr;
            return std::make_unique<JohabCodec>(
                row.encoding.cfEncoding == kCFStringEncodingWindowsKoreanJohab ? u'\\' : u'\u20A9');
        case CodecKind::nonLossyAscii:
            return std::make_unique<NonLossyAsciiCodec>();
    }
    return nullptr;
}

/// A codec for each row, made when it is first asked for and kept for the life of the process.
struct CodecSlot {
    std::once_flag once;
    std::unique_ptr<const Codec> codec;
};

const Codec* codecOf(CFStringEncoding encoding) {
    static std::vector<CodecSlot> slots(encodingRows().size());
    const EncodingRow* row = rowOf(encoding);
    if (row == nullptr) return nullptr;
    CodecSlot& slot = slots[static_cast<std::size_t>(row - encodingRows().data())];
    std::call_once(slot.once, [&] { slot.codec = makeCodec(*row); });
    return slot.codec.get();
}

std::u16string decodeInChunks(const Codec& codec, std::string_view bytes, std::size_t limit, DecodeResult& result) {
    std::u16string text;
    text.reserve(std::min(bytes.size(), limit));
    std::array<char16_t, kChunk> chunk;
    result = {DecodeStatus::outputFull};
    while (result.status == DecodeStatus::outputFull) {
        const std::size_t room = std::min(kChunk, limit - text.size());
        const DecodeStep step = codec.decode(bytes, std::span(chunk).first(room));
        text.append(chunk.data(), step.unitsWritten);
        bytes.remove_prefix(step.bytesRead);
        result.undefined += step.undefined;
        result.status = step.status;
        if (step.unitsWritten == 0) break;  // not even one character has room
    }
    return text;
}

}  // namespace

std::span<const TextEncoding> textEncodings() noexcept {
    static const std::vector<TextEncoding> encodings = [] {
        std::vector<TextEncoding> all;
        for (const EncodingRow& row : encodingRows())
            all.push_back(row.encoding);
        return all;
    }();
    return encodings;
}

NSStringEncoding CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding) noexcept {
    const EncodingRow* row = rowOf(encoding);
    return row == nullptr ? kInvalidEncoding : row->encoding.nsEncoding;
}

CFStringEncoding CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding) noexcept {
    const auto rows = encodingRows();
    const auto found =
        std::ranges::find(rows, encoding, [](const EncodingRow& row) { return row.encoding.nsEncoding; });
    return found == rows.end() ? kInvalidEncoding : found->encoding.cfEncoding;
}

bool CFStringIsEncodingAvailable(CFStringEncoding encoding) noexcept {
    return codecOf(encoding) != nullptr;
}

DecodeResult decodeText(std::string_view bytes, CFStringEncoding encoding, std::span<char16_t> out) {
    const Codec* codec = codecOf(encoding);
    if (codec == nullptr) return {};
    const DecodeStep step = codec->decode(bytes, out);
    return {step.status, step.unitsWritten, step.undefined};
}

std::u16string decodedText(std::string_view bytes, CFStringEncoding encoding, std::size_t limit, DecodeResult& result) {
    const Codec* codec = codecOf(encoding);
    std::u16string text;
    if (codec == nullptr) {
        result = {};
        return text;
    }
    if (codec->isStateless()) {
        text = decodeInChunks(*codec, bytes, limit, result);
    } else {
        text.resize(limit);
        const DecodeStep step = codec->decode(bytes, text);
        text.resize(step.unitsWritten);
        result = {step.status, 0, step.undefined};
    }
    // Texts that are much shorter than the room for them give it back.
    if (text.capacity() / 2 > text.size() + kChunk) text.shrink_to_fit();
    result.unitsWritten = text.size();
    return text;
}

std::optional<std::u16string> strictlyDecodedText(std::string_view bytes, CFStringEncoding encoding) {
    const Codec* codec = codecOf(encoding);
    if (codec == nullptr) return std::nullopt;
    // Only the tables give several units for a byte, and those need no room in advance.
    const std::size_t limit = codec->isStateless() ? SIZE_MAX : bytes.size() + 1;
    DecodeResult result;
    std::u16string text = decodedText(bytes, encoding, limit, result);
    if (result.status != DecodeStatus::complete || result.undefined > 0) return std::nullopt;
    return text;
}

std::optional<std::string> encodedText(std::u16string_view text, CFStringEncoding encoding) {
    const Codec* codec = codecOf(encoding);
    if (codec == nullptr) return std::nullopt;
    return codec->encode(text);
}

std::size_t countReplacementCharacters(std::u16string_view text) noexcept {
    std::size_t count = 0;
    for (const char16_t unit : text)
        count += unit == kReplacementCharacter ? 1 : 0;
    return count;
}

}  // namespace halden
