// Operations by name, and calls of them in JSON.
#pragma once

#include "foundation/operations/Operation.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halden::operations {

/// Finds operations by their documented names, and answers calls that come as JSON texts:
///
///     {"op": "stringByTrimmingQuotes", "args": ["'x'"], "id": 7}
///     {"id": 7, "result": "x"}
///
/// What cannot be answered (bad JSON, no such operation, wrong arguments, not enough memory) gives {"error": TEXT}.
/// Read-only once made, and safe to share.
class Dispatcher {
public:
    /// The tables must outlive the dispatcher. No name may occur twice.
    explicit Dispatcher(std::initializer_list<std::span<const Operation>> tables);

    /// The operation of that name, or a null pointer.
    [[nodiscard]] const Operation* find(std::string_view name) const;

    /// Every operation, by name.
    [[nodiscard]] std::vector<const Operation*> sorted() const;

    /// The answer to one call, as one line of JSON without line end.
    [[nodiscard]] std::string answer(std::string_view call) const;

private:
    [[nodiscard]] Value resultOf(const Value& call) const;

    std::unordered_map<std::string_view, const Operation*> operations_;
};

/// The operation as a line for a reader: `stringByTrimmingSuffixCharacter: (string string, number character) ->
/// string`.
[[nodiscard]] std::string describe(const Operation& operation);

}  // namespace halden::operations
