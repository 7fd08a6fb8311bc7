// The XML form, written. XmlReader.cpp describes it.
#include "foundation/Base64.h"
#include "foundation/Unicode.h"
#include "platform/plists/DateText.h"
#include "platform/plists/PropertyList.h"

#include <charconv>
#include <cmath>

namespace halden {
namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

bool isXmlCharacter(char16_t unit) {
    if (unit < 0x20) return unit == u'\t' || unit == u'\n' || unit == u'\r';
    return unit < 0xFFFE;
}

std::string textFromReal(double number) {
    if (std::isnan(number)) return "nan";
    if (std::isinf(number)) return number < 0 ? "-infinity" : "+infinity";
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

class Writer {
public:
    std::optional<Data> write(const Value& value) {
        out_ = kHead;
        if (!writeValue(value, 0)) return std::nullopt;
        out_ += "</plist>\n";
        return Data::copying(out_);
    }

private:
    bool writeValue(const Value& value, int depth) {
        return std::visit([this, depth](const auto& kind) { return writeKind(kind, depth); }, value.variant());
    }

    // Null has no form in XML.
    bool writeKind(Null, int) { return false; }

    bool writeKind(bool value, int depth) {
        indent(depth);
        out_ += value ? "<true/>\n" : "<false/>\n";
        return true;
    }

    bool writeKind(std::int64_t value, int depth) {
        writeElement("integer", std::to_string(value), depth);
        return true;
    }

    bool writeKind(double value, int depth) {
        writeElement("real", textFromReal(value), depth);
        return true;
    }

    bool writeKind(const std::u16string& value, int depth) { return writeText("string", value, depth); }

    bool writeKind(const Data& value, int depth) {
        writeElement("data", base64FromBytes(value.span()), depth);
        return true;
    }

    bool writeKind(Date value, int depth) {
        const auto text = plists::textFromDate(value);
        if (text) writeElement("date", *text, depth);
        return text.has_value();
    }

    bool writeKind(const Array& value, int depth) {
        if (depth >= kPropertyListMaxDepth) return false;
        if (value.empty()) return writeEmpty("array", depth);
        writeTag("<array>", depth);
        for (const Value& element : value) {
            if (!writeValue(element, depth + 1)) return false;
        }
        writeTag("</array>", depth);
        return true;
    }

    bool writeKind(const Dictionary& value, int depth) {
        if (depth >= kPropertyListMaxDepth) return false;
        if (value.empty()) return writeEmpty("dict", depth);
        writeTag("<dict>", depth);
        for (const auto& entry : value) {
            if (!writeText("key", entry.key, depth + 1) || !writeValue(entry.value, depth + 1)) return false;
        }
        writeTag("</dict>", depth);
        return true;
    }

    void indent(int depth) { out_.append(static_cast<std::size_t>(depth), '\t'); }

    void writeTag(std::string_view tag, int depth) {
        indent(depth);
        out_ += tag;
        out_ += '\n';
    }

    bool writeEmpty(std::string_view name, int depth) {
        writeTag("<" + std::string(name) + "/>", depth);
        return true;
    }

    void writeElement(std::string_view name, std::string_view text, int depth) {
        indent(depth);
        out_.append("<").append(name).append(">").append(text).append("</").append(name).append(">\n");
    }

    bool writeText(std::string_view name, std::u16string_view text, int depth) {
        for (const char16_t unit : text) {
            if (!isXmlCharacter(unit)) return false;
        }
        const auto utf8 = strictUtf8FromUtf16(text);
        if (!utf8) return false;
        std::string escaped;
        escaped.reserve(utf8->size());
        for (const char character : *utf8) {
            switch (character) {
                case '&':
                    escaped += "&amp;";
                    break;
                case '<':
                    escaped += "&lt;";
                    break;
                case '>':
                    escaped += "&gt;";
                    break;
                case '\r':  // would be read as a line feed
                    escaped += "&#13;";
                    break;
                default:
                    escaped += character;
            }
        }
        writeElement(name, escaped, depth);
        return true;
    }

    std::string out_;
};

}  // namespace

std::optional<Data> xmlPropertyList(const Value& value) {
    return Writer().write(value);
}

}  // namespace halden
