#include "foundation/encodings/IcuCodec.h"

#include "foundation/Unicode.h"
#include "foundation/encodings/SingleByteTables.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <memory>

namespace halden {
namespace {

struct ConverterCloser {
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
};
using ConverterPointer = std::unique_ptr<UConverter, ConverterCloser>;

ConverterPointer openConverter(const char* name) noexcept {
    UErrorCode error = U_ZERO_ERROR;
    ConverterPointer converter(ucnv_open(name, &error));
    return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

/// Characters that the encoding leaves undefined become U+FFFD and are counted; whatever else is wrong stops.
void countUndefined(const void* context, UConverterToUnicodeArgs* arguments, const char*, std::int32_t,
                    UConverterCallbackReason reason, UErrorCode* error) {
    if (reason != UCNV_UNASSIGNED) return;
    *error = U_ZERO_ERROR;
    const UChar replacement = kReplacementCharacter;
    ucnv_cbToUWriteUChars(arguments, &replacement, 1, 0, error);
    ++*static_cast<std::size_t*>(const_cast<void*>(context));
}

/// Stops at whatever cannot be written. (ICU's own callback of this kind drops invisible characters silently.)
void stopAtUnwritable(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
                      UConverterCallbackReason, UErrorCode*) {}

/// Replaces what ICU gives by what it stands for; returns how many units became undefined.
std::size_t exchangeDecoded(std::u16string_view exchanges, std::span<char16_t> units) noexcept {
    std::size_t undefined = 0;
    for (char16_t& unit : units) {
        for (std::size_t i = 0; i < exchanges.size(); i += 2) {
            if (unit != exchanges[i]) continue;
            unit = exchanges[i + 1];
            undefined += unit == kUndefinedUnit ? 1 : 0;
            break;
        }
    }
    return undefined;
}

/// The reverse; nullopt when a unit is one that ICU would write for another.
std::optional<std::u16string> exchangedForEncoding(std::u16string_view exchanges, std::u16string_view text) {
    std::u16string exchanged(text);
    for (char16_t& unit : exchanged) {
        bool isTaken = unit == kUndefinedUnit;
        bool isExchanged = false;
        for (std::size_t i = 0; i < exchanges.size() && !isExchanged; i += 2) {
            isExchanged = !isTaken && unit == exchanges[i + 1];
            if (isExchanged) unit = exchanges[i];
        }
        for (std::size_t i = 0; i < exchanges.size() && !isExchanged; i += 2)
            isTaken = isTaken || unit == exchanges[i];
        if (isTaken && !isExchanged) return std::nullopt;
    }
    return exchanged;
}

DecodeStatus statusOf(UErrorCode error) noexcept {
    if (error == U_BUFFER_OVERFLOW_ERROR) return DecodeStatus::outputFull;
    if (error == U_TRUNCATED_CHAR_FOUND) return DecodeStatus::partial;
    return U_SUCCESS(error) ? DecodeStatus::complete : DecodeStatus::malformed;
}

}  // namespace

IcuCodec::IcuCodec(const char* name, Options options) : name_(name), options_(options) {}

bool IcuCodec::hasConverter(const char* name) noexcept {
    return openConverter(name) != nullptr;
}

DecodeStep IcuCodec::decode(std::string_view bytes, std::span<char16_t> out) const {
    DecodeStep step;
    const ConverterPointer converter = openConverter(name_);
    if (converter == nullptr) {
        step.status = DecodeStatus::unavailable;
        return step;
    }
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter.get(), countUndefined, &step.undefined, nullptr, nullptr, &error);
    const char* source = bytes.data();
    char16_t* target = out.data();
    ucnv_toUnicode(converter.get(), &target, out.data() + out.size(), &source, bytes.data() + bytes.size(), nullptr,
                   /*flush=*/true, &error);
    step.status = statusOf(error);
    // A pair whose second half has no room is not written at all.
    if (step.status == DecodeStatus::outputFull && target != out.data() && isHighSurrogate(target[-1])) --target;
    step.unitsWritten = static_cast<std::size_t>(target - out.data());
    if (!options_.exchanges.empty())
        step.undefined += exchangeDecoded(options_.exchanges, out.first(step.unitsWritten));
    return step;
}

std::optional<std::string> IcuCodec::encode(std::u16string_view text) const {
    std::optional<std::u16string> exchanged;
    if (!options_.exchanges.empty()) {
        exchanged = exchangedForEncoding(options_.exchanges, text);
        if (!exchanged) return std::nullopt;
        text = *exchanged;
    }
    const ConverterPointer converter = openConverter(options_.encoder != nullptr ? options_.encoder : name_);
    if (converter == nullptr) return std::nullopt;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setFromUCallBack(converter.get(), stopAtUnwritable, nullptr, nullptr, nullptr, &error);
    std::string bytes(options_.mark);
    const char16_t* source = text.data();
    char buffer[4096];
    do {
        error = U_ZERO_ERROR;
        char* target = buffer;
        ucnv_fromUnicode(converter.get(), &target, std::end(buffer), &source, text.data() + text.size(), nullptr,
                         /*flush=*/true, &error);
        bytes.append(buffer, target);
    } while (error == U_BUFFER_OVERFLOW_ERROR);
    if (U_FAILURE(error)) return std::nullopt;
    return bytes;
}

std::optional<std::array<char16_t, 256>> IcuCodec::singleByteUnits(const char* name) {
    const ConverterPointer converter = openConverter(name);
    if (converter == nullptr || ucnv_getMaxCharSize(converter.get()) != 1) return std::nullopt;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    std::array<char16_t, 256> units;
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char one = static_cast<char>(byte);
        const char* source = &one;
        char16_t decoded[4];
        char16_t* target = decoded;
        error = U_ZERO_ERROR;
        ucnv_resetToUnicode(converter.get());
        ucnv_toUnicode(converter.get(), &target, std::end(decoded), &source, &one + 1, nullptr, /*flush=*/true, &error);
        units[byte] = U_SUCCESS(error) && target == decoded + 1 ? decoded[0] : kUndefinedUnit;
    }
    return units;
}

}  // namespace halden
