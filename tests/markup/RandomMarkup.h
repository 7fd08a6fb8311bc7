// Markup with all kinds of tokens, whole and broken, for comparisons with the plain rules.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

namespace halden {

/// `pieces` pieces, now and then cut somewhere.
inline std::u16string randomMarkup(std::mt19937& random, std::size_t pieces) {
    using namespace std::string_view_literals;
    static constexpr std::u16string_view kPieces[] = {
        u"<"sv,
        u">"sv,
        u"/"sv,
        u"="sv,
        u"\""sv,
        u"'"sv,
        u"!"sv,
        u"-"sv,
        u"["sv,
        u"]"sv,
        u" "sv,
        u"\n"sv,
        u"\0"sv,
        u"?"sv,
        u"a"sv,
        u"B"sv,
        u"7"sv,
        u"é"sv,
        u"ŉ"sv,
        u"ſ"sv,
        u"\u00A0"sv,
        u"\u3000"sv,
        u"\U0001F600"sv,
        u"\u3C3C"sv,
        u"\u3E00"sv,
        u"\uFF3E"sv,
        u"plain text "sv,
        u"a longer run of text that holds nothing but letters, commas and spaces, and goes on for some units"sv,
        u"<p>"sv,
        u"</p>"sv,
        u"<br/>"sv,
        u"<a href=\"x>y\">"sv,
        u"<img src='a=\"b\"' alt=x width = 5>"sv,
        u"<a title'x>"sv,
        u"<div data-width=5 width==\"7\" style='width: 20px; height:10px'>"sv,
        u"<!DOCTYPE html>"sv,
        u"<?xml version='1.0'?>"sv,
        u"<!-- a > b -->"sv,
        u"<!--"sv,
        u"-->"sv,
        u"--!>"sv,
        u"<!-"sv,
        u"->"sv,
        u"<!->"sv,
        u"<![CDATA[ a > b ]]>"sv,
        u"<![if !IE]>"sv,
        u"<![endif]-->"sv,
        u"<!["sv,
        u"]>"sv,
        u"<script>"sv,
        u"</script>"sv,
        u"</SCRIPT"sv,
        u"<Style a=b>"sv,
        u"</style >"sv,
        u"<script/>"sv,
        u"<script src=\"</script>\">"sv,
        u"<script \" =\"</script>"sv,
        u"<style a=' ="sv,
        u"</ſcript>"sv,
        u"if (a<b) x='</p>';"sv,
        u"</"sv,
    };
    std::uniform_int_distribution<std::size_t> piece(0, std::size(kPieces) - 1);
    std::u16string text;
    for (std::size_t i = 0; i < pieces; ++i)
        text += kPieces[piece(random)];
    if (random() % 4 == 0) text.resize(random() % (text.size() + 1));
    return text;
}

}  // namespace halden
