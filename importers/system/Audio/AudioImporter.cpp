// The importer of sound files: their tags, and how they sound.
#include "importers/system/support/Attributes.h"

#include <sys/stat.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

namespace {

using quarry::support::Attributes;

/// An entry of the tags, as the library names it in every kind of file, and the attribute that it becomes.
struct Mapping {
    const char* tag;
    const char* attribute;
};

constexpr Mapping kLines[] = {
    {"TITLE", "kMDItemTitle"},
    {"ALBUM", "kMDItemAlbum"},
    {"COMPOSER", "kMDItemComposer"},
    {"LYRICIST", "kMDItemLyricist"},
    {"GENRE", "kMDItemMusicalGenre"},
    {"COMMENT", "kMDItemComment"},
    {"COPYRIGHT", "kMDItemCopyright"},
    {"INITIALKEY", "kMDItemKeySignature"},
    {"ENCODING", "kMDItemAudioEncodingApplication"},
};

constexpr Mapping kLists[] = {
    {"ARTIST", "kMDItemAuthors"},
    {"PERFORMER", "kMDItemPerformers"},
    {"LABEL", "kMDItemPublishers"},
};

std::string utf8(const TagLib::String& text) {
    return text.to8Bit(true);
}

std::string firstOf(const TagLib::PropertyMap& tags, const char* name) {
    const auto found = tags.find(name);
    return found != tags.end() && !found->second.isEmpty() ? utf8(found->second.front()) : std::string();
}

/// All values, one after the other.
std::string allOf(const TagLib::PropertyMap& tags, const char* name, const char* between) {
    const auto found = tags.find(name);
    return found != tags.end() ? utf8(found->second.toString(between)) : std::string();
}

/// The number that a text such as "3/12" or "120.0" begins with; 0 without.
int leadingNumber(const std::string& text) {
    int number = 0;
    return std::sscanf(text.c_str(), "%9d", &number) == 1 && number > 0 ? number : 0;
}

/// The year of "2004" or "2004-05-06", and the day where there is one.
void setDates(Attributes& attributes, const std::string& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    const int count = std::sscanf(text.c_str(), "%4d-%2u-%2u", &year, &month, &day);
    if (count < 1 || year < 1000) return;
    attributes.setInteger("kMDItemRecordingYear", year);
    if (count < 3 || month < 1 || month > 12 || day < 1 || day > 31) return;
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = static_cast<int>(month) - 1;
    time.tm_mday = static_cast<int>(day);
    attributes.setDate("kMDItemRecordingDate", static_cast<double>(timegm(&time)));
}

void setTags(Attributes& attributes, const TagLib::PropertyMap& tags) {
    for (const Mapping& mapping : kLines)
        attributes.setLine(mapping.attribute, allOf(tags, mapping.tag, ", "));
    for (const Mapping& mapping : kLists) {
        std::vector<std::string> lines;
        const auto found = tags.find(mapping.tag);
        if (found == tags.end()) continue;
        for (const TagLib::String& line : found->second)
            lines.push_back(utf8(line));
        attributes.setLines(mapping.attribute, lines);
    }
    setDates(attributes, firstOf(tags, "DATE"));
    if (const int track = leadingNumber(firstOf(tags, "TRACKNUMBER")); track > 0)
        attributes.setInteger("kMDItemAudioTrackNumber", track);
    if (const int tempo = leadingNumber(firstOf(tags, "BPM")); tempo > 0) attributes.setInteger("kMDItemTempo", tempo);
    attributes.setText("kMDItemTextContent", allOf(tags, "LYRICS", "\n\n"));
}

void setSound(Attributes& attributes, const TagLib::AudioProperties& sound) {
    if (sound.lengthInMilliseconds() > 0)
        attributes.setReal("kMDItemDurationSeconds", sound.lengthInMilliseconds() / 1000.0);
    if (sound.bitrate() > 0) {  // in thousands
        attributes.setInteger("kMDItemAudioBitRate", std::int64_t{sound.bitrate()} * 1000);
        attributes.setInteger("kMDItemTotalBitRate", std::int64_t{sound.bitrate()} * 1000);
    }
    if (sound.sampleRate() > 0) attributes.setInteger("kMDItemAudioSampleRate", sound.sampleRate());
    if (sound.channels() > 0) attributes.setInteger("kMDItemAudioChannelCount", sound.channels());
}

bool importAudio(Attributes& attributes, std::string_view, const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    try {
        const TagLib::FileRef file(path);
        if (file.isNull()) return false;
        const TagLib::PropertyMap tags = file.file()->properties();
        const TagLib::AudioProperties* const sound = file.audioProperties();
        const bool isSound = sound != nullptr && sound->sampleRate() > 0;
        // Any file at all passes for an MP3 file by its name.
        if (tags.isEmpty() && !isSound) return false;
        setTags(attributes, tags);
        if (isSound) setSound(attributes, *sound);
        attributes.setLines("kMDItemMediaTypes", {"Sound"});
        return true;
    } catch (const std::exception&) {
        return false;  // too large for the memory that there is
    }
}

}  // namespace

QUARRY_IMPORTER(makeAudioImporter, importAudio)
