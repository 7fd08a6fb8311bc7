// The importer of PostScript documents. No program is run: what the comments say is all there is.
#include "importers/system/PostScript/Comments.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"

#include <algorithm>

namespace {

using quarry::support::Attributes;

constexpr std::size_t kMaxFile = std::size_t{64} << 20;
constexpr std::size_t kEnd = 65536;

bool importPostScript(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxFile);
    if (!bytes || !quarry::postscript::isPostScript(*bytes)) return false;
    const std::string_view all = *bytes;
    const auto comments = quarry::postscript::commentsOf(all, all.substr(all.size() - std::min(all.size(), kEnd)));
    attributes.setLine("kMDItemTitle", comments.title);
    attributes.setLine("kMDItemCreator", comments.creator);
    attributes.setLines("kMDItemAuthors", quarry::support::cleanList(comments.author, ";"));
    if (comments.pages > 0) attributes.setInteger("kMDItemNumberOfPages", comments.pages);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makePostScriptImporter, importPostScript)
