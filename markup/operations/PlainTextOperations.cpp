#include "markup/Html2Text.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

Dictionary withJunk(std::u16string html, TagHandler handler, PlainTextOptions options) {
    bool junk = false;
    std::u16string text = convertHtml2PlainTextUsingHandler(std::move(html), handler, options, &junk);
    return {{u"result", Value(std::move(text))}, {u"junk", Value(junk)}};
}

TagHandler handlerNamed(std::u16string_view name) {
    if (name == u"PlainTextHandler") return PlainTextHandler;
    if (name == u"SimplePlainTextHandler") return SimplePlainTextHandler;
    throw ArgumentError("argument 2 names no handler");
}

Dictionary convertUsingHandler(std::u16string html, std::u16string_view handler, bool entities, bool stdEntities,
                               bool nonUmlauted, bool reformat, bool onlyBody, bool removeJunk, bool googleTags,
                               bool imageAlts) {
    return withJunk(std::move(html), handlerNamed(handler),
                    {.entities = entities,
                     .stdEntities = stdEntities,
                     .nonUmlauted = nonUmlauted,
                     .reformat = reformat,
                     .onlyBody = onlyBody,
                     .removeJunk = removeJunk,
                     .googleTags = googleTags,
                     .imageAlts = imageAlts});
}

Dictionary convertEntities(std::u16string html, bool entities, bool stdEntities, bool nonUmlauted, bool reformat,
                           bool onlyBody, bool removeJunk, bool googleTags, bool imageAlts) {
    return convertUsingHandler(std::move(html), u"PlainTextHandler", entities, stdEntities, nonUmlauted, reformat,
                               onlyBody, removeJunk, googleTags, imageAlts);
}

Dictionary convertRemovingJunk(std::u16string html, bool nonUmlauted, bool reformat, bool onlyBody, bool removeJunk,
                               bool googleTags, bool imageAlts) {
    return convertEntities(std::move(html), true, true, nonUmlauted, reformat, onlyBody, removeJunk, googleTags,
                           imageAlts);
}

std::u16string convertWithImageAlts(std::u16string html, bool nonUmlauted, bool reformat, bool onlyBody,
                                    bool googleTags, bool imageAlts) {
    return stringByConvertingHtml2PlainText(std::move(html), {.entities = true,
                                                              .stdEntities = true,
                                                              .nonUmlauted = nonUmlauted,
                                                              .reformat = reformat,
                                                              .onlyBody = onlyBody,
                                                              .googleTags = googleTags,
                                                              .imageAlts = imageAlts});
}

std::u16string convert(std::u16string html, bool nonUmlauted, bool reformat, bool onlyBody, bool googleTags) {
    return convertWithImageAlts(std::move(html), nonUmlauted, reformat, onlyBody, googleTags, true);
}

std::u16string convertNonUmlauted(std::u16string html, bool nonUmlauted) {
    return convert(std::move(html), nonUmlauted, false, false, false);
}

std::u16string convertPlainly(std::u16string html) {
    return stringByConvertingHtml2PlainText(std::move(html));
}

constexpr auto kOperations = std::to_array<Operation>({
    method<convertUsingHandler>("_convertHtml2PlainTextUsingHandler:entities:stdEntities:nonUmlauted:reformat:onlyBody:"
                                "removeJunk::googleTags:imageAlts:",
                                "string handler entities stdEntities nonUmlauted reformat onlyBody removeJunk "
                                "googleTags imageAlts"),
    method<convertEntities>(
        "stringByConvertingHtml2PlainTextEntities:stdEntities:nonUmlauted:reformat:onlyBody:removeJunk::googleTags:"
        "imageAlts:",
        "string entities stdEntities nonUmlauted reformat onlyBody removeJunk googleTags imageAlts"),
    method<convertRemovingJunk>(
        "stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:removeJunk::googleTags:imageAlts:",
        "string nonUmlauted reformat onlyBody removeJunk googleTags imageAlts"),
    method<convertWithImageAlts>("stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:imageAlts:",
                                 "string nonUmlauted reformat onlyBody googleTags imageAlts"),
    method<convert>("stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:",
                    "string nonUmlauted reformat onlyBody googleTags"),
    method<convertNonUmlauted>("stringByConvertingHtml2PlainTextNonUmlauted:", "string nonUmlauted"),
    method<stringByConvertingHtml2ReformattedPlainText>("stringByConvertingHtml2ReformattedPlainText", "string"),
    method<convertPlainly>("stringByConvertingHtml2PlainText", "string"),
    method<stringByConvertingHtml2SimplifiedPlainText>("stringByConvertingHtml2SimplifiedPlainText", "string"),
});

}  // namespace

std::span<const Operation> plainTextOperations() {
    return kOperations;
}

}  // namespace halden::operations
