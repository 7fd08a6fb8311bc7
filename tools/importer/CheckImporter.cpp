#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "importers/ImporterPlugIn.h"
#include "platform/bundles/Bundle.h"
#include "platform/bundles/PlugIn.h"
#include "platform/bundles/Uuid.h"
#include "platform/types/ContentTypes.h"
#include "tools/importer/Importer.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace quarry::tools {
namespace {

using halden::Array;
using halden::Dictionary;
using halden::Value;

constexpr std::u16string_view kImporterType = u"8B08C4BF-415B-11D8-B3F9-0003936726FC";
constexpr unsigned kMaxSeconds = 60;

std::string utf8(std::u16string_view text) {
    return halden::utf8FromUtf16(text);
}

std::u16string lowered(std::u16string text) {
    for (char16_t& unit : text) {
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + (u'a' - u'A'));
    }
    return text;
}

template <class T>
const T* entryOf(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    return value != nullptr ? value->as<T>() : nullptr;
}

class Checker {
public:
    ImporterCheck take() { return std::move(check_); }

    void check(const std::string& path, const std::string& sample) {
        const auto bundle = halden::Bundle::bundleWithPath(halden::stringFromPathBytes(path));
        if (!bundle) return problem("there is no such folder");
        if (!path.ends_with(".mdimporter") && !path.ends_with(".mdimporter/")) {
            problem("the folder's name does not end with .mdimporter, so that nobody finds it");
        }
        const Dictionary& info = bundle->infoDictionary();
        if (info.empty()) {
            const bool isThere = ::access((path + "/Contents/Info.plist").c_str(), F_OK) == 0;
            return problem(isThere ? "Contents/Info.plist is no property list with a dictionary, or an empty one"
                                   : "Contents/Info.plist is missing");
        }
        checkInfo(*bundle);
        checkTypes(info);
        checkFactories(info);
        std::string reason;
        if (!bundle->executablePath()) {
            return problem("Contents/Linux has no executable of the name that CFBundleExecutable says");
        }
        if (!bundle->preflight(&reason)) return problem("the executable cannot be loaded: " + reason);
        good("the executable can be loaded");
        if (!check_.hasProblem()) checkCode(path, sample);
    }

private:
    void good(std::string text) { check_.lines.push_back({.isProblem = false, .text = std::move(text)}); }
    void problem(std::string text) { check_.lines.push_back({.isProblem = true, .text = std::move(text)}); }

    void checkInfo(const halden::Bundle& bundle) {
        if (bundle.bundleIdentifier().empty()) {
            problem("CFBundleIdentifier is missing");
        } else {
            good("the identifier is " + utf8(bundle.bundleIdentifier()));
        }
        if (bundle.boolForInfoDictionaryKey(u"CFPlugInDynamicRegistration")) {
            problem("CFPlugInDynamicRegistration is true: such importers are never used");
        }
    }

    void checkTypes(const Dictionary& info) {
        const auto* documents = entryOf<Array>(info, u"CFBundleDocumentTypes");
        if (documents == nullptr || documents->empty())
            return problem("CFBundleDocumentTypes is no array of dictionaries");
        halden::ContentTypes known;
        known.addDeclarations(info);
        for (const Value& document : *documents) {
            const auto* entries = document.as<Dictionary>();
            const auto* role = entries != nullptr ? entryOf<std::u16string>(*entries, u"CFBundleTypeRole") : nullptr;
            const auto* types = entries != nullptr ? entryOf<Array>(*entries, u"LSItemContentTypes") : nullptr;
            if (role == nullptr || *role != u"MDImporter" || types == nullptr) continue;
            for (const Value& type : *types) {
                if (const auto* name = type.as<std::u16string>()) addType(known, lowered(*name));
            }
        }
        if (types_.empty()) problem("no document type with the role MDImporter lists a content type");
    }

    void addType(const halden::ContentTypes& known, const std::u16string& type) {
        types_.push_back(type);
        const bool isKnown = type.starts_with(u"dyn.") || known.preferredExtension(type);
        good(fmt::format("reads {}{}", utf8(type),
                         isKnown ? "" : " (no extension is declared for it: no file is of this type itself)"));
    }

    void checkFactories(const Dictionary& info) {
        const auto* factories = entryOf<Dictionary>(info, u"CFPlugInFactories");
        const auto* types = entryOf<Dictionary>(info, u"CFPlugInTypes");
        if (factories == nullptr || factories->empty()) return problem("CFPlugInFactories names no function");
        for (const auto& [key, function] : *factories) {
            if (!halden::Uuid::fromString(key)) problem("CFPlugInFactories: " + utf8(key) + " is no UUID");
            if (function.as<std::u16string>() == nullptr) problem("CFPlugInFactories: no function for " + utf8(key));
        }
        if (types == nullptr) return problem("CFPlugInTypes is missing");
        const Array* listed = nullptr;
        for (const auto& [key, value] : *types) {
            if (lowered(key) == lowered(std::u16string(kImporterType))) listed = value.as<Array>();
        }
        if (listed == nullptr) return problem("CFPlugInTypes lacks the type " + utf8(kImporterType));
        for (const Value& factory : *listed) {
            const auto* key = factory.as<std::u16string>();
            const bool isNamed = key != nullptr && std::ranges::any_of(*factories, [key](const auto& entry) {
                                     return lowered(entry.key) == lowered(*key);
                                 });
            if (!isNamed)
                problem("CFPlugInTypes: CFPlugInFactories has no factory " + (key != nullptr ? utf8(*key) : "for it"));
        }
    }

