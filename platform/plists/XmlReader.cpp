// The XML form.
//
// <plist> holds one value; a value may also stand alone as the root. Values:
//   <string>, <integer> (decimal or 0x..., signed), <real> (decimal, nan, inf, infinity), <true/>, <false/>,
//   <date> (YYYY-MM-DDTHH:MM:SSZ), <data> (base 64), <array> of values, <dict> of <key> and value in turn.
// Attributes say nothing. White space between elements and around numbers and dates counts for nothing.
#include "foundation/Base64.h"
#include "foundation/Unicode.h"
#include "platform/plists/DateText.h"
#include "platform/plists/Forms.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <limits>

namespace halden::plists {
namespace {

// Property lists hardly ever declare an entity. The number bounds how deep they can refer to each other, which expat
// follows by recursion.
constexpr int kMaxEntities = 64;

// Without entities, the elements and the UTF-8 of the text are at most twice as long as the data. Expat has a limit of
// its own, which is far wider, for what entities unfold to.
constexpr std::size_t kFreeExpansion = std::size_t{1} << 20;
constexpr std::size_t kMaxExpansion = 4;

enum class Element { plist, array, dict, key, string, data, date, integer, real, yes, no };

struct ElementName {
    std::string_view name;
    Element element;
};

constexpr ElementName kElements[] = {
    {"plist", Element::plist},   {"array", Element::array}, {"dict", Element::dict}, {"key", Element::key},
    {"string", Element::string}, {"data", Element::data},   {"date", Element::date}, {"integer", Element::integer},
    {"real", Element::real},     {"true", Element::yes},    {"false", Element::no},
};

bool isContainer(Element element) {
    return element == Element::plist || element == Element::array || element == Element::dict;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

bool equalsNoCase(std::string_view text, std::string_view lower) {
    const auto matches = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), matches);
}

/// `digits` without a sign; nullopt when they are no number as a whole.
std::optional<double> magnitudeFrom(std::string_view digits, std::chars_format format) {
    double number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, status] = std::from_chars(digits.data(), end, number, format);
    if (stop != end || digits.empty()) return std::nullopt;
    if (status == std::errc::result_out_of_range) {
        // from_chars leaves the number alone there; the C function tells infinity from zero.
        const std::string prefix = format == std::chars_format::hex ? "0x" : "";
        number = std::strtod((prefix + std::string(digits)).c_str(), nullptr);
    } else if (status != std::errc()) {
        return std::nullopt;
    }
    return number;
}

bool takeSign(std::string_view& text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    return isNegative;
}

std::optional<Value> integerFrom(std::string_view text) {
    text = trimmed(text);
    const bool isNegative = takeSign(text);
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    if (isHex) text.remove_prefix(2);
    const std::string_view allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (text.empty() || text.find_first_not_of(allowed) != std::string_view::npos) return std::nullopt;

    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    std::uint64_t magnitude = 0;
    const auto status = std::from_chars(text.data(), text.data() + text.size(), magnitude, isHex ? 16 : 10).ec;
    if (status == std::errc() && magnitude <= kMax + (isNegative ? 1 : 0)) {
        return Value(static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude));
    }
    const auto number = magnitudeFrom(text, isHex ? std::chars_format::hex : std::chars_format::fixed);
    if (!number) return std::nullopt;
    return Value(isNegative ? -*number : *number);
}

std::optional<Value> realFrom(std::string_view text) {
    text = trimmed(text);
    const bool isNegative = takeSign(text);
    double number = 0;
    if (equalsNoCase(text, "nan")) {
        number = std::numeric_limits<double>::quiet_NaN();
    } else if (equalsNoCase(text, "inf") || equalsNoCase(text, "infinity")) {
        number = std::numeric_limits<double>::infinity();
    } else {
        if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos || text.starts_with('-')) {
            return std::nullopt;
        }
        const auto magnitude = magnitudeFrom(text, std::chars_format::general);
        if (!magnitude) return std::nullopt;
        number = *magnitude;
    }
    return Value(isNegative ? -number : number);
}

