#include "tools/batch/Request.h"

#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "tools/DocumentText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quarry::tools {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::HaldenImExportProxy;
using halden::Value;

std::u16string pathOf(const BatchRequest& request) {
    return halden::stringFromPathBytes(request.path);
}

bool flag(const BatchRequest& request, std::u16string_view name) {
    const Value* value = request.fields.find(name);
    const bool* yes = value != nullptr ? value->as<bool>() : nullptr;
    return yes != nullptr && *yes;
}

std::optional<std::u16string> text(const BatchRequest& request, std::u16string_view name) {
    const Value* value = request.fields.find(name);
    const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
    return string != nullptr ? std::optional(*string) : std::nullopt;
}

template <class Result>
Value valueOf(std::optional<Result> result) {
    return result ? Value(std::move(*result)) : Value();
}

/// The file's bytes, mapped where they are sent as a memory file: nobody reads those here.
Data bytesOf(const BatchRequest& request) {
    constexpr std::size_t kMostInAMessage = std::size_t{1} << 20;
    if (auto bytes = Data::contentsOfFile(request.path, kMostInAMessage)) return *bytes;
    return Data::mappedContentsOfFile(request.path).value_or(Data());
}

constexpr std::array kOperations{
    BatchOperation{"document", "", true,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(metadataAndText(helper, pathOf(request)));
                   }},
    BatchOperation{"metadata", "metaDataForFile:", true,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.metaDataForFile(pathOf(request)));
                   }},
    BatchOperation{"supports", "supportsFile:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return helper.supportsFile(pathOf(request)) ? Value(true) : Value();
                   }},
    BatchOperation{"pdf", "attributed:stringWithPDF:", true,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.attributedStringWithPDF(bytesOf(request),
                                                                     {.attributed = flag(request, u"attributed")}));
                   }},
    BatchOperation{"image", "imageWithContentsOfFile:stringFromPDF:canUseSpotlight:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.imageWithContentsOfFile(
                           pathOf(request), {.stringFromPDF = flag(request, u"stringFromPDF"),
                                             .canUseSpotlight = flag(request, u"canUseSpotlight")}));
                   }},
    BatchOperation{"pdf-data", "PDFImageRepOfFile:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.PDFImageRepOfFile(pathOf(request)));
                   }},
    BatchOperation{"poster", "posterImageForMovieWithFile:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.posterImageForMovieWithFile(pathOf(request)));
                   }},
    BatchOperation{"richtext", "attributedStringWithContentsOfFile:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(helper.attributedStringWithContentsOfFile(pathOf(request)));
                   }},
    BatchOperation{"webarchive", "searchableTextOfWebArchive:", true,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       auto result = helper.searchableTextOfWebArchive(pathOf(request));
                       return result && !result->empty() ? Value(std::move(*result)) : Value();
                   }},
    BatchOperation{"html", "RTFDWithHTML:baseURL:allowRemoteRequest:charset:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       return valueOf(
                           helper.RTFDWithHTML(bytesOf(request), text(request, u"baseURL"), text(request, u"charset"),
                                               {.allowRemoteRequest = flag(request, u"allowRemoteRequest")}));
                   }},
    BatchOperation{"write-rtfd", "writeRTFDData:toFile:", false,
                   [](HaldenImExportProxy& helper, const BatchRequest& request) {
                       const std::u16string file = text(request, u"file").value_or(u"");
                       return helper.writeRTFDDataToFile(bytesOf(request), file) ? Value(true) : Value();
                   }},
};

/// FNV-1a: the same in every run, which keys in a journal must be.
class Hash {
public:
    void add(std::string_view bytes) noexcept {
        for (const char byte : bytes) {
            hash_ = (hash_ ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
        }
        hash_ = (hash_ ^ 0xFF) * 0x100000001B3;  // which no UTF-8 has: parts do not run together
    }
    [[nodiscard]] std::uint64_t value() const noexcept { return hash_; }

private:
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

void takeField(BatchRequest& request, std::u16string_view name, const Value& value) {
    if (name == u"id") {
        request.id = value;
        request.hasOwnId = true;
        return;
    }
    const auto* string = value.as<std::u16string>();
    if (name == u"op") {
        const BatchOperation* operation =
            string != nullptr ? findBatchOperation(halden::utf8FromUtf16(*string)) : nullptr;
        if (operation == nullptr) {
            request.problem = fmt::format("\"op\" is none of: {}", batchOperationNames());
            return;
        }
        request.operation = operation;
    } else if (name == u"path") {
        const auto bytes = string != nullptr ? halden::pathBytesFromString(*string) : std::nullopt;
        if (!bytes) {
            request.problem = "\"path\" is no path";
            return;
        }
        std::error_code error;
        request.path = std::filesystem::absolute(*bytes, error).native();
    } else {
        request.fields.set(std::u16string(name), value);
    }
}

}  // namespace

const BatchOperation* findBatchOperation(std::string_view nameOrSelector) noexcept {
    const auto operation = std::ranges::find_if(kOperations, [&](const BatchOperation& candidate) {
        return candidate.name == nameOrSelector || (!nameOrSelector.empty() && candidate.selector == nameOrSelector);
    });
    return operation == kOperations.end() ? nullptr : &*operation;
}

std::string batchOperationNames() {
    std::string names;
    for (const BatchOperation& operation : kOperations) {
        names += names.empty() ? "" : " ";
        names += operation.name;
    }
    return names;
}

std::uint64_t BatchRequest::key() const {
    Hash hash;
    hash.add(operation != nullptr ? operation->name : std::string_view());
    hash.add(path);
    hash.add(halden::jsonFromValue(Value(fields)));
    hash.add(hasOwnId ? halden::jsonFromValue(id) : std::string());
    return hash.value();
}

BatchRequest batchRequestFromJson(std::string_view line, std::uint64_t number, const BatchOperation& operation) {
    BatchRequest request;
    request.number = number;
    request.id = Value(static_cast<std::int64_t>(number));
    request.operation = &operation;
    halden::JsonError error;
    const auto value = halden::valueFromJson(line, &error);
    if (!value) {
        request.problem = fmt::format("input line {}, byte {}: {}", number, error.offset + 1, error.message);
        return request;
    }
    const auto* call = value->as<Dictionary>();
    if (call == nullptr) {
        request.problem = fmt::format("input line {} is no JSON object", number);
        return request;
    }
    for (const auto& [name, field] : *call) {
        takeField(request, name, field);
    }
    if (request.problem.empty() && request.path.empty()) {
        request.problem = "there is no \"path\"";
    }
    return request;
}

}  // namespace quarry::tools
