#include "benchmarks/importers/BareLibraries.h"

#include <archive.h>
#include <archive_entry.h>
#include <chm_lib.h>
#include <expat.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SFNT_NAMES_H
#include <gmime/gmime.h>
#include <libdjvu/ddjvuapi.h>
#include <libdjvu/miniexp.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>
#include <uchardet/uchardet.h>
#include <unicode/ucnv.h>
#include <vips/vips.h>
extern "C" {
#include <libavformat/avformat.h>
}

#include <exiv2/exiv2.hpp>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::bare {
namespace {

std::string contentsOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void append(void* text, const XML_Char* characters, int count) {
    static_cast<std::string*>(text)->append(characters, static_cast<std::size_t>(count));
}

/// The parts of a package that hold its text and what it says of itself.
bool isRead(std::string_view name) {
    for (const std::string_view start :
         {"docProps/", "word/document.xml", "word/footnotes.xml", "xl/sharedStrings.xml", "xl/workbook.xml",
          "xl/worksheets/", "ppt/slides/", "content.xml", "meta.xml", "META-INF/"})
        if (name.starts_with(start)) return true;
    return name.ends_with(".opf") || name.ends_with("html") || name.ends_with("container.xml");
}

void parse(archive* reader) {
    std::string text;
    XML_Parser parser = XML_ParserCreateNS(nullptr, ' ');
    XML_SetUserData(parser, &text);
    XML_SetCharacterDataHandler(parser, append);
    char piece[64 << 10];
    for (la_ssize_t count = 0; (count = archive_read_data(reader, piece, sizeof piece)) > 0;)
        if (XML_Parse(parser, piece, static_cast<int>(count), XML_FALSE) != XML_STATUS_OK) break;
    XML_ParserFree(parser);
}

int readHelpPage(chmFile* file, chmUnitInfo* unit, void*) {
    std::string bytes(unit->length, '\0');
    if (std::string_view(unit->path).find(".htm") != std::string_view::npos)
        chm_retrieve_object(file, unit, reinterpret_cast<unsigned char*>(bytes.data()), 0,
                            static_cast<LONGINT64>(bytes.size()));
    return CHM_ENUMERATOR_CONTINUE;
}

void decodeParts(GMimeObject*, GMimeObject* part, gpointer) {
    if (GMIME_IS_TEXT_PART(part)) g_free(g_mime_text_part_get_text(GMIME_TEXT_PART(part)));
}

void waitFor(ddjvu_context_t* context) {
    ddjvu_message_wait(context);
    while (ddjvu_message_peek(context) != nullptr)
        ddjvu_message_pop(context);
}

}  // namespace

void listArchive(const char* path) {
    archive* const reader = archive_read_new();
    archive_read_support_filter_all(reader);
    archive_read_support_format_all(reader);
    archive_entry* entry = nullptr;
    if (archive_read_open_filename(reader, path, 64 << 10) == ARCHIVE_OK) {
        int status = archive_read_next_header(reader, &entry);
        for (; status == ARCHIVE_OK || status == ARCHIVE_WARN; status = archive_read_next_header(reader, &entry))
            (void)archive_entry_pathname_utf8(entry);
    }
    archive_read_free(reader);
}

void readTags(const char* path) {
    const TagLib::FileRef file(path);
    if (!file.isNull()) (void)file.file()->properties();
}

void readFont(const char* path) {
    static FT_Library library = nullptr;
    if (library == nullptr && FT_Init_FreeType(&library) != 0) return;
    FT_Face face = nullptr;
    if (FT_New_Face(library, path, 0, &face) != 0) return;
    FT_SfntName name;
    for (FT_UInt i = 0; i < FT_Get_Sfnt_Name_Count(face); ++i)
        (void)FT_Get_Sfnt_Name(face, i, &name);
    FT_Done_Face(face);
}

void openMovie(const char* path) {
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, path, nullptr, nullptr) != 0) return;
    avformat_find_stream_info(format, nullptr);
    avformat_close_input(&format);
}

void readPackage(const char* path) {
    archive* const reader = archive_read_new();
    archive_read_support_format_zip_seekable(reader);
    archive_entry* entry = nullptr;
    if (archive_read_open_filename(reader, path, 64 << 10) == ARCHIVE_OK) {
        while (archive_read_next_header(reader, &entry) == ARCHIVE_OK)
            if (isRead(archive_entry_pathname(entry))) parse(reader);
    }
    archive_read_free(reader);
}

void readCompiledHelp(const char* path) {
    chmFile* const file = chm_open(path);
    if (file == nullptr) return;
    chm_enumerate(file, CHM_ENUMERATE_NORMAL | CHM_ENUMERATE_FILES, readHelpPage, nullptr);
    chm_close(file);
}

void readDjVu(const char* path) {
    ddjvu_context_t* const context = ddjvu_context_create("bare");
    ddjvu_document_t* const document = ddjvu_document_create_by_filename_utf8(context, path, FALSE);
    while (!ddjvu_document_decoding_done(document))
        waitFor(context);
    for (int page = 0; page < ddjvu_document_get_pagenum(document); ++page) {
        miniexp_t text = miniexp_nil;
        while ((text = ddjvu_document_get_pagetext(document, page, "page")) == miniexp_dummy)
            waitFor(context);
        ddjvu_miniexp_release(document, text);
    }
    ddjvu_document_release(document);
    ddjvu_context_release(context);
}

void readPicture(const char* path) {
    // The importer reads the headers of JPEG and PNG itself.
    const std::string_view name(path);
    if (!name.ends_with(".jpg") && !name.ends_with(".png")) {
        VipsImage* const header = vips_image_new_from_file(path, nullptr);
        if (header != nullptr) g_object_unref(header);
    }
    const auto image = Exiv2::ImageFactory::open(path);
    image->readMetadata();
}

void readMail(const char* path) {
    static const bool isReady = (g_mime_init(), true);
    (void)isReady;
    const std::string bytes = contentsOf(path);
    GMimeStream* const stream = g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size());
    GMimeParser* const parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage* const message = g_mime_parser_construct_message(parser, nullptr);
    if (message != nullptr) {
        (void)g_mime_message_get_subject(message);
        g_mime_message_foreach(message, decodeParts, nullptr);
        g_object_unref(message);
    }
    g_object_unref(parser);
    g_object_unref(stream);
}

void readText(const char* path) {
    const std::string bytes = contentsOf(path);
    uchardet_t const detector = uchardet_new();
    uchardet_handle_data(detector, bytes.data(), bytes.size());
    uchardet_data_end(detector);
    const std::string name = uchardet_get_charset(detector);
    uchardet_delete(detector);
    UErrorCode error = U_ZERO_ERROR;
    std::vector<char> text(bytes.size() * 4 + 16);
    ucnv_convert("UTF-8", name.c_str(), text.data(), static_cast<int>(text.size()), bytes.data(),
                 static_cast<int>(bytes.size()), &error);
}

}  // namespace quarry::bare
