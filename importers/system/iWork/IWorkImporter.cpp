// The importer of Pages, Numbers and Keynote documents.
#include "importers/system/packages/DocumentInformation.h"
#include "importers/system/packages/ZipPackage.h"
#include "importers/system/support/FileBytes.h"

#include <libetonyek/libetonyek.h>
#include <librevenge-generators/librevenge-generators.h>
#include <librevenge-stream/librevenge-stream.h>
#include <libxml/xmlerror.h>
#include <zlib.h>

#include <algorithm>
#include <array>

namespace {

using librevenge::RVNGInputStream;
using quarry::packages::DocumentInformation;
using quarry::support::Attributes;

using Members = std::map<std::string, std::string, std::less<>>;

// A packed object grows by up to 64 times more when the library unpacks it.
constexpr std::size_t kMaxObject = std::size_t{16} << 20;

/// The package as the library sees it: members that have been unpacked within bounds, so that it unpacks nothing
/// itself.
class PackageStream : public RVNGInputStream {
public:
    explicit PackageStream(const Members& members) : members_(members) {}

    bool isStructured() override { return true; }
    unsigned subStreamCount() override { return static_cast<unsigned>(members_.size()); }
    const char* subStreamName(unsigned index) override {
        return index < members_.size() ? std::next(members_.begin(), index)->first.c_str() : nullptr;
    }
    bool existsSubStream(const char* name) override { return name != nullptr && members_.find(name) != members_.end(); }
    RVNGInputStream* getSubStreamByName(const char* name) override {
        const auto found = name != nullptr ? members_.find(name) : members_.end();
        return found != members_.end() ? streamOf(found->second) : nullptr;
    }
    RVNGInputStream* getSubStreamById(unsigned index) override {
        return index < members_.size() ? streamOf(std::next(members_.begin(), index)->second) : nullptr;
    }
    // There is nothing to be read but the members.
    const unsigned char* read(unsigned long, unsigned long& count) override {
        count = 0;
        return nullptr;
    }
    int seek(long, librevenge::RVNG_SEEK_TYPE) override { return 0; }
    long tell() override { return 0; }
    bool isEnd() override { return true; }

private:
    static RVNGInputStream* streamOf(const std::string& bytes) {
        return new librevenge::RVNGStringStream(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                static_cast<unsigned>(bytes.size()));
    }

