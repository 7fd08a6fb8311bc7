#include "markup/Html2Text.h"
#include "markup/operations/Operations.h"

#include <array>
#include <optional>

namespace halden::operations {
namespace {

// The forms with several results answer all of them for nil too.
using MaybeString = std::optional<std::u16string>;

Dictionary withJunk(MaybeString html, TagHandler handler, PlainTextOptions options) {
    bool junk = false;
    if (html) html = convertHtml2PlainTextUsingHandler(*std::move(html), handler, options, &junk);
    return {{u"result", html ? Value(*std::move(html)) : Value()}, {u"junk", Value(junk)}};
}

TagHandler handlerNamed(std::u16string_view name) {
    if (name == u"PlainTextHandler") return PlainTextHandler;
    if (name == u"SimplePlainTextHandler") return SimplePlainTextHandler;
    throw ArgumentError("argument 2 names no handler");
}

Dictionary convertUsingHandler(MaybeString html, std::u16string_view handler, bool entities, bool stdEntities,
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

Dictionary convertEntities(MaybeString html, bool entities, bool stdEntities, bool nonUmlauted, bool reformat,
                           bool onlyBody, bool removeJunk, bool googleTags, bool imageAlts) {
    return convertUsingHandler(std::move(html), u"PlainTextHandler", entities, stdEntities, nonUmlauted, reformat,
                               onlyBody, removeJunk, googleTags, imageAlts);
}

Dictionary convertRemovingJunk(MaybeString html, bool nonUmlauted, bool reformat, bool onlyBody, bool removeJunk,
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
