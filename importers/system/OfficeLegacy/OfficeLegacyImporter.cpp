// The importer of the binary documents of office programs: a container of streams, of which some hold properties.
#include "importers/system/OfficeLegacy/BinaryText.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"

#include <gsf/gsf-doc-meta-data.h>
#include <gsf/gsf-docprop-vector.h>
#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-input.h>
#include <gsf/gsf-meta-names.h>
#include <gsf/gsf-msole-utils.h>
#include <gsf/gsf-timestamp.h>
#include <gsf/gsf-utils.h>

#include <memory>
#include <mutex>

namespace {

using quarry::support::Attributes;

constexpr std::size_t kMaxFile = std::size_t{256} << 20;

struct Unreference {
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
template <typename Object>
using Reference = std::unique_ptr<Object, Unreference>;

/// The bytes of a stream live as long as it does.
struct Stream {
    Reference<GsfInput> input;
    std::string_view bytes;
};

Stream streamOf(GsfInfile* container, const char* name, std::size_t limit) {
    Stream stream{Reference<GsfInput>(gsf_infile_child_by_name(container, name)), {}};
    const gsf_off_t size = stream.input ? gsf_input_size(stream.input.get()) : 0;
    // None is longer than the file; a header that says otherwise would have that much memory taken.
    if (size <= 0 || static_cast<std::size_t>(size) > limit) return stream;
    const auto* bytes = gsf_input_read(stream.input.get(), static_cast<std::size_t>(size), nullptr);
    if (bytes != nullptr) stream.bytes = {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
    return stream;
}

class Properties {
public:
    Properties(GsfInfile* container, std::size_t limit) : properties_(gsf_doc_meta_data_new()) {
        for (const char* name : {"\05SummaryInformation", "\05DocumentSummaryInformation"}) {
            const Reference<GsfInput> input(gsf_infile_child_by_name(container, name));
            if (!input || gsf_input_size(input.get()) > static_cast<gsf_off_t>(limit)) continue;
            if (GError* error = gsf_doc_meta_data_read_from_msole(properties_.get(), input.get())) g_error_free(error);
        }
    }

    [[nodiscard]] std::string string(const char* name) const {
        const GValue* value = valueOf(name);
        const char* text = value != nullptr && G_VALUE_HOLDS_STRING(value) ? g_value_get_string(value) : nullptr;
        return text != nullptr ? text : std::string();
    }
    /// A list stands as one string, or as a row of them.
    [[nodiscard]] std::vector<std::string> list(const char* name) const {
        const GValue* value = valueOf(name);
        if (value == nullptr || !G_VALUE_HOLDS(value, GSF_DOCPROP_VECTOR_TYPE))
            return quarry::support::cleanList(string(name));
        std::vector<std::string> lines;
// What is to be used in its stead is declared, yet not in the library.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        const GValueArray* array = gsf_value_get_docprop_varray(value);
#pragma GCC diagnostic pop
        for (unsigned i = 0; array != nullptr && i < array->n_values; ++i) {
            const GValue* item = array->values + i;
            if (G_VALUE_HOLDS_STRING(item) && g_value_get_string(item) != nullptr)
                lines.emplace_back(g_value_get_string(item));
        }
        return lines;
    }
    [[nodiscard]] int integer(const char* name) const {
        const GValue* value = valueOf(name);
        return value != nullptr && G_VALUE_HOLDS_INT(value) ? g_value_get_int(value) : 0;
    }
    [[nodiscard]] std::optional<double> date(const char* name) const {
        const GValue* value = valueOf(name);
        if (value == nullptr || !G_VALUE_HOLDS(value, GSF_TIMESTAMP_TYPE)) return std::nullopt;
        const auto* time = static_cast<const GsfTimestamp*>(g_value_get_boxed(value));
        // Programs write the beginning of the format's calendar, or of ours, for a date that they do not know.
        return time != nullptr && time->timet > 0 ? std::optional(static_cast<double>(time->timet)) : std::nullopt;
    }

private:
    [[nodiscard]] const GValue* valueOf(const char* name) const {
        const GsfDocProp* property = gsf_doc_meta_data_lookup(properties_.get(), name);
        return property != nullptr ? gsf_doc_prop_get_val(property) : nullptr;
    }

    Reference<GsfDocMetaData> properties_;
};

std::vector<std::string> oneOrNone(std::string line) {
    return line.empty() ? std::vector<std::string>() : std::vector<std::string>{std::move(line)};
}

void setProperties(Attributes& attributes, const Properties& properties) {
    attributes.setLine("kMDItemTitle", properties.string(GSF_META_NAME_TITLE));
    attributes.setLine("kMDItemSubject", properties.string(GSF_META_NAME_SUBJECT));
    attributes.setLine("kMDItemDescription", properties.string(GSF_META_NAME_DESCRIPTION));
    attributes.setLine("kMDItemCreator", properties.string(GSF_META_NAME_GENERATOR));
    attributes.setLines("kMDItemAuthors",
                        quarry::support::cleanList(properties.string(GSF_META_NAME_INITIAL_CREATOR).empty()
                                                       ? properties.string(GSF_META_NAME_CREATOR)
                                                       : properties.string(GSF_META_NAME_INITIAL_CREATOR),
                                                   ";"));
    attributes.setLines("kMDItemEditors", oneOrNone(properties.string(GSF_META_NAME_LAST_SAVED_BY)));
    attributes.setLines("kMDItemKeywords", properties.list(GSF_META_NAME_KEYWORDS));
    attributes.setLines("kMDItemOrganizations", oneOrNone(properties.string(GSF_META_NAME_COMPANY)));
    attributes.setDate("kMDItemContentCreationDate", properties.date(GSF_META_NAME_DATE_CREATED));
    attributes.setDate("kMDItemContentModificationDate", properties.date(GSF_META_NAME_DATE_MODIFIED));
    for (const char* name : {GSF_META_NAME_SLIDE_COUNT, GSF_META_NAME_PAGE_COUNT}) {
        if (const int count = properties.integer(name); count > 0) attributes.setInteger("kMDItemNumberOfPages", count);
    }
}

/// The stream that is there says which kind of document this is, whatever the file is called.
std::optional<quarry::legacy::BinaryText> textOf(GsfInfile* container, std::size_t limit) {
    if (const Stream word = streamOf(container, "WordDocument", limit); word.input) {
        const Stream table0 = streamOf(container, "0Table", limit);
        const Stream table1 = streamOf(container, "1Table", limit);
        return quarry::legacy::textOfWord({word.bytes, table0.bytes, table1.bytes});
    }
    for (const char* name : {"Workbook", "Book"}) {
        const Stream book = streamOf(container, name, limit);
        if (book.input) return quarry::legacy::textOfWorkbook(book.bytes);
    }
    if (const Stream slides = streamOf(container, "PowerPoint Document", limit); slides.input)
        return quarry::legacy::textOfPresentation(slides.bytes, streamOf(container, "Current User", limit).bytes);
    // A document of the newer format with a password is a container with the package in it.
    if (streamOf(container, "EncryptedPackage", limit).input) return quarry::legacy::BinaryText{{}, true};
    return std::nullopt;
}

bool importOffice(Attributes& attributes, std::string_view, const char* path) {
    static std::once_flag isReady;
    std::call_once(isReady, [] {
        // What the library has to say of damaged documents is no concern of the helper's log.
        g_log_set_handler(
            "libgsf", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_RECURSION),
            [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
        g_log_set_handler(
            "libgsf:msole", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_RECURSION),
            [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
        gsf_init();
    });
    const auto bytes = quarry::support::bytesOfFile(path, kMaxFile);
    if (!bytes || bytes->empty()) return false;
    const Reference<GsfInput> input(gsf_input_memory_new(reinterpret_cast<const guint8*>(bytes->data()),
                                                         static_cast<gsf_off_t>(bytes->size()), FALSE));
    const Reference<GsfInfile> container(input ? gsf_infile_msole_new(input.get(), nullptr) : nullptr);
    if (!container) return false;
    auto text = textOf(container.get(), bytes->size());
    if (!text) return false;
    setProperties(attributes, Properties(container.get(), bytes->size()));
    if (text->isEncrypted)
        attributes.setLine("kMDItemSecurityMethod", "Password Encrypted");
    else
        attributes.setText("kMDItemTextContent", text->text);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeOfficeLegacyImporter, importOffice)
