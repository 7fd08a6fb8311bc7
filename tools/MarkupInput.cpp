#include "tools/MarkupInput.h"

#include "documents/PlainText.h"
#include "foundation/Unicode.h"
#include "markup/MarkupDecoder.h"
#include "tools/Output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace quarry::tools {
namespace {

constexpr halden::NSStringEncoding kWindowsLatin1 = 12;

/// More than this is no page or feed that anybody reads.
constexpr std::size_t kLargestInput = std::size_t{1} << 30;

bool isTooLarge(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<std::uint64_t>(status.st_size) > kLargestInput;
}

/// What went wrong, as errno has it; 0 when nothing did.
int readAll(int descriptor, std::string& bytes) {
    if (isTooLarge(descriptor)) return EFBIG;
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count == 0) return 0;
        if (count > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
            if (bytes.size() > kLargestInput) return EFBIG;
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

int readFile(const std::string& file, std::string& bytes) {
    if (file == "-") return readAll(STDIN_FILENO, bytes);
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    const int failure = readAll(descriptor, bytes);
    ::close(descriptor);
    return failure;
}

/// UTF-16 and UTF-32, which no declaration can be read in before they are decoded.
std::optional<std::u16string> wideText(const std::string& bytes) {
    if (bytes.find('\0') == std::string::npos) return std::nullopt;
    const std::span view(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    if (!isText(view, false)) return std::nullopt;
    auto text = plainTextFromBytes(view, halden::kInvalidEncoding);
    return text ? std::optional(std::move(text->text)) : std::nullopt;
}

}  // namespace

std::optional<std::u16string> markupOfFile(const std::string& file) {
    std::string bytes;
    if (const int failure = readFile(file, bytes); failure != 0) {
        printError(fmt::format("{}: {}", file == "-" ? "standard input" : shownName(file), std::strerror(failure)));
        return std::nullopt;
    }
    if (auto text = wideText(bytes)) return text;
    const bool isUtf8 = halden::strictUtf16FromUtf8(bytes).has_value();
    return halden::stringWithMarkupData(bytes, isUtf8 ? halden::kNSUTF8StringEncoding : kWindowsLatin1)
        .value_or(std::u16string());
}

}  // namespace quarry::tools
