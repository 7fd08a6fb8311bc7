// What the container of a movie and its streams say. In a module of its own: its libraries take longer to load than all
// other importers together.
#include "importers/system/Movie/MovieReader.h"

#include "importers/system/support/CleanText.h"
#include "platform/movies/module/LibavMovie.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <string>

namespace {

using quarry::support::Attributes;

/// An entry of the container, and the attribute that it becomes.
struct Mapping {
    const char* entry;
    const char* attribute;
};

// Of several entries for one attribute the first one that is there counts.
constexpr Mapping kLines[] = {
    {"title", "kMDItemTitle"},
    {"com.apple.quicktime.title", "kMDItemTitle"},
    {"album", "kMDItemAlbum"},
    {"com.apple.quicktime.album", "kMDItemAlbum"},
    {"composer", "kMDItemComposer"},
    {"comment", "kMDItemComment"},
    {"com.apple.quicktime.comment", "kMDItemComment"},
    {"description", "kMDItemDescription"},
    {"synopsis", "kMDItemDescription"},
    {"com.apple.quicktime.description", "kMDItemDescription"},
    {"copyright", "kMDItemCopyright"},
    {"com.apple.quicktime.copyright", "kMDItemCopyright"},
    {"genre", "kMDItemGenre"},
    {"com.apple.quicktime.genre", "kMDItemGenre"},
    {"director", "kMDItemDirector"},
    {"com.apple.quicktime.director", "kMDItemDirector"},
    {"producer", "kMDItemProducer"},
    {"com.apple.quicktime.producer", "kMDItemProducer"},
    {"make", "kMDItemAcquisitionMake"},
    {"com.apple.quicktime.make", "kMDItemAcquisitionMake"},
    {"model", "kMDItemAcquisitionModel"},
    {"com.apple.quicktime.model", "kMDItemAcquisitionModel"},
};

constexpr Mapping kLists[] = {
    {"artist", "kMDItemAuthors"},
    {"author", "kMDItemAuthors"},
    {"com.apple.quicktime.artist", "kMDItemAuthors"},
    {"com.apple.quicktime.author", "kMDItemAuthors"},
    {"performers", "kMDItemPerformers"},
    {"publisher", "kMDItemPublishers"},
    {"encoder", "kMDItemEncodingApplications"},
    {"com.apple.quicktime.software", "kMDItemEncodingApplications"},
};

std::string entryOf(const AVDictionary* dictionary, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(dictionary, key, nullptr, 0);
    return entry != nullptr ? entry->value : std::string();
}

/// Seconds since 1970 of "2013-04-08T12:00:00.000000Z" or of a time with an offset such as "+0200". Not of a day alone,
/// and not of the years in which clocks that nobody has set begin.
std::optional<double> dateOf(const std::string& text) {
    std::tm time{};
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2d%*1[T ]%2d:%2d:%2d%n", &time.tm_year, &time.tm_mon, &time.tm_mday,
                    &time.tm_hour, &time.tm_min, &time.tm_sec, &length) != 6)
        return std::nullopt;
    const bool isPlausible = time.tm_year > 1980 && time.tm_mon >= 1 && time.tm_mon <= 12 && time.tm_mday >= 1 &&
                             time.tm_mday <= 31 && time.tm_hour < 24 && time.tm_min < 60 && time.tm_sec <= 60;
    if (!isPlausible) return std::nullopt;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    const char* rest = text.c_str() + length;
    if (*rest == '.') rest += 1 + std::strspn(rest + 1, "0123456789");
    char sign = 0;
    int hours = 0;
    int minutes = 0;
    const bool hasOffset = (std::sscanf(rest, "%c%2d:%2d", &sign, &hours, &minutes) == 3 ||
                            std::sscanf(rest, "%c%2d%2d", &sign, &hours, &minutes) == 3) &&
                           (sign == '+' || sign == '-');
    const double ahead = hasOffset ? (sign == '-' ? -60.0 : 60.0) * (60 * hours + minutes) : 0;
    return static_cast<double>(timegm(&time)) - ahead;
}

/// "+48.1371+011.5754+519.000/": degrees north and east, meters.
void setPlace(Attributes& attributes, const std::string& text) {
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;
    const int count = std::sscanf(text.c_str(), "%15lf%15lf%15lf", &latitude, &longitude, &altitude);
    if (count < 2 || latitude < -90 || latitude > 90 || longitude < -180 || longitude > 180) return;
    attributes.setReal("kMDItemLatitude", latitude);
    attributes.setReal("kMDItemLongitude", longitude);
    if (count == 3) attributes.setReal("kMDItemAltitude", altitude);
}

const char* mediaTypeOf(const AVStream& stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) return nullptr;
    switch (stream.codecpar->codec_type) {
        case AVMEDIA_TYPE_VIDEO:
            return "Video";
        case AVMEDIA_TYPE_AUDIO:
            return "Sound";
        case AVMEDIA_TYPE_SUBTITLE:
            return "Text";
        default:
            return nullptr;
    }
}

