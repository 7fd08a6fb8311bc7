#include "documents/WebArchive.h"

#include "foundation/Path.h"
#include "foundation/StringSearch.h"
#include "markup/Html2Text.h"
#include "markup/MarkupDecoder.h"
#include "markup/MimeTypes.h"
#include "platform/plists/PropertyList.h"

#include <algorithm>
#include <array>

namespace quarry {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::Url;
using halden::Value;

/// Larger files are no archives that anybody saved from a page.
constexpr std::size_t kLargestFile = std::size_t{1} << 30;

std::optional<std::u16string> stringOf(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
    return string != nullptr ? std::optional(*string) : std::nullopt;
}

template <class T>
const T* entryOf(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    return value != nullptr ? value->as<T>() : nullptr;
}

WebResource resourceWithDictionary(const Dictionary& dictionary) {
    WebResource resource;
    if (const auto* data = entryOf<Data>(dictionary, u"WebResourceData")) resource.data = *data;
    resource.stringValue = stringOf(dictionary, u"WebResourceData");
    resource.MIMEType = stringOf(dictionary, u"WebResourceMIMEType");
    resource.textEncodingName = stringOf(dictionary, u"WebResourceTextEncodingName");
    if (const auto url = stringOf(dictionary, u"WebResourceURL")) {
        resource.URL = halden::URLWithNormalizedStringURL(*url);
    }
    return resource;
}

bool hasURL(const WebResource& resource, const Url& url) {
    return resource.URL && *resource.URL == url;
}

}  // namespace

std::optional<std::u16string> WebResource::documentSource() const {
    if (!MIMEType || !halden::isMarkupMIMEType(*MIMEType)) return std::nullopt;
    if (stringValue && !stringValue->empty()) return stringValue;
    return halden::stringWithMarkupData(data.view(), textEncodingName.value_or(u""), halden::kNSISOLatin1StringEncoding,
                                        URL ? URL->absoluteString() : std::u16string());
}

std::optional<WebArchive> WebArchive::archiveWithValue(const Value& value, std::size_t& budget) {
    const auto* dictionary = value.as<Dictionary>();
    if (dictionary == nullptr) return std::nullopt;
    const auto* main = entryOf<Dictionary>(*dictionary, u"WebMainResource");
    const auto* frames = entryOf<halden::Array>(*dictionary, u"WebSubframeArchives");
    if (main == nullptr && frames == nullptr) return std::nullopt;
    WebArchive archive;
    if (main != nullptr) {
        archive.mainResource_ = resourceWithDictionary(*main);
        const std::size_t length = archive.mainResource_->data.length();
        if (length > budget) return std::nullopt;
        budget -= length;
    }
    if (const auto* resources = entryOf<halden::Array>(*dictionary, u"WebSubresources")) {
        for (const Value& resource : *resources) {
            const auto* entries = resource.as<Dictionary>();
            if (entries != nullptr) archive.subresources_.push_back(resourceWithDictionary(*entries));
        }
    }
    if (frames != nullptr) {
        for (const Value& frame : *frames) {
            if (auto inner = archiveWithValue(frame, budget)) archive.subframeArchives_.push_back(*std::move(inner));
        }
    }
    return archive;
}

std::optional<WebArchive> WebArchive::archiveWithData(const Data& data) {
    if (data.empty()) return std::nullopt;
    const std::optional<Value> value = halden::propertyListFromData(data);
    if (!value) return std::nullopt;
    constexpr std::size_t kMostOften = 16;
    std::size_t budget = std::max(kSharedDataLimit, kMostOften * data.length());
    return archiveWithValue(*value, budget);
}

std::optional<WebArchive> WebArchive::archiveOfFile(std::u16string_view path) {
    const std::optional<std::string> bytes = halden::pathBytesFromString(path);
    const std::optional<Data> data = bytes ? Data::contentsOfFile(*bytes, kLargestFile) : std::nullopt;
    return data ? archiveWithData(*data) : std::nullopt;
}

