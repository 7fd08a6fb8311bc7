// XML as a stream of events, safe for files from anywhere.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarry::support {

/// Names are the namespace's URI and the local name with a space between them, or the local name alone. Everything is
/// UTF-8 and lives during the call only.
struct XmlElement {
    std::string_view name;
    std::vector<std::pair<std::string_view, std::string_view>> attributes;

    [[nodiscard]] std::string_view space() const noexcept;      ///< the namespace's URI; empty without
    [[nodiscard]] std::string_view localName() const noexcept;  ///< the name without it
    /// The value of the attribute with that local name, in whatever namespace; nullopt without.
    [[nodiscard]] std::optional<std::string_view> attribute(std::string_view localName) const noexcept;
};

/// Each may be empty. One that returns false ends the reading.
struct XmlHandlers {
    std::function<bool(const XmlElement& element)> start{};
    std::function<bool(std::string_view name)> end{};
    std::function<bool(std::string_view text)> text{};
};

/// Elements inside one another; reading ends at one that is deeper.
inline constexpr int kMaxXmlDepth = 1024;

/// Takes a document piece by piece, in UTF-8, UTF-16 or the encoding of one byte a character that it declares. A
/// document type with declarations of entities, as bombs have it, ends the reading; nothing outside the bytes is read.
class XmlReader {
public:
    explicit XmlReader(XmlHandlers handlers);
    ~XmlReader();
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    /// False when reading has ended: by the end of the document, an error, a limit or a handler.
    bool read(std::string_view piece, bool isLast = false);

private:
    struct State;
    State* state_;
};

/// A whole document. False when it is not well-formed; what stands before the error has been told.
bool readXml(std::string_view document, XmlHandlers handlers);

}  // namespace quarry::support
