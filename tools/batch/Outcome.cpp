#include "tools/batch/Outcome.h"

#include "foundation/Path.h"
#include "foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace quarry::tools {
namespace {

using halden::Dictionary;
using halden::Value;

constexpr std::array<std::string_view, kBatchStatusCount> kNames{"ok",      "empty", "locked", "none", "missing",
                                                                 "timeout", "crash", "oom",    "error"};

/// Under these keys the operations that read text have it.
constexpr std::array<std::u16string_view, 2> kTextKeys{u"kMDItemTextContent", u"String"};

bool isBlank(std::u16string_view text) noexcept {
    return text.find_first_not_of(u" \t\n\r\f\u00A0\u2028\u2029") == text.npos;
}

bool hasText(const Dictionary& result) {
    return std::ranges::any_of(kTextKeys, [&](std::u16string_view key) {
        const Value* value = result.find(key);
        const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
        return value != nullptr && (text == nullptr || !isBlank(*text));  // attributed text is data
    });
}

/// A password keeps the text from being read: the engine says so, or an importer names the method.
bool isLocked(const Dictionary& result) {
    const Value* locked = result.find(u"Locked");
    const bool* yes = locked != nullptr ? locked->as<bool>() : nullptr;
    return (yes != nullptr && *yes) || (result.contains(u"kMDItemSecurityMethod") && !hasText(result));
}

}  // namespace

std::string_view nameOf(BatchStatus status) noexcept {
    return kNames[static_cast<std::size_t>(status)];
}

BatchStatus statusOfResult(const BatchOperation& operation, const Value& result) {
    if (result.is<halden::Null>()) {
        return BatchStatus::none;
    }
    const auto* dictionary = result.as<Dictionary>();
    if (dictionary == nullptr) {
        return BatchStatus::ok;
    }
    if (isLocked(*dictionary)) {
        return BatchStatus::locked;
    }
    return operation.wantsText && !hasText(*dictionary) ? BatchStatus::empty : BatchStatus::ok;
}

std::string lineOf(const BatchRequest& request, BatchOutcome outcome, halden::JsonData data) {
    const std::string_view status = nameOf(outcome.status);
    Dictionary line{
        {u"id", request.id},
        {u"path", request.path.empty() ? Value() : Value(halden::stringFromPathBytes(request.path))},
        {u"status", std::u16string(status.begin(), status.end())},
        {u"attempts", outcome.attempts},
        {u"milliseconds", std::round(outcome.milliseconds * 1000) / 1000},
        {u"result", std::move(outcome.result)},
    };
    if (!outcome.explanation.empty()) {
        line.set(u"error", halden::utf16FromUtf8(outcome.explanation));
    }
    return halden::jsonFromValue(Value(std::move(line)), {.data = data}) + "\n";
}

}  // namespace quarry::tools
