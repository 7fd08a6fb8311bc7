#include "importers/system/Mail/MailMessage.h"

#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/CleanText.h"

#include <gmime/gmime.h>

#include <array>
#include <memory>
#include <mutex>

namespace quarry::mail {
namespace {

struct Unref {
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

struct Options {
    GMimeParserOptions* parser = nullptr;
    GMimeFormatOptions* format = nullptr;
};

/// Made once, with the library. Headers with bytes beyond ASCII are UTF-8, else Windows Latin 1.
const Options& options() {
    static const Options kOptions = [] {
        static std::array<const char*, 3> charsets{"utf-8", "windows-1252", nullptr};
        g_mime_init();
        GMimeParserOptions* parser = g_mime_parser_options_new();
        g_mime_parser_options_set_fallback_charsets(parser, charsets.data());
        return Options{.parser = parser, .format = g_mime_format_options_get_default()};
    }();
    return kOptions;
}

std::string stringOf(const char* text) {
    return text != nullptr ? text : std::string();
}

void appendPeople(std::vector<Person>& people, InternetAddressList* list, int depth = 0) {
    constexpr int kMaxDepth = 8;
    const int count = list != nullptr && depth < kMaxDepth ? internet_address_list_length(list) : 0;
    for (int i = 0; i < count && people.size() < kMaxPeople; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            appendPeople(people, internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)), depth + 1);
        } else if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
            Person person{.name = support::cleanLine(stringOf(internet_address_get_name(address))),
                          .address = support::cleanLine(
                              stringOf(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address))))};
            if (!person.name.empty() || !person.address.empty()) people.push_back(std::move(person));
        }
    }
}

/// Collects the text of a message's parts.
class TextCollector {
public:
    void append(GMimeObject* object, int depth) {
        if (object == nullptr || ++count_ > kMaxParts || depth > kMaxDepth) return;
        if (GMIME_IS_MULTIPART(object)) {
            appendMultipart(GMIME_MULTIPART(object), depth);
        } else if (GMIME_IS_MESSAGE_PART(object)) {
            GMimeMessage* message = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
            if (message == nullptr || ++messages_ > kMaxMessageDepth) return;
            append(stringOf(g_mime_message_get_subject(message)));
            append(g_mime_message_get_mime_part(message), depth + 1);
        } else if (GMIME_IS_TEXT_PART(object) && !isAttachment(object)) {
            append(textOf(GMIME_TEXT_PART(object)));
        }
    }
    [[nodiscard]] std::string take() { return std::move(text_); }

private:
    static constexpr int kMaxDepth = 64;

    static bool isAttachment(GMimeObject* object) {
        const char* disposition = g_mime_object_get_disposition(object);
        return disposition != nullptr && support::isSameNoCase(disposition, "attachment");
    }

    static bool isHtml(GMimeObject* object) {
        return g_mime_content_type_is_type(g_mime_object_get_content_type(object), "text", "html") ||
               g_mime_content_type_is_type(g_mime_object_get_content_type(object), "application", "xhtml+xml");
    }

    static bool isPlain(GMimeObject* object) {
        return g_mime_content_type_is_type(g_mime_object_get_content_type(object), "text", "plain");
    }

    /// Of alternatives, the plain one, since it needs no conversion; else the last, which is the richest.
    void appendMultipart(GMimeMultipart* multipart, int depth) {
        const int count = g_mime_multipart_get_count(multipart);
        GMimeContentType* type = g_mime_object_get_content_type(GMIME_OBJECT(multipart));
        if (!g_mime_content_type_is_type(type, "multipart", "alternative")) {
            for (int i = 0; i < count; ++i)
                append(g_mime_multipart_get_part(multipart, i), depth + 1);
            return;
        }
        for (int i = 0; i < count; ++i) {
            GMimeObject* part = g_mime_multipart_get_part(multipart, i);
            if (!isPlain(part) || !GMIME_IS_TEXT_PART(part)) continue;
            const std::string text = textOf(GMIME_TEXT_PART(part));
            if (text.find_first_not_of(" \t\n") == std::string::npos) continue;
            append(text);
            return;
        }
        if (count > 0) append(g_mime_multipart_get_part(multipart, count - 1), depth + 1);
    }

    static std::string textOf(GMimeTextPart* part) {
        if (isHtml(GMIME_OBJECT(part))) return textOfHtml(GMIME_PART(part));
        std::unique_ptr<char, decltype(&g_free)> text(g_mime_text_part_get_text(part), g_free);
        return text ? support::cleanText(text.get()) : std::string();
    }

    /// Pages may say themselves what they are written in, so that their bytes are needed.
    static std::string textOfHtml(GMimePart* part) {
        GMimeDataWrapper* content = g_mime_part_get_content(part);
        if (content == nullptr) return {};
        const Owned<GMimeStream> stream(g_mime_stream_mem_new());
        g_mime_data_wrapper_write_to_stream(content, stream.get());
        const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
        const char* charset = g_mime_object_get_content_type_parameter(GMIME_OBJECT(part), "charset");
        auto markup =
            support::markupFromBytes({reinterpret_cast<const char*>(bytes->data), bytes->len}, stringOf(charset));
        return markup ? support::cleanText(support::textOfMarkup(*std::move(markup))) : std::string();
    }

    void append(const std::string& text) {
        if (text.empty() || text_.size() + text.size() > kMaxTextLength) return;
        if (!text_.empty() && text_.back() != '\n') text_.push_back('\n');
        text_ += text;
    }

    std::string text_;
    int count_ = 0;
    int messages_ = 0;
};

std::optional<double> dateOf(GMimeMessage* message) {
    GDateTime* date = g_mime_message_get_date(message);
    return date != nullptr ? std::optional(static_cast<double>(g_date_time_to_unix(date))) : std::nullopt;
}

}  // namespace

std::optional<Message> messageFromBytes(std::string_view bytes) {
    const Options& settings = options();
    const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    const Owned<GMimeMessage> parsed(g_mime_parser_construct_message(parser.get(), settings.parser));
    if (!parsed) return std::nullopt;
    Message message{.subject = support::cleanLine(stringOf(g_mime_message_get_subject(parsed.get()))),
                    .identifier = support::cleanLine(stringOf(g_mime_message_get_message_id(parsed.get()))),
                    .authors = {},
                    .recipients = {},
                    .date = dateOf(parsed.get()),
                    .text = {}};
    appendPeople(message.authors, g_mime_message_get_from(parsed.get()));
    for (const auto kind : {GMIME_ADDRESS_TYPE_TO, GMIME_ADDRESS_TYPE_CC, GMIME_ADDRESS_TYPE_BCC})
        appendPeople(message.recipients, g_mime_message_get_addresses(parsed.get(), kind));
    const bool isMail = !message.subject.empty() || !message.identifier.empty() || !message.authors.empty() ||
                        !message.recipients.empty() || message.date ||
                        g_mime_object_get_header(GMIME_OBJECT(parsed.get()), "Received") != nullptr;
    if (!isMail) return std::nullopt;
    TextCollector collector;
    collector.append(g_mime_message_get_mime_part(parsed.get()), 0);
    message.text = collector.take();
    return message;
}

}  // namespace quarry::mail
