// Mail in each of its files: whatever the bytes are, what comes out is clean and within its bounds.
#include "importers/system/Mail/MailFile.h"
#include "importers/system/Mail/MailMessage.h"

#include <cstdint>
#include <cstdlib>

namespace {

void expect(bool condition) {
    if (!condition) std::abort();
}

void read(std::string_view bytes) {
    const auto message = quarry::mail::messageFromBytes(bytes);
    if (!message) return;
    expect(message->text.size() <= 2 * quarry::mail::kMaxTextLength);
    expect(message->authors.size() <= quarry::mail::kMaxPeople);
    for (const std::string* line : {&message->subject, &message->identifier})
        expect(line->find_first_of("\n\r\t") == std::string::npos);
    for (const char unit : message->text)
        expect(static_cast<unsigned char>(unit) >= 0x20 || unit == '\n' || unit == '\t');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    read(input);
    if (const auto message = quarry::mail::messageInEmlx(input)) read(*message);
    std::size_t length = 0;
    for (const auto message : quarry::mail::messagesInMbox(input)) {
        length += message.size();
        read(message);
    }
    expect(length <= size);
    return 0;
}
