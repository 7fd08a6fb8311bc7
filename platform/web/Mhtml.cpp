#include "platform/web/Mhtml.h"

#include "platform/web/Base64.h"

#include <optional>

namespace halden::web {
namespace {

constexpr std::size_t kMaxParts = 16384;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = lower(c);
    return result;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

/// The value of a header field, its folded lines joined; empty when it is not there.
std::string field(std::string_view head, std::string_view name) {
    std::string value;
    bool isInside = false;
    while (!head.empty()) {
        const std::size_t end = head.find('\n');
        std::string_view line = head.substr(0, end);
        head.remove_prefix(end == std::string_view::npos ? head.size() : end + 1);
        if (!line.empty() && (line.front() == ' ' || line.front() == '\t')) {
            if (isInside) value += ' ' + std::string(trimmed(line));
            continue;
        }
        if (isInside) return value;
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || lowered(line.substr(0, colon)) != name) continue;
        isInside = true;
        value = trimmed(line.substr(colon + 1));
    }
    return value;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string fromQuotedPrintable(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            bytes.push_back(text[i]);
        } else if (i + 2 < text.size() && text[i + 1] == '\r' && text[i + 2] == '\n') {
            i += 2;
        } else if (i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
            bytes.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
            i += 2;
        } else {
            bytes.push_back('=');
        }
    }
    return bytes;
}

std::string boundaryOf(std::string_view head) {
    const std::string type = field(head, "content-type");
    const std::size_t start = lowered(type).find("boundary=");
    if (start == std::string::npos) return {};
    std::string_view value = std::string_view(type).substr(start + 9);
    if (!value.empty() && value.front() == '"') {
        value.remove_prefix(1);
        return std::string(value.substr(0, value.find('"')));
    }
    return std::string(value.substr(0, value.find_first_of("; ")));
}

std::optional<MhtmlPart> partOf(std::string_view bytes) {
    const std::size_t end = bytes.find("\r\n\r\n");
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view head = bytes.substr(0, end + 2);
    const std::string_view body = bytes.substr(end + 4);
    MhtmlPart part{field(head, "content-location"), lowered(field(head, "content-type")), {}};
    part.mediaType = part.mediaType.substr(0, part.mediaType.find(';'));
    if (part.address.empty()) return std::nullopt;
    const std::string encoding = lowered(field(head, "content-transfer-encoding"));
    if (encoding == "base64")
        part.data = bytesFromBase64(body);
    else if (encoding == "quoted-printable")
        part.data = fromQuotedPrintable(body);
    else if (encoding.empty() || encoding == "binary" || encoding == "8bit" || encoding == "7bit")
        part.data = body;
    else
        return std::nullopt;
    return part;
}

}  // namespace

std::vector<MhtmlPart> partsOfMhtml(std::string_view snapshot) {
    std::vector<MhtmlPart> parts;
    const std::size_t head = snapshot.find("\r\n\r\n");
    if (head == std::string_view::npos) return parts;
    const std::string boundary = boundaryOf(snapshot.substr(0, head + 2));
    if (boundary.empty()) return parts;
    const std::string mark = "--" + boundary;
    std::size_t start = snapshot.find(mark, head);
    while (start != std::string_view::npos && parts.size() < kMaxParts) {
        start += mark.size();
        if (snapshot.substr(start, 2) == "--") break;
        const std::size_t line = snapshot.find("\r\n", start);
        if (line == std::string_view::npos) break;
        const std::size_t end = snapshot.find("\r\n" + mark, line);
        const std::size_t length = end == std::string_view::npos ? end : end - line - 2;
        if (end != line) {
            if (auto part = partOf(snapshot.substr(line + 2, length))) parts.push_back(std::move(*part));
        }
        start = end == std::string_view::npos ? end : end + 2;
    }
    return parts;
}

}  // namespace halden::web
