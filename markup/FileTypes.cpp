#include "markup/FileTypes.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Path.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

using namespace std::string_view_literals;

constexpr std::array kHTMLFileTypes = {
    u"xhtml"sv, u"XHTML"sv, u"xhtm"sv, u"XHTM"sv,  u"shtm"sv,  u"SHTM"sv,  u"shtml"sv, u"SHTML"sv, u"cfm"sv,
    u"CFM"sv,   u"html"sv,  u"HTML"sv, u"mhtml"sv, u"MHTML"sv, u"phtml"sv, u"PHTML"sv, u"jhtml"sv, u"JHTML"sv,
    u"htm"sv,   u"HTM"sv,   u"JSP"sv,  u"jsp"sv,   u"php"sv,   u"PHP"sv,   u"php3"sv,  u"PHP3"sv,  u"php4"sv,
    u"PHP4"sv,  u"php5"sv,  u"PHP5"sv, u"asp"sv,   u"ASP"sv,   u"aspx"sv,  u"ASPX"sv,  u"cgi"sv,   u"CGI"sv,
};

constexpr std::array kXMLFileTypes = {
    u"xml"sv,        u"XML"sv,   u"xsl"sv, u"XSL"sv, u"xslt"sv, u"XSLT"sv, u"xbl"sv,
    u"XBL"sv,        u"ent"sv,   u"ENT"sv, u"wml"sv, u"WML"sv,  u"sgml"sv, u"SGML"sv,
    u"sgm"sv,        u"SGM"sv,   u"dtd"sv, u"DTD"sv, u"opml"sv, u"OPML"sv, u"ooutline"sv,
    u"xmloutline"sv, u"idata"sv, u"rss"sv, u"rsd"sv, u"rdf"sv,  u"tbx"sv,  u"TBX"sv,
};

constexpr std::array kPropertyListFileTypes = {
    u"plist"sv,   u"PLIST"sv, u"scriptsuite"sv, u"scriptSuite"sv, u"scriptterminology"sv, u"scriptTerminology"sv,
    u"strings"sv, u"sdef"sv,
};

constexpr auto kMarkupFileTypes = [] {
    std::array<std::u16string_view, kXMLFileTypes.size() + kHTMLFileTypes.size() + kPropertyListFileTypes.size()> all;
    auto end = std::ranges::copy(kXMLFileTypes, all.begin()).out;
    end = std::ranges::copy(kHTMLFileTypes, end).out;
    std::ranges::copy(kPropertyListFileTypes, end);
    return all;
}();

constexpr std::string_view kHTMLExtensions[] = {"SHTML", "XHTML", "PHTML", "MHTML", "JHTML", "HTML",
                                                "ASPX",  "PHP3",  "PHP4",  "PHP5",  "SHTM",  "XHTM",
                                                "HTM",   "CFM",   "PHP",   "JSP",   "ASP",   "CGI"};
constexpr std::string_view kXMLExtensions[] = {"XML",  "XSL",  "ENT",  "WML",   "DTD",      "SGM",
                                               "XBL",  "RSS",  "RDF",  "RSD",   "TBX",      "SGML",
                                               "OPML", "SHTM", "XSLT", "IDATA", "OOUTLINE", "XMLOUTLINE"};
constexpr std::string_view kPropertyListExtensions[] = {"SDEF", "PLIST", "strings", "scriptSuite", "scriptTerminology"};

bool isOneOf(std::span<const std::string_view> extensions, std::u16string_view extension) {
    return std::ranges::any_of(extensions, [extension](std::string_view candidate) {
        return fastCaseInsensitiveCompareUnicharsWithChars(extension, candidate) == 0;
    });
}

}  // namespace

std::span<const std::u16string_view> HTMLFileTypes() noexcept {
    return kHTMLFileTypes;
}
std::span<const std::u16string_view> XMLFileTypes() noexcept {
    return kXMLFileTypes;
}
std::span<const std::u16string_view> PropertyListFileTypes() noexcept {
    return kPropertyListFileTypes;
}
std::span<const std::u16string_view> MarkupFileTypes() noexcept {
    return kMarkupFileTypes;
}

bool isHTMLExtension(std::u16string_view extension) {
    return isOneOf(kHTMLExtensions, extension.substr(0, extension.find(u'?')));
}
bool isXMLExtension(std::u16string_view extension) {
    return isOneOf(kXMLExtensions, extension);
}
bool isPropertyListExtension(std::u16string_view extension) {
    return isOneOf(kPropertyListExtensions, extension);
}
bool isMarkupExtension(std::u16string_view extension) {
    return isXMLExtension(extension) || isHTMLExtension(extension) || isPropertyListExtension(extension);
}

bool isHTMLFile(std::u16string_view path) {
    return isHTMLExtension(pathExtension(path));
}
bool isXMLFile(std::u16string_view path) {
    return isXMLExtension(pathExtension(path));
}
bool isPropertyListFile(std::u16string_view path) {
    return isPropertyListExtension(pathExtension(path));
}
bool isMarkupFile(std::u16string_view path) {
    return isMarkupExtension(pathExtension(path));
}

}  // namespace halden
