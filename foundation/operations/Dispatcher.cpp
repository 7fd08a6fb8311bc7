#include "foundation/operations/Dispatcher.h"

#include "foundation/Json.h"
#include "foundation/Unicode.h"

#include <algorithm>
#include <exception>

namespace halden::operations {
namespace {

std::string describe(Parameter parameter) {
    std::string text(nameOfKind(parameter.kind));
    if (parameter.nullable && parameter.kind != Kind::any) text += " or null";
    return text;
}

}  // namespace

Dispatcher::Dispatcher(std::initializer_list<std::span<const Operation>> tables) {
    for (const std::span<const Operation> table : tables) {
        for (const Operation& operation : table) {
            if (!operations_.emplace(operation.name, &operation).second) {
                throw std::logic_error("there are two operations " + std::string(operation.name));
            }
        }
    }
}

const Operation* Dispatcher::find(std::string_view name) const {
    const auto entry = operations_.find(name);
    return entry == operations_.end() ? nullptr : entry->second;
}

std::vector<const Operation*> Dispatcher::sorted() const {
    std::vector<const Operation*> result;
    result.reserve(operations_.size());
    for (const auto& [name, operation] : operations_)
        result.push_back(operation);
    std::ranges::sort(result, {}, &Operation::name);
    return result;
}

Value Dispatcher::resultOf(const Value& call) const {
    const auto* members = call.as<Dictionary>();
    if (members == nullptr) throw ArgumentError("a call is an object");
    const Value* named = members->find(u"op");
    const auto* name = named != nullptr ? named->as<std::u16string>() : nullptr;
    if (name == nullptr) throw ArgumentError("\"op\" is no string");
    const std::string documented = utf8FromUtf16(*name);
    const Operation* operation = find(documented);
    if (operation == nullptr) throw ArgumentError("there is no operation " + documented);
    const Value* arguments = members->find(u"args");
    if (arguments == nullptr) return perform(*operation, {});
    if (!arguments->is<Array>()) throw ArgumentError("\"args\" is no array");
    return perform(*operation, *arguments->as<Array>());
}

std::string Dispatcher::answer(std::string_view call) const {
    Dictionary answer;
    try {
        JsonError wrong;
        const std::optional<Value> parsed = valueFromJson(call, &wrong);
        if (!parsed) throw ArgumentError(wrong.message + " at byte " + std::to_string(wrong.offset));
        const auto* members = parsed->as<Dictionary>();
        if (const Value* id = members != nullptr ? members->find(u"id") : nullptr) answer.set(u"id", *id);
        answer.set(u"result", resultOf(*parsed));
    } catch (const std::exception& exception) {
        answer.set(u"error", Value(utf16FromUtf8(exception.what())));
    }
    return jsonFromValue(Value(std::move(answer)), {.data = JsonData::base64, .date = JsonDate::unixSeconds});
}

std::string describe(const Operation& operation) {
    std::string text(operation.name);
    text += " (";
    std::string_view names = operation.parameterNames;
    for (const Parameter parameter : operation.parameters) {
        if (!text.ends_with('(')) text += ", ";
        text += describe(parameter);
        const std::size_t end = std::min(names.find(' '), names.size());
        if (end > 0) text += " " + std::string(names.substr(0, end));
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return text + ") -> " + describe(operation.result);
}

}  // namespace halden::operations
