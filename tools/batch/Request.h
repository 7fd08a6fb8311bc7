// One document of a batch, and what is asked about it.
#pragma once

#include "foundation/Value.h"
#include "platform/ipc/HaldenImExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quarry::tools {

struct BatchRequest;

/// Something a helper can be asked about a document.
struct BatchOperation {
    std::string_view name;      ///< as the command that asks it is called: "metadata"
    std::string_view selector;  ///< "metaDataForFile:"; empty where several are asked
    bool wantsText = false;     ///< a result without text is an empty one
    /// The result, NSNull for nil and NO. Throws what the proxy throws.
    halden::Value (*ask)(halden::HaldenImExportProxy& helper, const BatchRequest& request) = nullptr;
};

/// The operation of that name or selector, or a null pointer.
[[nodiscard]] const BatchOperation* findBatchOperation(std::string_view nameOrSelector) noexcept;

/// The names of all operations, separated by blanks.
[[nodiscard]] std::string batchOperationNames();

struct BatchRequest {
    std::uint64_t number = 0;  ///< of the input, from 1 on
    halden::Value id;          ///< comes back in the result
    bool hasOwnId = false;     ///< the input gave it; else it is the number
    std::string path;          ///< absolute, bytes
    const BatchOperation* operation = nullptr;
    halden::Dictionary fields;  ///< what the call says besides
    std::string problem;        ///< why nothing can be asked; empty as a rule
    bool isPassedOver = false;  ///< the problem is the file's and not the call's

    /// Equal for inputs that ask the same about the same file.
    [[nodiscard]] std::uint64_t key() const;
};

/// The request in a line of JSON, {"id": ..., "op": NAME, "path": PATH, ...}. Without "op" it is `operation`, without
/// "id" the number. What is wrong with the line is the request's problem.
[[nodiscard]] BatchRequest batchRequestFromJson(std::string_view line, std::uint64_t number,
                                                const BatchOperation& operation);

}  // namespace quarry::tools
