// Plain text of any page, with any options. The text must fit the buffer (which the address sanitizer watches), never
// end in white space, and be the page itself when nothing was found.
#include "foundation/Characters.h"
#include "foundation/Unicode.h"
#include "markup/Html2Text.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace halden;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size < 1) return 0;
    const unsigned flags = bytes[0];
    const std::u16string html = utf16FromUtf8({reinterpret_cast<const char*>(bytes) + 1, size - 1});
    const PlainTextOptions options{.entities = (flags & 1) != 0,
                                   .stdEntities = (flags & 2) != 0,
                                   .nonUmlauted = (flags & 4) != 0,
                                   .reformat = (flags & 8) != 0,
                                   .onlyBody = (flags & 16) != 0,
                                   .removeJunk = (flags & 32) != 0,
                                   .googleTags = (flags & 64) != 0,
                                   .imageAlts = (flags & 128) != 0};
    bool junk = false;
    const std::u16string text = stringByConvertingHtml2PlainText(html, options, &junk);
    if (junk && !options.removeJunk) std::abort();
    if (text != html && !text.empty() && whiteCharacterSetRep().contains(text.back())) std::abort();
    static_cast<void>(stringByConvertingHtml2SimplifiedPlainText(html));
    return 0;
}
