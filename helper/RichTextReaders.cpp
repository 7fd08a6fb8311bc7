#include "helper/RichTextReaders.h"

#include "helper/PageReaders.h"
#include "richtext/DocumentAttributes.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfdPackage.h"

#include <utility>

namespace quarry {

using Form = RichTextSource::Form;
using halden::RichTextDocument;

std::optional<RichTextDocument> RichTextReaders::documentFrom(RichTextSource& source) {
    switch (source.form) {
        case Form::rtf:
            return halden::documentFromRtf(source.bytes.view());
        case Form::flatRtfd:
            return halden::documentFromRtfd(source.bytes);
        case Form::package:
            return halden::documentFromRtfdPackage(source.path);
        case Form::plainText:
            return RichTextDocument{halden::AttributedString(std::move(source.text)), {}};
        case Form::page:
            return documentFromPage(renderer_, source.bytes, source.path, &delegate_);
        case Form::webArchive:
            return documentFromWebArchive(renderer_, source.bytes);
    }
    return std::nullopt;
}

std::optional<RichTextDocument> RichTextReaders::documentAtPath(std::u16string_view path) {
    auto source = sources_.sourceOfFile(path);
    if (!source) return std::nullopt;
    auto document = documentFrom(*source);
    if (!document) return std::nullopt;
    if (source->isConverted) document->documentAttributes.remove(halden::kCocoaVersionKey);  // of the form between
    for (const auto& [key, value] : source->attributes)
        document->documentAttributes.set(key, value);
    return document;
}

}  // namespace quarry