class Reader {
public:
    Reader() : parser_(XML_ParserCreate(nullptr)) {
        if (!parser_) throw std::bad_alloc();
        XML_Parser parser = parser_.get();
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, &Reader::onStart, &Reader::onEnd);
        XML_SetCharacterDataHandler(parser, &Reader::onCharacters);
        XML_SetSkippedEntityHandler(parser, &Reader::onSkippedEntity);
        XML_SetExternalEntityRefHandler(parser, &Reader::onExternalEntity);
        XML_SetEntityDeclHandler(parser, &Reader::onEntityDeclaration);
    }

    std::optional<Value> read(const Data& data, PropertyListError& error) {
        if (data.length() > INT_MAX / 2) {
            error = {"the XML is longer than a gigabyte", 0, 0};
            return std::nullopt;
        }
        budget_ = kFreeExpansion + kMaxExpansion * data.length();
        // In one piece: then expat works on the bytes in place and never scans a long token twice.
        const auto* const bytes = reinterpret_cast<const char*>(data.bytes());
        const XML_Status status = XML_Parse(parser_.get(), bytes, static_cast<int>(data.length()), XML_TRUE);
        if (exception_) std::rethrow_exception(exception_);
        if (status == XML_STATUS_OK && value_) return std::move(value_);
        if (message_.empty()) {
            noteFailure(std::string("malformed XML: ") + XML_ErrorString(XML_GetErrorCode(parser_.get())));
        }
        error = {std::move(message_), std::min(offset_, data.length()), line_};
        return std::nullopt;
    }

