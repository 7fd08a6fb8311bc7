#include "foundation/CharacterComparison.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/movies/Movie.h"
#include "platform/types/ContentTypes.h"

#include <algorithm>

namespace halden {
namespace {

// Beside those that the engine knows: extensions, and HFS type codes in single quotes.
constexpr std::u16string_view kMoreTypes[] = {
    u"'MPG '", u"mpg",    u"mpeg",   u"m4a",    u"mp4",    u"mp3",    u"m3u",    u"m4p",    u"avi",    u"swf",
    u"flv",    u"f4v",    u"qt",     u"mid",    u"midi",   u"au",     u"wav",    u"aif",    u"aiff",   u"3gp",
    u"3g2",    u"3gpp",   u"flc",    u"'VfW '", u"m1s",    u"MQV",    u"'MPGA'", u"'.WAV'", u"'amr '", u"m75",
    u"'cdda'", u"'qhtm'", u"'mpg4'", u"'rtsp'", u"mqv",    u"'hmov'", u"'grip'", u"m1v",    u"m2v",    u"'DIVX'",
    u"bwf",    u"'SMIL'", u"'mxfd'", u"pls",    u"qtpf",   u"cel",    u"'sdp '", u"gsm",    u"dvd",    u"'sdv '",
    u"mpa",    u"qht",    u"'PLAY'", u"'SWFL'", u"'3gp2'", u"'attr'", u"m15",    u"'MPG3'", u"'M1V '", u"amr",
    u"adts",   u"aac",    u"sdp",    u"'MPGa'", u"'FLI '", u"atr",    u"skin",   u"'MPGx'", u"dif",    u"smil",
    u"'adts'", u"m4b",    u"rtsp",   u"'3gpp'", u"'SwaT'", u"'amc '", u"3gp2",   u"sdv",    u"'embd'", u"m1a",
    u"'caff'", u"swa",    u"mpm",    u"sd2",    u"'dvc!'", u"'MPG2'", u"cdda",   u"'MP3 '", u"'.SMI'", u"'MPGV'",
    u"smf",    u"'M1A '", u"'GSM '", u"vfw",    u"fli",    u"smi",    u"mpv",    u"dv",     u"caf",    u"m2a",
    u"kar",    u"'Sd2f'", u"mp2",    u"amc",    u"sml",    u"'MPEG'", u"'DAVI'", u"'AIFC'", u"qtz",    u"qhtm",
    u"'Midi'", u"'MPGv'", u"m4v"};

bool equalIgnoringCase(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b, {}, toLower, toLower);
}

}  // namespace

const std::vector<std::u16string>& QuickTimeFileTypes() {
    static const std::vector<std::u16string> types = [] {
        std::vector<std::u16string> all;
        const auto add = [&](std::u16string_view type) {
            if (std::ranges::find(all, type) == all.end()) all.emplace_back(type);
        };
        if (const MoviesEngine* const engine = moviesEngineStatus().engine) {
            for (const std::string& type : engine->fileTypes())
                add(utf16FromUtf8(type));
        }
        for (const std::u16string_view type : kMoreTypes)
            add(type);
        return all;
    }();
    return types;
}

bool isQuickTimeExtension(std::u16string_view extension, std::u16string_view type) {
    return std::ranges::any_of(QuickTimeFileTypes(), [&](const std::u16string& known) {
        return known == type || equalIgnoringCase(known, extension);
    });
}

bool isQuickTimeFile(std::u16string_view path) {
    return isQuickTimeExtension(pathExtension(path), NSHFSTypeOfFile(path));
}

}  // namespace halden
