#include "markup/Html2Text.h"

#include "foundation/Characters.h"
#include "markup/PlainTextWriter.h"
#include "markup/XmlExtensions.h"

#include <cstdlib>
#include <memory>

namespace halden {
namespace {

struct FreeBuffer {
    void operator()(char16_t* buffer) const noexcept { std::free(buffer); }
};
using Buffer = std::unique_ptr<char16_t[], FreeBuffer>;

/// Room for everything that a page of `length` units can become. A tag of three units writes two line feeds and lets a
/// space stand before the next run, so that no text grows to twice its length. What is not written to costs no memory.
Buffer makeBuffer(std::size_t length) {
    return Buffer(static_cast<char16_t*>(std::malloc((2 * length + 64) * sizeof(char16_t))));
}

void reset(PlainTextState& state, char16_t* buffer, PlainTextOptions options, std::int64_t depth) {
    state =
        PlainTextState{.output = buffer, .write = buffer, .breakMark = buffer, .options = options, .bodyDepth = depth};
}

constexpr PlainTextOptions kDisplayed{.entities = true, .stdEntities = true, .imageAlts = true};

}  // namespace

std::u16string convertHtml2PlainTextUsingHandler(std::u16string html, TagHandler handler, PlainTextOptions options,
                                                 bool* foundJunk) {
    if (foundJunk != nullptr) *foundJunk = false;
    const Buffer buffer = makeBuffer(html.size());
    if (!buffer) return html;
    PlainTextState state;
    reset(state, buffer.get(), options, options.onlyBody ? 0 : kWholeDocumentDepth);
    bool scanned = parseXmlWithHandler(html, handler, &state);
    if (options.onlyBody && scanned && !state.bodyContentSeen) {
        reset(state, buffer.get(), options, kWholeDocumentDepth);
        scanned = parseXmlWithHandler(html, handler, &state);
    }
    if (!scanned || !state.bodyContentSeen) return html;
    if (foundJunk != nullptr) *foundJunk = state.junkFound;
    std::u16string_view text(state.output, static_cast<std::size_t>(state.write - state.output));
    if (handler != SimplePlainTextHandler) {
        const CharacterBitmap& white = whiteCharacterSetRep();
        while (!text.empty() && white.contains(text.back()))
            text.remove_suffix(1);
    }
    return std::u16string(text);
}

std::u16string stringByConvertingHtml2PlainText(std::u16string html, PlainTextOptions options, bool* foundJunk) {
    return convertHtml2PlainTextUsingHandler(std::move(html), PlainTextHandler, options, foundJunk);
}

std::u16string stringByConvertingHtml2PlainText(std::u16string html) {
    return stringByConvertingHtml2PlainText(std::move(html), kDisplayed);
}

std::u16string stringByConvertingHtml2PlainTextNonUmlauted(std::u16string html) {
    PlainTextOptions options = kDisplayed;
    options.nonUmlauted = true;
    return stringByConvertingHtml2PlainText(std::move(html), options);
}

std::u16string stringByConvertingHtml2ReformattedPlainText(std::u16string html) {
    PlainTextOptions options = kDisplayed;
    options.reformat = true;
    return stringByConvertingHtml2PlainText(std::move(html), options);
}

std::u16string stringByConvertingHtml2SimplifiedPlainText(std::u16string html) {
    PlainTextOptions options = kDisplayed;
    options.onlyBody = true;
    return convertHtml2PlainTextUsingHandler(std::move(html), SimplePlainTextHandler, options);
}

}  // namespace halden