private:
    struct Open {
        Element element;
        Value container;
        std::optional<std::u16string> key;
    };

    /// Exceptions must not cross expat, which is C: they wait until it has returned.
    template <class Body>
    static void handle(void* self, Body&& body) noexcept {
        auto& reader = *static_cast<Reader*>(self);
        if (reader.exception_ || !reader.message_.empty()) return;
        try {
            body(reader);
        } catch (...) {
            reader.exception_ = std::current_exception();
            XML_StopParser(reader.parser_.get(), XML_FALSE);
        }
    }

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char**) {
        handle(self, [name](Reader& reader) { reader.start(name); });
    }
    static void XMLCALL onEnd(void* self, const XML_Char*) {
        handle(self, [](Reader& reader) { reader.end(); });
    }
    static void XMLCALL onCharacters(void* self, const XML_Char* text, int length) {
        const std::string_view characters(text, static_cast<std::size_t>(length));
        handle(self, [characters](Reader& reader) { reader.characters(characters); });
    }
    static void XMLCALL onSkippedEntity(void* self, const XML_Char*, int) {
        handle(self, [](Reader& reader) { reader.fail("an entity that is not declared"); });
    }
    static int XMLCALL onExternalEntity(XML_Parser parser, const XML_Char*, const XML_Char*, const XML_Char*,
                                        const XML_Char*) {
        // Without a handler expat would leave the entity out without a word.
        handle(XML_GetUserData(parser), [](Reader& reader) { reader.fail("an entity outside the data"); });
        return XML_STATUS_ERROR;
    }
    static void XMLCALL onEntityDeclaration(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                            const XML_Char*, const XML_Char*, const XML_Char*) {
        handle(self, [](Reader& reader) {
            if (++reader.entities_ > kMaxEntities) reader.fail("too many entity declarations");
        });
    }

    void noteFailure(std::string message) {
        message_ = std::move(message);
        const XML_Index index = XML_GetCurrentByteIndex(parser_.get());
        offset_ = index < 0 ? 0 : static_cast<std::size_t>(index);
        line_ = XML_GetCurrentLineNumber(parser_.get());
    }

    void fail(std::string message) {
        noteFailure(std::move(message));
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    bool charge(std::size_t amount) {
        if (amount <= budget_) {
            budget_ -= amount;
            return true;
        }
        fail("entities that unfold to too much");
        return false;
    }

    void start(std::string_view name) {
        if (!charge(1)) return;
        const auto isNamed = [name](const ElementName& entry) { return entry.name == name; };
        const auto found = std::find_if(std::begin(kElements), std::end(kElements), isNamed);
        if (found == std::end(kElements)) return fail("an unknown element <" + std::string(name.substr(0, 40)) + ">");
        if (!mayStart(found->element)) return;
        Open open{found->element, {}, std::nullopt};
        if (found->element == Element::array) open.container = Array();
        if (found->element == Element::dict) open.container = Dictionary();
        if (!open.container.isNull() && depth() >= kPropertyListMaxDepth) return fail("nested too deeply");
        open_.push_back(std::move(open));
        text_.clear();
    }

    /// How many arrays and dictionaries are open, when the element being started may contain values.
    [[nodiscard]] std::size_t depth() const {
        const bool hasRoot = !open_.empty() && open_.front().element == Element::plist;
        return open_.size() - (hasRoot ? 1 : 0);
    }

    bool mayStart(Element element) {
        const char* reason = nullptr;
        if (open_.empty()) {
            if (element == Element::key) reason = "a key outside a dictionary";
        } else {
            const Open& parent = open_.back();
            if (!isContainer(parent.element)) {
                reason = "an element inside a value that holds text";
            } else if (element == Element::plist) {
                reason = "a property list inside another";
            } else if (parent.element == Element::dict) {
                if (element == Element::key && parent.key) reason = "a key without a value";
                if (element != Element::key && !parent.key) reason = "a value without a key";
            } else if (element == Element::key) {
                reason = "a key outside a dictionary";
            } else if (parent.element == Element::plist && value_) {
                reason = "a second value";
            }
        }
        if (reason != nullptr) fail(reason);
        return reason == nullptr;
    }

    void characters(std::string_view characters) {
        if (!charge(characters.size())) return;
        if (!open_.empty() && !isContainer(open_.back().element)) {
            text_ += characters;
        } else if (!trimmed(characters).empty()) {
            fail("text between the elements");
        }
    }

    void end() {
        Open open = std::move(open_.back());
        open_.pop_back();
        if (open.element == Element::plist) {
            if (!value_) fail("no value");
        } else if (open.element == Element::key) {
            open_.back().key = utf16FromUtf8(text_);
        } else if (open.element == Element::dict && open.key) {
            fail("a key without a value");
        } else if (std::optional<Value> value = valueOf(open)) {
            deliver(*std::move(value));
        }
    }

    std::optional<Value> valueOf(Open& open) {
        std::optional<Value> value;
        const char* reason;
        switch (open.element) {
            case Element::integer:
                value = integerFrom(text_);
                reason = "an integer that is none";
                break;
            case Element::real:
                value = realFrom(text_);
                reason = "a real number that is none";
                break;
            case Element::date:
                if (const auto date = dateFromText(trimmed(text_))) value = Value(*date);
                reason = "a date that is none";
                break;
            case Element::data:
                if (auto bytes = bytesFromBase64(text_)) value = Value(Data(*std::move(bytes)));
                reason = "data that are not base 64";
                break;
            case Element::yes:
            case Element::no:
                if (trimmed(text_).empty()) value = Value(open.element == Element::yes);
                reason = "text inside a boolean";
                break;
            case Element::string:
                return Value(utf16FromUtf8(text_));
            default:
                return std::move(open.container);
        }
        if (!value) fail(reason);
        return value;
    }

    void deliver(Value value) {
        if (open_.empty() || open_.back().element == Element::plist) {
            value_ = std::move(value);
        } else if (Open& parent = open_.back(); parent.element == Element::dict) {
            parent.container.as<Dictionary>()->set(*std::move(parent.key), std::move(value));
            parent.key.reset();
        } else {
            parent.container.as<Array>()->push_back(std::move(value));
        }
    }

    struct ParserDeleter {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> parser_;
    std::vector<Open> open_;
    std::string text_;
    std::optional<Value> value_;
    int entities_ = 0;
    std::size_t budget_ = 0;
    std::exception_ptr exception_;
    std::string message_;
    std::size_t offset_ = 0;
    std::size_t line_ = 0;
};

}  // namespace

std::optional<Value> readXml(const Data& data, PropertyListError& error) {
    return Reader().read(data, error);
}

}  // namespace halden::plists
