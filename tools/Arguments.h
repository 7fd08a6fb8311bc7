// The command line, read.
#pragma once

#include "foundation/Json.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quarry::tools {

/// How a helper is to be used.
struct DocumentOptions {
    double timeout = 120;      ///< seconds a file may take; 0: no limit
    std::uint64_t memory = 0;  ///< bytes the helper and its workers may hold; 0: no limit
    bool shared = false;       ///< use the user's registry folder
};

/// What the user asked for.
struct Invocation {
    std::string command;
    std::vector<std::string> files;  ///< as they were named, in any encoding
    DocumentOptions document;
    std::string output;  ///< of -o; empty when it is not given
    halden::JsonData data = halden::JsonData::summary;
    bool json = false;
    bool list = false;   ///< apply: print the operations
    bool jsonl = false;  ///< apply: answer calls on standard input
};

/// Text that was asked for (help, version); printed, the command is done.
struct Answer {
    std::string text;
};

/// What is wrong with the command line, in one line without full stop.
struct UsageError {
    std::string message;
};

using Parsed = std::variant<Invocation, Answer, UsageError>;

/// Reads the arguments that follow the program's name. Document options may stand before or after the command.
[[nodiscard]] Parsed parseArguments(std::span<const std::string> arguments);

/// Bytes of a size such as "512M", "1.5g", "64KiB" or "1000000" (powers of 1024), or nullopt when it is none, or not
/// above zero.
[[nodiscard]] std::optional<std::uint64_t> bytesFromSize(std::string_view size);

/// A size to show: "1.5G".
[[nodiscard]] std::string sizeFromBytes(std::uint64_t bytes);

}  // namespace quarry::tools