std::span<const std::u16string_view> WebArchive::webArchiveFileTypes() noexcept {
    static constexpr std::array<std::u16string_view, 1> kTypes{u"webarchive"};
    return kTypes;
}

bool WebArchive::isWebArchiveExtension(std::u16string_view extension) {
    return extension.size() == webArchiveFileTypes()[0].size() &&
           halden::hasPrefixNoCase(extension, webArchiveFileTypes()[0]);
}

bool WebArchive::isWebArchiveFile(std::u16string_view path) {
    return isWebArchiveExtension(halden::pathExtension(path));
}

std::optional<std::u16string> WebArchive::documentSourceOfFile(std::u16string_view path, std::optional<Url>* baseURL) {
    const std::optional<WebArchive> archive = archiveOfFile(path);
    if (baseURL != nullptr) *baseURL = archive ? archive->baseURL() : std::nullopt;
    return archive ? archive->documentSource() : std::nullopt;
}

std::optional<std::u16string> WebArchive::searchableTextOfFile(std::u16string_view path, std::optional<Url>* baseURL,
                                                               std::optional<std::u16string>* source) {
    const std::optional<WebArchive> archive = archiveOfFile(path);
    if (baseURL != nullptr) *baseURL = archive ? archive->baseURL() : std::nullopt;
    if (source != nullptr) source->reset();
    if (!archive) return std::nullopt;
    return archive->searchableTextAndSource(source);
}

std::optional<std::u16string> WebArchive::documentSource() const {
    return mainResource_ ? mainResource_->documentSource() : std::nullopt;
}

std::optional<Url> WebArchive::baseURL() const {
    return mainResource_ ? mainResource_->URL : std::nullopt;
}

const WebResource* WebArchive::subresourceForURL(const Url& url) const {
    if (mainResource_ && hasURL(*mainResource_, url)) return &*mainResource_;
    const auto resource = std::ranges::find_if(subresources_, [&](const auto& r) { return hasURL(r, url); });
    if (resource != subresources_.end()) return &*resource;
    for (const WebArchive& frame : subframeArchives_) {
        if (const WebResource* found = frame.subresourceForURL(url)) return found;
    }
    return nullptr;
}

const WebArchive* WebArchive::subArchiveForURL(const std::optional<Url>& url) const {
    if (!url) return nullptr;
    if (mainResource_ && hasURL(*mainResource_, *url)) return this;
    for (const WebArchive& frame : subframeArchives_) {
        if (const WebArchive* found = frame.subArchiveForURL(url)) return found;
    }
    return nullptr;
}

std::u16string WebArchive::searchableText() const {
    std::u16string text;
    appendSearchableTextTo(text);
    return text;
}

std::u16string WebArchive::searchableTextAndSource(std::optional<std::u16string>* source) const {
    if (source != nullptr) *source = documentSource();
    return searchableText();
}

void WebArchive::appendSearchableTextTo(std::u16string& text) const {
    constexpr halden::PlainTextOptions kOptions{
        .entities = true, .stdEntities = true, .reformat = true, .onlyBody = true, .imageAlts = true};
    if (std::optional<std::u16string> source = documentSource()) {
        text += u"\n\n";
        text += halden::stringByConvertingHtml2PlainText(*std::move(source), kOptions);
    }
    for (const WebArchive& frame : subframeArchives_)
        frame.appendSearchableTextTo(text);
}

Dictionary searchableTextOfWebArchive(std::u16string_view path) {
    std::optional<Url> baseURL;
    std::optional<std::u16string> source;
    std::optional<std::u16string> text = WebArchive::searchableTextOfFile(path, &baseURL, &source);
    Dictionary result;
    if (!text) return result;
    if (!text->empty()) result.set(u"String", Value(*std::move(text)));
    if (source) result.set(u"Source", Value(*std::move(source)));
    if (baseURL) result.set(u"URL", Value(baseURL->absoluteString()));
    return result;
}

}  // namespace quarry
