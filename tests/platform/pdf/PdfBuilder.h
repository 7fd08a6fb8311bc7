// Small PDF documents, whole or damaged on purpose.
#pragma once

#include "foundation/Data.h"

#include <map>
#include <string>

namespace halden::test {

/// The objects of a document by number, and how the file ends.
struct PdfBuilder {
    std::map<int, std::string> objects;
    std::string trailer = "/Root 1 0 R";
    bool hasCrossReferences = true;

    /// A document with `pages` pages, each with the text "Page N" in a standard font.
    [[nodiscard]] static PdfBuilder withPages(int pages);

    /// The file.
    [[nodiscard]] Data build() const;
};

}  // namespace halden::test