/// "H.264" of "H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10", "AAC" of "AAC (Advanced Audio Coding)".
std::string codecOf(const AVStream& stream) {
    const AVCodecDescriptor* const codec = avcodec_descriptor_get(stream.codecpar->codec_id);
    const std::string name = codec != nullptr && codec->long_name != nullptr ? codec->long_name : "";
    return name.substr(0, std::min(name.find(" / "), name.find(" (")));
}

void addOnce(std::vector<std::string>& lines, const std::string& line) {
    if (!line.empty() && std::ranges::find(lines, line) == lines.end()) lines.push_back(line);
}

void setStreams(Attributes& attributes, const AVFormatContext& format) {
    std::vector<std::string> mediaTypes;
    std::vector<std::string> codecs;
    const AVCodecParameters* sound = nullptr;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        const char* const type = mediaTypeOf(stream);
        if (type == nullptr) continue;
        addOnce(mediaTypes, type);
        addOnce(codecs, codecOf(stream));
        if (sound == nullptr && stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) sound = stream.codecpar;
    }
    attributes.setLines("kMDItemMediaTypes", mediaTypes);
    attributes.setLines("kMDItemCodecs", codecs);
    if (sound == nullptr) return;
    if (sound->bit_rate > 0) attributes.setInteger("kMDItemAudioBitRate", sound->bit_rate);
    if (sound->sample_rate > 0) attributes.setInteger("kMDItemAudioSampleRate", sound->sample_rate);
    if (sound->ch_layout.nb_channels > 0)
        attributes.setInteger("kMDItemAudioChannelCount", sound->ch_layout.nb_channels);
}

void setPictures(Attributes& attributes, const halden::LibavMovie& movie) {
    const auto size = movie.naturalSize();
    if (!size) return;
    attributes.setInteger("kMDItemPixelWidth", static_cast<std::int64_t>(size->width));
    attributes.setInteger("kMDItemPixelHeight", static_cast<std::int64_t>(size->height));
    if (const auto bitRate = movie.pictures()->codecpar->bit_rate; bitRate > 0)
        attributes.setInteger("kMDItemVideoBitRate", bitRate);
}

/// An Ogg file has the entries of the whole in its first stream.
const AVDictionary* entriesOf(const AVFormatContext& format) {
    const bool isInStream =
        av_dict_count(format.metadata) == 0 && format.nb_streams > 0 && std::strcmp(format.iformat->name, "ogg") == 0;
    return isInStream ? format.streams[0]->metadata : format.metadata;
}

void setEntries(Attributes& attributes, const AVDictionary* entries) {
    for (const Mapping& mapping : kLines) {
        if (!attributes.has(mapping.attribute)) attributes.setLine(mapping.attribute, entryOf(entries, mapping.entry));
    }
    for (const Mapping& mapping : kLists) {
        if (!attributes.has(mapping.attribute))
            attributes.setLines(mapping.attribute, {entryOf(entries, mapping.entry)});
    }
    attributes.setLines("kMDItemKeywords",
                        quarry::support::cleanList(entryOf(entries, "com.apple.quicktime.keywords")));
    auto date = dateOf(entryOf(entries, "com.apple.quicktime.creationdate"));
    if (!date) date = dateOf(entryOf(entries, "creation_time"));
    attributes.setDate("kMDItemContentCreationDate", date);
    auto place = entryOf(entries, "com.apple.quicktime.location.ISO6709");
    if (place.empty()) place = entryOf(entries, "location");
    setPlace(attributes, place);
}

}  // namespace

bool quarry_movie_reader_1(Attributes* attributesOfFile, const char* path) noexcept {
    try {
        Attributes& attributes = *attributesOfFile;
        halden::LibavMovie::prepareLibraries();
        auto bytes = halden::MovieBytes::ofFile(path);
        if (!bytes) return false;
        const std::int64_t length = bytes->length();
        const std::string name = path;
        const auto movie = halden::LibavMovie::open(std::move(bytes), name.substr(name.rfind('/') + 1));
        if (!movie) return false;
        setEntries(attributes, entriesOf(movie->format()));
        setPictures(attributes, *movie);
        setStreams(attributes, movie->format());
        const auto time = movie->duration();
        const double seconds = time ? time->seconds().value_or(0) : 0;
        if (seconds > 0) {
            attributes.setReal("kMDItemDurationSeconds", seconds);
            const double bitRate = static_cast<double>(length) * 8 / seconds;
            if (bitRate < 1e12) attributes.setInteger("kMDItemTotalBitRate", static_cast<std::int64_t>(bitRate));
        }
        return true;
    } catch (const std::exception&) {
        return false;  // too large for the memory that there is
    }
}
