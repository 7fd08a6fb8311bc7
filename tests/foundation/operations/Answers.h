// Asks a table's operations as the command does.
#pragma once

#include "foundation/operations/Dispatcher.h"

#include <span>
#include <string>
#include <string_view>

namespace halden::operations {

/// The answer's result as JSON, or its error text after "error: ".
///
/// `arguments` is what stands between the brackets of "args".
inline std::string ask(std::span<const Operation> table, std::string_view operation, std::string_view arguments) {
    const Dispatcher dispatcher{table};
    const std::string call = R"({"op":")" + std::string(operation) + R"(","args":[)" + std::string(arguments) + "]}";
    std::string answer = dispatcher.answer(call);
    constexpr std::string_view kResult = R"({"result": )";
    constexpr std::string_view kError = R"({"error": ")";
    if (answer.starts_with(kResult)) return answer.substr(kResult.size(), answer.size() - kResult.size() - 1);
    if (answer.starts_with(kError)) return "error: " + answer.substr(kError.size(), answer.size() - kError.size() - 2);
    return answer;
}

}  // namespace halden::operations
