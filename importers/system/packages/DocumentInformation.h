// What the documents of office programs say of themselves.
#pragma once

#include "importers/system/packages/ZipPackage.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"

#include <limits>
#include <string>
#include <vector>

namespace quarry::packages {

struct DocumentInformation {
    static constexpr double kNoDate = std::numeric_limits<double>::quiet_NaN();

    std::string title, subject, description, creator, identifier, rights;
    std::vector<std::string> authors, editors, keywords, organizations, publishers, languages;
    double created = kNoDate, modified = kNoDate;
    long pages = 0;
    std::string text;

    void set(support::Attributes& attributes) const {
        attributes.setLine("kMDItemTitle", title);
        attributes.setLine("kMDItemSubject", subject);
        attributes.setLine("kMDItemDescription", description);
        attributes.setLine("kMDItemCreator", creator);
        attributes.setLine("kMDItemIdentifier", identifier);
        attributes.setLine("kMDItemRights", rights);
        attributes.setLines("kMDItemAuthors", authors);
        attributes.setLines("kMDItemEditors", editors);
        attributes.setLines("kMDItemKeywords", keywords);
        attributes.setLines("kMDItemOrganizations", organizations);
        attributes.setLines("kMDItemPublishers", publishers);
        attributes.setLines("kMDItemLanguages", languages);
        attributes.setDate("kMDItemContentCreationDate", created);
        attributes.setDate("kMDItemContentModificationDate", modified);
        if (pages > 0) attributes.setInteger("kMDItemNumberOfPages", pages);
        attributes.setText("kMDItemTextContent", text);
    }
};

/// Bytes of a document file.
inline constexpr std::size_t kMaxDocument = std::size_t{512} << 20;
/// Bytes of text of one document.
inline constexpr std::size_t kMaxText = std::size_t{64} << 20;

}  // namespace quarry::packages
