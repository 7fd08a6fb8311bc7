#include "importers/system/support/XmlEvents.h"

#include <expat.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <memory>

namespace quarry::support {
namespace {

constexpr char kSeparator = ' ';

std::string_view localPart(std::string_view name) noexcept {
    return name.substr(name.rfind(kSeparator) + 1);  // npos + 1 is 0
}

/// Encodings of one byte a character; of others the reader knows UTF-8 and UTF-16.
int describeEncoding(void*, const XML_Char* name, XML_Encoding* encoding) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(name, &error), &ucnv_close);
    if (U_FAILURE(error) || ucnv_getMaxCharSize(converter.get()) != 1) return XML_STATUS_ERROR;
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        char16_t units[4];
        error = U_ZERO_ERROR;
        const std::int32_t length = ucnv_toUChars(converter.get(), units, 4, &c, 1, &error);
        const bool isCharacter = U_SUCCESS(error) && length == 1 && units[0] != 0xFFFD;
        encoding->map[byte] = isCharacter ? units[0] : -1;
    }
    encoding->data = nullptr;
    encoding->convert = nullptr;
    encoding->release = nullptr;
    return XML_STATUS_OK;
}

}  // namespace

std::string_view XmlElement::space() const noexcept {
    const std::size_t separator = name.rfind(kSeparator);
    return separator == std::string_view::npos ? std::string_view() : name.substr(0, separator);
}

std::string_view XmlElement::localName() const noexcept {
    return localPart(name);
}

std::optional<std::string_view> XmlElement::attribute(std::string_view wanted) const noexcept {
    for (const auto& [attributeName, value] : attributes) {
        if (localPart(attributeName) == wanted) return value;
    }
    return std::nullopt;
}

struct XmlReader::State {
    XML_Parser parser = XML_ParserCreateNS(nullptr, kSeparator);
    XmlHandlers handlers;
    int depth = 0;

    void goOnIf(bool condition) const {
        if (!condition) XML_StopParser(parser, XML_FALSE);
    }

    static void start(void* context, const XML_Char* name, const XML_Char** attributes) {
        auto& state = *static_cast<State*>(context);
        if (++state.depth > kMaxXmlDepth) return state.goOnIf(false);
        if (!state.handlers.start) return;
        XmlElement element{name, {}};
        for (; *attributes != nullptr; attributes += 2)
            element.attributes.emplace_back(attributes[0], attributes[1]);
        state.goOnIf(state.handlers.start(element));
    }
    static void end(void* context, const XML_Char* name) {
        auto& state = *static_cast<State*>(context);
        --state.depth;
        if (state.handlers.end) state.goOnIf(state.handlers.end(name));
    }
    static void text(void* context, const XML_Char* characters, int length) {
        auto& state = *static_cast<State*>(context);
        const std::string_view run(characters, static_cast<std::size_t>(length));
        if (state.handlers.text) state.goOnIf(state.handlers.text(run));
    }
    static void declareEntity(void* context, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                              const XML_Char*, const XML_Char*, const XML_Char*) {
        static_cast<State*>(context)->goOnIf(false);
    }
};

XmlReader::XmlReader(XmlHandlers handlers) : state_(new State{.handlers = std::move(handlers)}) {
    if (state_->parser == nullptr) return;
    XML_SetUserData(state_->parser, state_);
    XML_SetElementHandler(state_->parser, State::start, State::end);
    XML_SetCharacterDataHandler(state_->parser, State::text);
    XML_SetEntityDeclHandler(state_->parser, State::declareEntity);
    XML_SetUnknownEncodingHandler(state_->parser, describeEncoding, nullptr);
    XML_UseForeignDTD(state_->parser, XML_FALSE);
}

XmlReader::~XmlReader() {
    if (state_->parser != nullptr) XML_ParserFree(state_->parser);
    delete state_;
}

bool XmlReader::read(std::string_view piece, bool isLast) {
    constexpr std::size_t kMaxPiece = std::size_t{1} << 30;
    if (state_->parser == nullptr) return false;
    do {
        const std::string_view part = piece.substr(0, kMaxPiece);
        piece.remove_prefix(part.size());
        const bool isEnd = isLast && piece.empty();
        if (XML_Parse(state_->parser, part.data(), static_cast<int>(part.size()), isEnd) != XML_STATUS_OK) return false;
    } while (!piece.empty());
    return true;
}

bool readXml(std::string_view document, XmlHandlers handlers) {
    XmlReader reader(std::move(handlers));
    return reader.read(document, true);
}

}  // namespace quarry::support