    const Members& members_;
};

std::string unpacked(const std::string& bytes) {
    z_stream stream{};
    constexpr int kGzip = 15 + 16;
    if (inflateInit2(&stream, kGzip) != Z_OK) return {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    std::string result;
    std::array<char, 65536> chunk{};
    int status = Z_OK;
    while (status == Z_OK && result.size() <= quarry::packages::kMaxMember) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
        stream.avail_out = static_cast<uInt>(chunk.size());
        status = inflate(&stream, Z_NO_FLUSH);
        result.append(chunk.data(), chunk.size() - stream.avail_out);
    }
    inflateEnd(&stream);
    return status == Z_STREAM_END ? result : std::string();
}

bool isObject(std::string_view name) {
    return name.ends_with(".iwa");
}

/// Pictures and previews are left where they are.
bool isWanted(std::string_view name) {
    constexpr std::string_view kEndings[] = {".iwa", ".xml", ".apxl", ".gz", ".plist"};
    const auto isEnding = [name](std::string_view ending) { return name.ends_with(ending); };
    // A document with a password has a verifier of it.
    return name == "Index.zip" || name == ".iwpv2" || std::any_of(std::begin(kEndings), std::end(kEndings), isEnding);
}

/// XML as these programs write it, which is UTF-8 and declares nothing. The library's parser would expand entities.
bool isPlainXml(std::string_view xml) {
    const std::string_view head = xml.substr(0, std::min(xml.find("?>"), xml.size()));
    const std::size_t encoding = head.find("encoding");
    const bool isUtf8 = encoding == std::string_view::npos || head.find("UTF-8", encoding) != std::string_view::npos ||
                        head.find("utf-8", encoding) != std::string_view::npos;
    const bool isBytes = xml.find('\0') == std::string_view::npos;  // neither UTF-16 nor UTF-32
    return xml.starts_with('<') && isUtf8 && isBytes && xml.find("<!DOCTYPE") == std::string_view::npos;
}

/// What the library would unpack itself is unpacked here.
Members membersOf(quarry::packages::ZipPackage package) {
    if (const auto index = package.members.find("Index.zip"); index != package.members.end()) {
        package.members.merge(quarry::packages::packageFromBytes(index->second, isObject).members);
        package.members.erase("Index.zip");
    }
    Members members;
    for (auto& [name, bytes] : package.members) {
        const bool isPacked = name.ends_with(".gz");
        std::string contents = isPacked ? unpacked(bytes) : std::move(bytes);
        const bool isXml = !isObject(name) && !name.ends_with(".plist");
        if (isXml && !isPlainXml(contents)) continue;
        if (contents.empty() || (isObject(name) && contents.size() > kMaxObject)) continue;
        members.emplace(isPacked ? name.substr(0, name.size() - 3) : name, std::move(contents));
    }
    return members;
}

void takeProperties(DocumentInformation& information, const librevenge::RVNGPropertyList& properties) {
    const auto string = [&properties](const char* name) {
        const librevenge::RVNGProperty* property = properties[name];
        return property != nullptr ? std::string(property->getStr().cstr()) : std::string();
    };
    information.title = string("dc:subject");  // as the library calls the title
    information.description = string("librevenge:comments");
    information.keywords = quarry::support::cleanList(string("meta:keyword"));
    information.authors = quarry::support::cleanList(string("meta:initial-creator"), ";");
}

/// A generator of text that keeps the properties, too.
template <typename Generator, typename Text>
class Reader : public Generator {
public:
    Reader(Text& text, DocumentInformation& information) : Generator(text), information_(information) {}
    void setDocumentMetaData(const librevenge::RVNGPropertyList& properties) override {
        takeProperties(information_, properties);
        Generator::setDocumentMetaData(properties);
    }

private:
    DocumentInformation& information_;
};

/// Pages or sheets, a line feed between them.
std::string joined(const librevenge::RVNGStringVector& parts) {
    std::string text;
    for (unsigned i = 0; i < parts.size() && text.size() < quarry::packages::kMaxText; ++i)
        text.append(parts[i].cstr()).push_back('\n');
    return text;
}

bool read(PackageStream& stream, DocumentInformation& information) {
    using libetonyek::EtonyekDocument;
    EtonyekDocument::Type type = EtonyekDocument::TYPE_UNKNOWN;
    if (EtonyekDocument::isSupported(&stream, &type) == EtonyekDocument::CONFIDENCE_NONE) return false;
    if (type == EtonyekDocument::TYPE_PAGES) {
        librevenge::RVNGString text;
        Reader<librevenge::RVNGTextTextGenerator, librevenge::RVNGString> reader(text, information);
        const bool isRead = EtonyekDocument::parse(&stream, &reader);
        information.text = text.cstr();
        return isRead;
    }
    librevenge::RVNGStringVector parts;
    bool isRead = false;
    if (type == EtonyekDocument::TYPE_KEYNOTE) {
        Reader<librevenge::RVNGTextPresentationGenerator, librevenge::RVNGStringVector> reader(parts, information);
        isRead = EtonyekDocument::parse(&stream, &reader);
        information.pages = static_cast<long>(parts.size());
    } else {
        Reader<librevenge::RVNGTextSpreadsheetGenerator, librevenge::RVNGStringVector> reader(parts, information);
        isRead = EtonyekDocument::parse(&stream, &reader);
    }
    information.text = joined(parts);
    return isRead;
}

void saysNothing(void*, const char*, ...) {}

bool importDocument(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, quarry::packages::kMaxDocument);
    if (!bytes) return false;
    auto package = quarry::packages::packageFromBytes(*bytes, isWanted);
    const bool isEncrypted = package.isEncrypted || package.members.contains(".iwpv2");
    if (isEncrypted) {
        attributes.setLine("kMDItemSecurityMethod", "Password Encrypted");
        return true;
    }
    // The library's parser would print what it finds wrong. The setting is the thread's.
    xmlSetGenericErrorFunc(nullptr, saysNothing);
    const Members members = membersOf(std::move(package));
    PackageStream stream(members);
    DocumentInformation information;
    try {
        if (!read(stream, information)) return false;
    } catch (...) {  // the library's own kinds, which it does not publish
        return false;
    }
    information.set(attributes);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeIWorkImporter, importDocument)
