// The importer of compiled help: a title, and the text of its pages.
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"

#include <chm_lib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <memory>
#include <set>

namespace {

using quarry::support::Attributes;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxPage = std::size_t{8} << 20;
constexpr std::size_t kMaxText = std::size_t{64} << 20;
constexpr std::size_t kMaxPages = 50000;
constexpr std::chrono::seconds kMaxTime{30};

struct Close {
    void operator()(chmFile* file) const noexcept { chm_close(file); }
};
using File = std::unique_ptr<chmFile, Close>;

std::string contentsOf(chmFile* file, chmUnitInfo& object, std::size_t limit) {
    if (object.length == 0 || object.length > limit) return {};
    std::string bytes(static_cast<std::size_t>(object.length), '\0');
    const auto count = chm_retrieve_object(file, &object, reinterpret_cast<unsigned char*>(bytes.data()), 0,
                                           static_cast<LONGINT64>(bytes.size()));
    bytes.resize(count > 0 ? std::min(bytes.size(), static_cast<std::size_t>(count)) : 0);
    return bytes;
}

/// The title among the numbered settings of the object "#SYSTEM": a version, then number, length and bytes of each.
std::string titleOf(chmFile* file) {
    constexpr unsigned kTitle = 3;
    chmUnitInfo object{};
    if (chm_resolve_object(file, "/#SYSTEM", &object) != CHM_RESOLVE_SUCCESS) return {};
    const std::string settings = contentsOf(file, object, std::size_t{1} << 20);
    const auto number = [&settings](std::size_t i) {
        return static_cast<unsigned char>(settings[i]) | static_cast<unsigned char>(settings[i + 1]) << 8U;
    };
    for (std::size_t i = 4; i + 4 <= settings.size();) {
        const std::size_t length = number(i + 2);
        if (number(i) == kTitle) {
            const std::string bytes = settings.substr(i + 4, length);
            return bytes.substr(0, bytes.find('\0'));
        }
        i += 4 + length;
    }
    return {};
}

bool isPage(std::string_view path) {
    std::string name(path.substr(path.rfind('/') + 1));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return name.ends_with(".htm") || name.ends_with(".html") || name.ends_with(".xhtml");
}

struct Pages {
    std::vector<chmUnitInfo> objects;
    std::set<std::string> paths;  ///< a directory that goes round in circles names them again
    Clock::time_point end;
};

int takePage(chmFile*, chmUnitInfo* object, void* context) {
    auto& pages = *static_cast<Pages*>(context);
    if (pages.objects.size() >= kMaxPages || Clock::now() > pages.end) return CHM_ENUMERATOR_SUCCESS;
    if (!isPage(object->path)) return CHM_ENUMERATOR_CONTINUE;
    if (!pages.paths.insert(object->path).second) return CHM_ENUMERATOR_SUCCESS;
    pages.objects.push_back(*object);
    return CHM_ENUMERATOR_CONTINUE;
}

std::string textOf(chmFile* file, Pages& pages) {
    std::string text;
    for (chmUnitInfo& object : pages.objects) {
        if (text.size() > kMaxText || Clock::now() > pages.end) break;
        auto markup = quarry::support::markupFromBytes(contentsOf(file, object, kMaxPage));
        if (!markup) continue;
        std::string page = quarry::support::textOfMarkup(std::move(*markup));
        if (!page.empty()) text.append(page).push_back('\n');
    }
    return text;
}

std::string utf8(const std::string& bytes) {
    const auto markup = quarry::support::markupFromBytes(bytes);
    return markup ? quarry::support::textOfMarkup(*markup) : std::string();
}

bool importHelp(Attributes& attributes, std::string_view, const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const File file(chm_open(path));
    if (!file) return false;
    Pages pages{{}, {}, Clock::now() + kMaxTime};
    chm_enumerate(file.get(), CHM_ENUMERATE_NORMAL | CHM_ENUMERATE_FILES, takePage, &pages);
    attributes.setLine("kMDItemTitle", utf8(titleOf(file.get())));
    attributes.setText("kMDItemTextContent", textOf(file.get(), pages));
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeCHMImporter, importHelp)
