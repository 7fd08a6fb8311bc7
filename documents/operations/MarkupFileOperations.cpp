#include "documents/operations/Operations.h"
#include "markup/MarkupDecoder.h"
#include "platform/plists/PropertyList.h"

#include <array>

namespace quarry::operations {
namespace {

using halden::Data;
using halden::Value;
using halden::operations::function;
using halden::operations::Operation;

std::optional<std::string> xmlFormOfPropertyList(std::string_view bytes) {
    const std::optional<Value> value = halden::propertyListFromData(Data::copying(bytes));
    const std::optional<Data> xml = value ? halden::xmlPropertyList(*value) : std::nullopt;
    return xml ? std::optional(std::string(xml->view())) : std::nullopt;
}

std::optional<std::u16string> markupOfFile(std::optional<std::u16string_view> path,
                                           halden::NSStringEncoding defaultEncoding) {
    if (!path) return std::nullopt;
    return halden::stringWithMarkupContentsOfFile(*path, defaultEncoding, xmlFormOfPropertyList);
}

constexpr auto kOperations = std::to_array<Operation>({
    function<markupOfFile>("stringWithMarkupContentsOfFile:defaultEncoding:", "path defaultEncoding"),
});

}  // namespace

std::span<const Operation> markupFileOperations() {
    return kOperations;
}

}  // namespace quarry::operations
