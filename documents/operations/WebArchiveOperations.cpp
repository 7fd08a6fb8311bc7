#include "documents/WebArchive.h"
#include "documents/operations/Operations.h"

#include <array>

namespace quarry::operations {
namespace {

using halden::Dictionary;
using halden::Url;
using halden::Value;
using halden::operations::function;
using halden::operations::Operation;

using MaybeString = std::optional<std::u16string>;

Value valueOf(const MaybeString& string) {
    return string ? Value(*string) : Value();
}

Value valueOf(const std::optional<Url>& url) {
    return url ? Value(url->absoluteString()) : Value();
}

std::vector<std::u16string> fileTypes() {
    const auto types = WebArchive::webArchiveFileTypes();
    return {types.begin(), types.end()};
}

bool isExtension(std::optional<std::u16string_view> extension) {
    return WebArchive::isWebArchiveExtension(extension.value_or(u""));
}

bool isFile(std::optional<std::u16string_view> path) {
    return WebArchive::isWebArchiveFile(path.value_or(u""));
}

MaybeString source(std::optional<std::u16string_view> path) {
    return WebArchive::documentSourceOfFile(path.value_or(u""));
}

Dictionary sourceAndBase(std::optional<std::u16string_view> path) {
    std::optional<Url> base;
    const MaybeString text = WebArchive::documentSourceOfFile(path.value_or(u""), &base);
    return {{u"result", valueOf(text)}, {u"baseURL", valueOf(base)}};
}

MaybeString text(std::optional<std::u16string_view> path) {
    return WebArchive::searchableTextOfFile(path.value_or(u""));
}

Dictionary textBaseAndSource(std::optional<std::u16string_view> path) {
    std::optional<Url> base;
    MaybeString documentSource;
    const MaybeString found = WebArchive::searchableTextOfFile(path.value_or(u""), &base, &documentSource);
    return {{u"result", valueOf(found)}, {u"baseURL", valueOf(base)}, {u"source", valueOf(documentSource)}};
}

constexpr auto kOperations = std::to_array<Operation>({
    function<fileTypes>("webArchiveFileTypes", ""),
    function<isExtension>("isWebArchiveExtension:", "extension"),
    function<isFile>("isWebArchiveFile:", "path"),
    function<source>("documentSourceOfFile:", "path"),
    function<sourceAndBase>("documentSourceOfFile:baseURL:", "path"),
    function<text>("searchableTextOfFile:", "path"),
    function<textBaseAndSource>("searchableTextOfFile:baseURL:source:", "path"),
});

}  // namespace

std::span<const Operation> webArchiveOperations() {
    return kOperations;
}

}  // namespace quarry::operations
