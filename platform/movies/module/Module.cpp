// The module's entry.
#include "platform/movies/module/LibavMovie.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <array>
#include <string_view>
#include <utility>

namespace halden {
namespace {

std::string versionText(const char* name, unsigned version) {
    return std::string(name) + " " + std::to_string(AV_VERSION_MAJOR(version)) + "." +
           std::to_string(AV_VERSION_MINOR(version)) + "." + std::to_string(AV_VERSION_MICRO(version));
}

class LibavEngine final : public MoviesEngine {
public:
    LibavEngine() { LibavMovie::prepareLibraries(); }

    [[nodiscard]] std::string version() const override {
        return versionText("libavformat", avformat_version()) + ", " + versionText("libavcodec", avcodec_version()) +
               ", " + versionText("libswscale", swscale_version());
    }
    [[nodiscard]] std::unique_ptr<MovieFile> open(const std::string& path) const override {
        auto bytes = MovieBytes::ofFile(path);
        return bytes ? LibavMovie::open(std::move(bytes), path.substr(path.rfind('/') + 1)) : nullptr;
    }
    [[nodiscard]] std::vector<std::string> fileTypes() const override {
        static constexpr std::array<std::string_view, 17> kCommon{"mov,mp4,m4a,3gp,3g2,mj2",
                                                                  "matroska,webm",
                                                                  "avi",
                                                                  "mpeg",
                                                                  "mpegts",
                                                                  "asf",
                                                                  "flv",
                                                                  "ogg",
                                                                  "dv",
                                                                  "mp3",
                                                                  "aac",
                                                                  "wav",
                                                                  "aiff",
                                                                  "flac",
                                                                  "caf",
                                                                  "amr",
                                                                  "au"};
        std::vector<std::string> types;
        for (const std::string_view name : kCommon) {
            const AVInputFormat* format = av_find_input_format(std::string(name.substr(0, name.find(','))).c_str());
            std::string_view extensions = format != nullptr && format->extensions != nullptr ? format->extensions : "";
            while (!extensions.empty()) {
                const std::size_t comma = extensions.find(',');
                // Still pictures in a container of movies are no movies.
                if (const auto type = extensions.substr(0, comma); type != "avif") types.emplace_back(type);
                extensions = comma == extensions.npos ? std::string_view() : extensions.substr(comma + 1);
            }
        }
        return types;
    }
};

}  // namespace
}  // namespace halden

extern "C" __attribute__((visibility("default"))) const halden::MoviesEngine* quarry_movies_module_1() {
    static const halden::LibavEngine engine;
    return &engine;
}
