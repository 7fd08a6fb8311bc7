#include "tools/Arguments.h"

#include "foundation/Unicode.h"
#include "foundation/Url.h"
#include "tools/Manual.h"
#include "tools/batch/Request.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>

namespace quarry::tools {

namespace {

/// A year: longer limits are no limits, and shorter ones fit every clock.
constexpr double kLongestTimeout = 31536000;

/// What a document of a batch may take unless the options say otherwise.
constexpr double kBatchTimeout = 60;
constexpr std::uint64_t kBatchMemory = std::uint64_t{1} << 30;

/// The values of the options while they are parsed, by the names that the manual gives them.
class Values {
public:
    [[nodiscard]] std::string& text(std::string_view name) { return texts_[std::string(name)]; }
    [[nodiscard]] std::vector<std::string>& list(std::string_view name) { return lists_[std::string(name)]; }
    [[nodiscard]] bool& flag(std::string_view name) { return flags_[std::string(name)]; }
    [[nodiscard]] bool isGiven(const OptionText& option) {
        return option.argument.empty() ? flag(option.name) : !text(option.name).empty();
    }

private:
    std::map<std::string, std::string> texts_;  // nodes, which stay where they are
    std::map<std::string, std::vector<std::string>> lists_;
    std::map<std::string, bool> flags_;
};

/// CLI11's form of a check: what is wrong, or nothing.
std::string notEmpty(const std::string& value) {
    return value.empty() ? "it needs a value" : std::string();
}

void addOptions(CLI::App& app, std::span<const OptionText> options, Values& values) {
    for (const OptionText& option : options) {
        const std::string name(option.name == "--help" ? "-h,--help" : option.name);
        if (option.argument.empty()) {
            app.add_flag(name, values.flag(option.name))->disable_flag_override();
        } else if (option.repeats) {
            app.add_option(name, values.list(option.name))
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                ->allow_extra_args(false)
                ->check(notEmpty)
                ->type_name(std::string(option.argument));
        } else {
            app.add_option(name, values.text(option.name))
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
                ->check(notEmpty)
                ->type_name(std::string(option.argument));
        }
    }
}

/// CLI11 takes its arguments in reverse.
std::vector<std::string> reversed(std::span<const std::string> arguments) {
    return {arguments.rbegin(), arguments.rend()};
}

bool hasOption(const CommandText& command, std::string_view name) {
    return std::ranges::find(command.options, name, &OptionText::name) != command.options.end();
}

std::string choicesOf(const CommandText& command, std::string_view name) {
    const auto option = std::ranges::find(command.options, name, &OptionText::name);
    return option == command.options.end() ? std::string() : std::string(option->choices);
}

std::optional<double> secondsFromText(std::string_view text) {
    double seconds = 0;
    const auto [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
    if (error != std::errc() || rest != text.data() + text.size() || !(seconds >= 0) || seconds > kLongestTimeout) {
        return std::nullopt;
    }
    return seconds;
}

std::optional<std::uint64_t> numberFromText(std::string_view text) {
    std::uint64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && rest == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// How a helper is to be used; what is wrong, when something is.
std::optional<UsageError> readDocumentOptions(Values& values, DocumentOptions& options) {
    if (const std::string& timeout = values.text("--timeout"); !timeout.empty()) {
        const auto seconds = secondsFromText(timeout);
        if (!seconds) {
            return UsageError{fmt::format("--timeout: '{}' is no number of seconds", timeout)};
        }
        options.timeout = *seconds;
    }
    if (const std::string& memory = values.text("--memory"); !memory.empty()) {
        const auto bytes = bytesFromSize(memory);
        if (!bytes) {
            return UsageError{fmt::format("--memory: '{}' is no size (such as 512M)", memory)};
        }
        options.memory = *bytes;
    }
    options.shared = values.flag("--shared");
    if (options.shared && options.memory != 0) {
        return UsageError{"--shared and --memory do not go together"};
    }
    return std::nullopt;
}

std::optional<UsageError> readBatchNumbers(Values& values, BatchArguments& batch) {
    constexpr std::uint64_t kMostSlots = 1024;
    if (const std::string& slots = values.text("-j"); !slots.empty()) {
        const auto number = numberFromText(slots);
        if (!number || *number == 0 || *number > kMostSlots) {
            return UsageError{fmt::format("-j: '{}' is no number of helpers (1 to {})", slots, kMostSlots)};
        }
        batch.slots = static_cast<unsigned>(*number);
    }
    if (const std::string& renewal = values.text("--renew"); !renewal.empty()) {
        const auto number = numberFromText(renewal);
        if (!number) {
            return UsageError{fmt::format("--renew: '{}' is no number of documents", renewal)};
        }
        batch.renewal = *number;
    }
    if (const std::string& size = values.text("--shard-size"); !size.empty()) {
        const auto bytes = bytesFromSize(size);
        if (!bytes) {
            return UsageError{fmt::format("--shard-size: '{}' is no size (such as 64M)", size)};
        }
        batch.shardSize = *bytes;
    }
    return std::nullopt;
}

std::optional<UsageError> readBatchArguments(Values& values, const CommandText& command, Invocation& invocation) {
    BatchArguments& batch = invocation.batch;
    if (auto error = readBatchNumbers(values, batch)) {
        return error;
    }
    if (const std::string& operation = values.text("--op"); !operation.empty()) {
        batch.operation = operation;
        if (findBatchOperation(operation) == nullptr) {
            return UsageError{fmt::format("--op: '{}' is none of: {}", operation, batchOperationNames())};
        }
    }
    batch.include = values.list("--include");
    batch.exclude = values.list("--exclude");
    batch.journal = values.text("--journal");
    batch.output = values.text("--output");
    batch.files = values.flag("--files");
    batch.ordered = values.flag("--ordered");
    batch.quiet = values.flag("--quiet");
    const std::string& compression = values.text("--compress");
    if (compression == "gzip") {
        batch.compression = ShardCompression::gzip;
    } else if (compression == "zstd") {
        batch.compression = ShardCompression::zstd;
    } else if (!compression.empty()) {
        return UsageError{
            fmt::format("--compress: '{}' is none of: {}", compression, choicesOf(command, "--compress"))};
    }
    if (command.name == "batch" && batch.output.empty() && (batch.files || !compression.empty())) {
        return UsageError{"--files and --compress need --output"};
    }
    if (values.text("--timeout").empty()) {
        invocation.document.timeout = kBatchTimeout;
    }
    if (values.text("--memory").empty()) {
        invocation.document.memory = kBatchMemory;
    }
    return std::nullopt;
}

std::optional<UsageError> readQueueArguments(Values& values, QueueArguments& queue) {
    if (const std::string& job = values.text("--job"); !job.empty()) {
        queue.job = job;
    }
    const auto isLetter = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_'; };
    if (queue.job.size() > 64 || !std::ranges::all_of(queue.job, isLetter)) {
        return UsageError{fmt::format("--job: '{}' is no name: letters, digits, - and _, at most 64", queue.job)};
    }
    const char* known = std::getenv("QUARRY_QUEUE");
    queue.server = !values.text("--server").empty()     ? values.text("--server")
                   : known != nullptr && *known != '\0' ? known
                                                        : "nats://127.0.0.1:4222";
    queue.credentials = values.text("--credentials");
    queue.authority = values.text("--ca");
    queue.untilEmpty = values.flag("--until-empty");
    queue.watch = values.flag("--watch");
    if (const std::string& patience = values.text("--wait"); !patience.empty()) {
        const auto seconds = secondsFromText(patience);
        if (!seconds) {
            return UsageError{fmt::format("--wait: '{}' is no number of seconds", patience)};
        }
        queue.patience = *seconds;
    }
    if (const std::string& lines = values.text("--shard"); !lines.empty()) {
        const auto number = numberFromText(lines);
        if (!number || *number == 0) {
            return UsageError{fmt::format("--shard: '{}' is no number of lines", lines)};
        }
        queue.shardLines = *number;
    }
    return std::nullopt;
}

/// The option values as the command needs them.
Parsed checked(const CommandText& command, Values& values, Invocation invocation) {
    if (auto error = readDocumentOptions(values, invocation.document)) {
        return *error;
    }
    const bool isOfQueue = hasOption(command, "--job");
    if (command.name == "batch" || isOfQueue) {
        if (auto error = readBatchArguments(values, command, invocation)) {
            return *error;
        }
    }
    if (isOfQueue) {
        if (auto error = readQueueArguments(values, invocation.queue)) {
            return *error;
        }
    }
    if (const std::string& data = values.text("--data"); data == "base64") {
        invocation.data = halden::JsonData::base64;
    } else if (!data.empty() && data != "summary") {
        return UsageError{fmt::format("--data: '{}' is none of: {}", data, choicesOf(command, "--data"))};
    }
    invocation.image = {.text = values.flag("--text"),
                        .spotlight = values.flag("--spotlight"),
                        .thumbnail = values.text("--thumbnail")};
    invocation.page = {.baseURL = values.text("--base-url"),
                       .charset = values.text("--charset"),
                       .allowRemote = values.flag("--allow-remote")};
    invocation.markup = {
        .url = values.text("--url"), .styleSheet = values.text("--style-sheet"), .html = values.flag("--html")};
    if (!invocation.markup.styleSheet.empty() && !invocation.markup.html) {
        return UsageError{"--style-sheet needs --html"};
    }
    if (!invocation.markup.url.empty() &&
        !halden::URLWithNormalizedStringURL(halden::utf16FromUtf8(invocation.markup.url))) {
        return UsageError{fmt::format("--url: '{}' is no URL", invocation.markup.url)};
    }
    invocation.output = values.text("-o");
    invocation.attributed = values.flag("--attributed");
    invocation.json = values.flag("--json");
    invocation.list = values.flag("--list");
    invocation.jsonl = values.flag("--jsonl");
    return invocation;
}

bool looksLikeOption(const std::string& argument) {
    return argument.size() > 1 && argument.starts_with('-');
}

/// Where the words begin that are taken as they are.
auto endOfOptions(const CommandText& command, std::span<const std::string> arguments) {
    return std::ranges::find_if(arguments, [&](const std::string& argument) {
        return argument == "--" || (command.operandsEndOptions && !looksLikeOption(argument));
    });
}

Parsed parseCommand(const CommandText& command, std::span<const std::string> arguments, Values& values) {
    CLI::App app;
    app.set_help_flag();
    Invocation invocation;
    invocation.command = command.name;
    addOptions(app, command.options, values);
    if (command.opensDocuments) {
        addOptions(app, manual().documentOptions, values);
    }
    for (const OptionText& option : manual().documentOptions) {
        if (values.isGiven(option) && !command.opensDocuments && !hasOption(command, option.name)) {
            return UsageError{fmt::format("{} takes no {}", command.name, option.name)};
        }
    }
    // The parser gives some words a meaning of their own ("{}", "++"): files are what it leaves over, and what follows
    // "--" never gets there.
    app.allow_extras();
    const auto separator = endOfOptions(command, arguments);
    app.parse(reversed(arguments.first(static_cast<std::size_t>(separator - arguments.begin()))));
    if (values.flag("--help")) {
        return Answer{commandHelp(command)};
    }
    invocation.files = app.remaining();
    const auto unknown = std::ranges::find_if(invocation.files, looksLikeOption);
    if (unknown != invocation.files.end()) {
        return UsageError{fmt::format("{}: there is no option '{}'", command.name, *unknown)};
    }
    if (separator != arguments.end()) {
        const auto rest = *separator == "--" ? separator + 1 : separator;
        invocation.files.insert(invocation.files.end(), rest, arguments.end());
    }
    if (command.arguments.empty() && !invocation.files.empty()) {
        return UsageError{fmt::format("{} takes no arguments", command.name)};
    }
    if (command.name == "apply") {
        if (values.flag("--list") + values.flag("--jsonl") + !invocation.files.empty() != 1) {
            return UsageError{"apply takes an operation, or one of --list and --jsonl"};
        }
    } else if (!command.arguments.empty() && !command.arguments.starts_with('[') && invocation.files.empty()) {
        return UsageError{fmt::format("{}: no file is named", command.name)};
    } else if ((command.arguments == "FILE" || command.arguments == "DATA") && invocation.files.size() > 1) {
        return UsageError{fmt::format("{} takes one file", command.name)};
    }
    return checked(command, values, std::move(invocation));
}

Parsed generated(std::string_view what) {
    if (what == "man") {
        return Answer{manPage()};
    }
    if (what == "bash") {
        return Answer{bashCompletion()};
    }
    if (what == "zsh") {
        return Answer{zshCompletion()};
    }
    return UsageError{fmt::format("--generate: '{}' is none of: man bash zsh", what)};
}

Parsed parseProgram(std::span<const std::string> arguments) {
    CLI::App app;
    app.set_help_flag();
    app.prefix_command();  // parsing stops at the command
    Values values;
    addOptions(app, manual().programOptions, values);
    addOptions(app, manual().documentOptions, values);
    app.add_option("--generate", values.text("--generate"));  // for the build: man page and completions
    app.parse(reversed(arguments));
    if (values.flag("--help")) {
        return Answer{programHelp()};
    }
    if (values.flag("--version")) {
        return Answer{fmt::format("{} {}\n", manual().name, QUARRY_VERSION)};
    }
    if (!values.text("--generate").empty()) {
        return generated(values.text("--generate"));
    }
    const std::vector<std::string> rest = app.remaining();
    if (rest.empty()) {
        return UsageError{"no command is named"};
    }
    const CommandText* command = findCommand(rest.front());
    if (command == nullptr) {
        const std::string_view kind = rest.front().starts_with('-') ? "option" : "command";
        return UsageError{fmt::format("there is no {} '{}'", kind, rest.front())};
    }
    return parseCommand(*command, arguments.last(rest.size() - 1), values);
}

}  // namespace

Parsed parseArguments(std::span<const std::string> arguments) {
    try {
        return parseProgram(arguments);
    } catch (const CLI::ParseError& error) {
        return UsageError{error.what()};
    }
}

}  // namespace quarry::tools