    /// In a child, which is all that a crash takes with it.
    void checkCode(const std::string& path, const std::string& sample) {
        std::u16string type;
        if (!sample.empty() && !findType(path, sample, type)) return;
        int ends[2];
        if (::pipe(ends) != 0) return problem(fmt::format("no pipe: {}", std::strerror(errno)));
        const pid_t child = ::fork();
        if (child == 0) runInChild(path, sample, type, ends[1]);
        ::close(ends[1]);
        std::string answer;
        char chunk[4096];
        for (ssize_t count = 0; child > 0 && (count = ::read(ends[0], chunk, sizeof chunk)) > 0;)
            answer.append(chunk, static_cast<std::size_t>(count));
        ::close(ends[0]);
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, 0) != child) return problem("the importer could not be run");
        takeAnswer(answer);
        if (WIFSIGNALED(status)) {
            const int signal = WTERMSIG(status);
            problem(signal == SIGALRM ? fmt::format("the importer did not end within {} seconds", kMaxSeconds)
                                      : fmt::format("the importer crashed: {}", ::strsignal(signal)));
        } else if (WEXITSTATUS(status) != 0) {
            problem("the importer ended the process");
        }
    }

    bool findType(const std::string& path, const std::string& sample, std::u16string& type) {
        halden::ContentTypes known;
        if (const auto bundle = halden::Bundle::bundleWithPath(halden::stringFromPathBytes(path))) {
            known.addDeclarations(bundle->infoDictionary());
        }
        const auto found = known.contentTypeOfFile(halden::stringFromPathBytes(sample));
        if (!found) {
            problem("the sample file cannot be reached");
            return false;
        }
        type = lowered(*found);
        if (std::ranges::find(types_, type) != types_.end()) return true;
        problem(fmt::format("the sample file is of type {}, which the bundle does not read", utf8(type)));
        return false;
    }

    /// Each line of the answer begins with + or -.
    void takeAnswer(const std::string& answer) {
        for (std::size_t start = 0; start < answer.size();) {
            const std::size_t end = std::min(answer.find('\n', start), answer.size());
            const std::string line = answer.substr(start, end - start);
            if (line.starts_with('-')) problem(line.substr(1));
            if (line.starts_with('+')) good(line.substr(1));
            start = end + 1;
        }
    }

    [[noreturn]] static void runInChild(const std::string& path, const std::string& sample, const std::u16string& type,
                                        int output) {
        ::alarm(kMaxSeconds);
        const auto say = [output](const std::string& line) {
            for (std::size_t done = 0; done < line.size();) {
                const ssize_t count = ::write(output, line.data() + done, line.size() - done);
                if (count <= 0) ::_exit(1);
                done += static_cast<std::size_t>(count);
            }
        };
        quarry_importer* importer = importerInterfaceOfBundle(halden::stringFromPathBytes(path));
        if (importer == nullptr) {
            say("-no factory makes an instance with the importer interface (are the functions exported, and does "
                "QueryInterface know 6EBC27C4-899C-11D8-84AE-0003936726FC?)\n");
            ::_exit(0);
        }
        say("+a factory makes an instance with the importer interface\n");
        if (sample.empty()) ::_exit(0);
        const Dictionary attributes = attributesFromImporter(*importer, type, sample);
        if (attributes.empty()) say("-the importer fills nothing for the sample file\n");
        for (const auto& [key, value] : attributes)
            say(lineOfAttribute(key, value));
        ::_exit(0);
    }

    static bool isClean(std::u16string_view text) {
        return std::ranges::none_of(text, [](char16_t unit) {
            const bool isControl = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
            return isControl && unit != u'\n' && unit != u'\t';
        });
    }

    static std::string lineOfAttribute(const std::u16string& key, const Value& value) {
        constexpr std::size_t kMaxShown = 200;
        const auto* text = value.as<std::u16string>();
        if (key == u"kMDItemTextContent" && text == nullptr) return "-kMDItemTextContent is no string\n";
        if (text != nullptr && !isClean(*text)) return fmt::format("-{} has control characters\n", utf8(key));
        if (text != nullptr && text->empty()) return fmt::format("-{} is empty: leave it out\n", utf8(key));
        const bool isLong = text != nullptr && text->size() > kMaxShown;
        std::string shown = isLong ? fmt::format("a text of {} units", text->size()) : halden::jsonFromValue(value, {});
        std::ranges::replace(shown, '\n', ' ');
        return fmt::format("+{}: {}\n", utf8(key), shown);
    }

    ImporterCheck check_;
    std::vector<std::u16string> types_;
};

}  // namespace

bool ImporterCheck::hasProblem() const {
    return std::ranges::any_of(lines, &Line::isProblem);
}

ImporterCheck checkImporter(const std::string& bundle, const std::string& sample) {
    Checker checker;
    checker.check(bundle, sample);
    return checker.take();
}

}  // namespace quarry::tools
