// The comments of PostScript documents: whatever the bytes are, what they say is no longer than they are.
#include "importers/system/PostScript/Comments.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    const auto comments = quarry::postscript::commentsOf(input, input.substr(size / 2));
    if (comments.title.size() + comments.creator.size() + comments.author.size() > size) std::abort();
    if (comments.pages < 0 || (quarry::postscript::isPostScript(input) && size < 4)) std::abort();
    return 0;
}
