// quarry apply: the library's operations, in this process.
#include "documents/operations/Operations.h"
#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "foundation/operations/Dispatcher.h"
#include "foundation/operations/Operations.h"
#include "markup/operations/Operations.h"
#include "tools/Commands.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::tools {
namespace {

using halden::Data;
using halden::Value;
using halden::operations::Dispatcher;
using halden::operations::Kind;
using halden::operations::Operation;

const Dispatcher& dispatcher() {
    static const Dispatcher all{
        halden::operations::characterOperations(),  halden::operations::encodingOperations(),
        halden::operations::dataOperations(),       halden::operations::stringOperations(),
        halden::operations::urlOperations(),        halden::operations::scannerOperations(),
        halden::operations::entityOperations(),     halden::operations::charsetOperations(),
        halden::operations::plainTextOperations(),  halden::operations::strippingOperations(),
        halden::operations::pageOperations(),       halden::operations::feedOperations(),
        quarry::operations::markupFileOperations(), quarry::operations::webArchiveOperations(),
    };
    return all;
}

/// Bytes of standard input, as many as there are now; none at its end.
std::string_view readInput() {
    static std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count >= 0) return {buffer.data(), static_cast<std::size_t>(count)};
        if (errno != EINTR) throw std::runtime_error(fmt::format("standard input: {}", std::strerror(errno)));
    }
}

std::string readWholeInput() {
    std::string input;
    for (std::string_view part = readInput(); !part.empty(); part = readInput())
        input += part;
    return input;
}

Status listOperations() {
    std::string text;
    for (const Operation* operation : dispatcher().sorted())
        text += describe(*operation) + '\n';
    print(text);
    return Status::result;
}

/// Answers every line of standard input. Answers are held back while further calls are there to be read, and never
/// while the caller may be waiting for them.
Status answerCalls() {
    std::string pending;  // the start of a line whose end has not come yet
    std::string answers;
    for (std::string_view part = readInput(); !part.empty(); part = readInput()) {
        for (std::size_t end = part.find('\n'); end != std::string_view::npos; end = part.find('\n')) {
            pending += part.substr(0, end);
            answers += dispatcher().answer(pending) + '\n';
            pending.clear();
            part.remove_prefix(end + 1);
        }
        pending += part;
        if (!print(answers)) return Status::result;  // nobody reads them
        answers.clear();
    }
    if (!pending.empty()) print(dispatcher().answer(pending) + '\n');
    return Status::result;
}

Value valueOfWord(std::string_view word, Kind kind, std::size_t index) {
    if (kind == Kind::string) return Value(halden::utf16FromUtf8(word));
    if (kind == Kind::data) return Value(Data::copying(word));
    if (kind == Kind::boolean && (word == "YES" || word == "NO")) return Value(word == "YES");
    const std::optional<Value> value = halden::valueFromJson(word);
    if (!value) halden::operations::throwWrongKind(index, kind);
    return *value;
}

/// The arguments of a call: the words of the command line, after standard input when they are one short.
std::vector<Value> argumentsFor(const Operation& operation, const std::vector<std::string>& words) {
    std::vector<Value> arguments;
    const auto add = [&](std::string_view word) {
        const std::size_t index = arguments.size();
        const Kind kind = index < operation.parameters.size() ? operation.parameters[index].kind : Kind::any;
        arguments.push_back(valueOfWord(word, kind, index));
    };
    if (words.size() + 1 == operation.parameters.size()) add(readWholeInput());
    for (const std::string& word : words)
        add(word);
    return arguments;
}

void printResult(const Value& result) {
    if (const auto* string = result.as<std::u16string>()) {
        print(halden::utf8FromUtf16(*string) + '\n');
    } else if (const auto* data = result.as<Data>()) {
        print(data->view());
    } else {
        print(halden::jsonFromValue(result, {.data = halden::JsonData::base64, .date = halden::JsonDate::unixSeconds}) +
              '\n');
    }
}

Status applyOnce(const std::string& name, const std::vector<std::string>& words) {
    const Operation* operation = dispatcher().find(name);
    if (operation == nullptr) {
        printError(fmt::format("there is no operation '{}' ('quarry apply --list' prints them)", name));
        return Status::usage;
    }
    try {
        const Value result = perform(*operation, argumentsFor(*operation, words));
        printResult(result);
        return result.isNull() || result == Value(false) ? Status::none : Status::result;
    } catch (const std::exception& error) {
        printError(fmt::format("{}: {}", name, error.what()));
        return Status::usage;
    }
}

}  // namespace

Status applyCommand(const Invocation& invocation) {
    if (invocation.list) return listOperations();
    if (invocation.jsonl) return answerCalls();
    const std::vector<std::string>& words = invocation.files;
    return applyOnce(words.front(), {words.begin() + 1, words.end()});
}

}  // namespace quarry::tools
