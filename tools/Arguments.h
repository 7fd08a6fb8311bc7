// The command line, read.
#pragma once

#include "foundation/Json.h"
#include "tools/batch/ShardCompression.h"

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

/// How many documents are to be worked on.
struct BatchArguments {
    unsigned slots = 0;  ///< helpers; 0: one a processor
    std::string operation = "document";
    std::vector<std::string> include;  ///< patterns
    std::vector<std::string> exclude;
    std::string journal;  ///< path; empty: none
    std::string output;   ///< folder of the results; empty: standard output
    ShardCompression compression = ShardCompression::none;
    std::uint64_t shardSize = std::uint64_t{256} << 20;  ///< bytes
    std::uint64_t renewal = 1000;                        ///< documents of a helper; 0: no limit
    bool files = false;                                  ///< data of results become files
    bool ordered = false;
    bool quiet = false;
};

/// Which message server, and which job on it.
struct QueueArguments {
    std::string job = "default";
    std::string server;
    std::string credentials;  ///< file; empty: none
    std::string authority;    ///< file of trusted certificates; empty: no TLS
    double patience = 30;     ///< seconds for which a server that is not there is tried
    std::uint64_t shardLines = 0;
    bool untilEmpty = false;
    bool watch = false;
};

/// What is wanted of a picture.
struct ImageArguments {
    bool text = false;       ///< of PDF and PostScript, with the information about them
    bool spotlight = false;  ///< importers may be asked for it
    std::string thumbnail;   ///< file to write; empty: none
};

/// How a page is to be read.
struct PageArguments {
    std::string baseURL;       ///< empty: none
    std::string charset;       ///< empty: what the page says
    bool allowRemote = false;  ///< the page may fetch from anywhere
};

/// What is wanted of a page or a feed that is read without a helper.
struct MarkupArguments {
    std::string url;         ///< where it is from; empty: not known
    std::string styleSheet;  ///< file; empty: none
    bool html = false;       ///< the feed as a page
};

/// What the user asked for.
struct Invocation {
    std::string command;
    std::vector<std::string> files;  ///< as they were named, in any encoding
    DocumentOptions document;
    BatchArguments batch;
    QueueArguments queue;
    ImageArguments image;
    MarkupArguments markup;
    PageArguments page;
    std::string output;       ///< of -o; empty when it is not given
    bool attributed = false;  ///< pdf: rich text
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
