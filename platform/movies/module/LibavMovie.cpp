#include "platform/movies/module/LibavMovie.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <utility>

namespace halden {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongest = 10s;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 26;
constexpr std::int64_t kProbeBytes = 8 << 20;
constexpr std::int64_t kProbeMicroseconds = 5'000'000;
// Where the search for a picture that is not blank ends.
constexpr int kMostBlankFrames = 300;

struct FreeScaler {
    void operator()(SwsContext* context) const noexcept { sws_freeContext(context); }
};

bool isAttached(const AVStream& stream) noexcept {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

/// Quarter turns clockwise in which the pictures are to be shown, 0 to 3.
int quarterTurns(const AVStream& stream) noexcept {
    const auto* matrix =
        reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (matrix == nullptr) return 0;
    const double degrees = av_display_rotation_get(matrix);  // counterclockwise
    if (std::isnan(degrees)) return 0;
    return (static_cast<int>(std::lround(-degrees / 90)) % 4 + 4) % 4;
}

/// In square pixels, before it is turned.
PixelSize shownSize(int width, int height, AVRational aspect) noexcept {
    if (aspect.num <= 0 || aspect.den <= 0 || aspect.num == aspect.den) return {width, height};
    const double factor = av_q2d(aspect);
    if (factor < 0.05 || factor > 20) return {width, height};
    return {std::max(1, static_cast<int>(std::lround(width * factor))), height};
}

AVRational aspectOf(const AVStream& stream, AVRational ofFrame) noexcept {
    if (ofFrame.num > 0 && ofFrame.den > 0) return ofFrame;
    if (stream.sample_aspect_ratio.num > 0) return stream.sample_aspect_ratio;
    return stream.codecpar->sample_aspect_ratio;
}

Bitmap turned(const Bitmap& bitmap, int turns) {
    if (turns == 0) return bitmap;
    Bitmap result;
    result.channels = bitmap.channels;
    result.width = turns == 2 ? bitmap.width : bitmap.height;
    result.height = turns == 2 ? bitmap.height : bitmap.width;
    result.pixels.resize(bitmap.pixels.size());
    const auto step = static_cast<std::size_t>(bitmap.channels);
    for (int y = 0; y < result.height; ++y) {
        for (int x = 0; x < result.width; ++x) {
            const int fromX = turns == 1 ? y : turns == 2 ? bitmap.width - 1 - x : bitmap.width - 1 - y;
            const int fromY = turns == 1 ? bitmap.height - 1 - x : turns == 2 ? bitmap.height - 1 - y : x;
            const std::uint8_t* from = bitmap.pixels.data() + static_cast<std::size_t>(fromY) * bitmap.rowLength() +
                                       static_cast<std::size_t>(fromX) * step;
            std::copy_n(from, step,
                        result.pixels.data() + static_cast<std::size_t>(y) * result.rowLength() +
                            static_cast<std::size_t>(x) * step);
        }
    }
    return result;
}

/// Whether hardly a pixel differs from the others: a fade from black, an empty title.
bool isBlank(const Bitmap& bitmap) noexcept {
    constexpr std::size_t kStep = 31;  // of which a picture has no pattern
    constexpr double kLeastDeviation = 6;
    double sum = 0;
    double squares = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < bitmap.pixels.size(); i += kStep) {
        const double value = bitmap.pixels[i];
        sum += value;
        squares += value * value;
        ++count;
    }
    if (count == 0) return true;
    const double mean = sum / static_cast<double>(count);
    return std::sqrt(std::max(0.0, squares / static_cast<double>(count) - mean * mean)) < kLeastDeviation;
}

}  // namespace

int LibavMovie::isLate(void* movie) noexcept {
    return std::chrono::steady_clock::now() > static_cast<LibavMovie*>(movie)->end_ ? 1 : 0;
}

void LibavMovie::startClock() noexcept {
    end_ = std::chrono::steady_clock::now() + kLongest;
}

std::unique_ptr<LibavMovie> LibavMovie::open(const std::string& path) {
    std::unique_ptr<LibavMovie> movie(new LibavMovie);
    movie->startClock();
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) return nullptr;
    format->interrupt_callback = {&LibavMovie::isLate, movie.get()};
    format->probesize = kProbeBytes;
    format->max_analyze_duration = kProbeMicroseconds;
    // Lists of addresses, and files that name others, are not followed.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_blacklist", "", 0);
    const int error = avformat_open_input(&format, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (error < 0) return nullptr;  // the context is freed
    movie->format_.reset(format);
    movie->chooseStream();
    const bool hasSound =
        std::any_of(format->streams, format->streams + format->nb_streams,
                    [](const AVStream* stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; });
    return movie->stream_ != nullptr || hasSound ? std::move(movie) : nullptr;
}

/// Looks into the streams only when their headers leave something out: that takes its time.
void LibavMovie::chooseStream() {
    AVFormatContext* const format = format_.get();
    bool isIncomplete = format->nb_streams == 0 || format->duration == AV_NOPTS_VALUE;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVCodecParameters& parameters = *format->streams[i]->codecpar;
        const bool isVideo = parameters.codec_type == AVMEDIA_TYPE_VIDEO && !isAttached(*format->streams[i]);
        isIncomplete = isIncomplete || (isVideo && (parameters.width <= 0 || parameters.extradata_size == 0));
    }
    if (isIncomplete) avformat_find_stream_info(format, nullptr);
    for (unsigned i = 0; i < format->nb_streams && stream_ == nullptr; ++i) {
        AVStream& stream = *format->streams[i];
        const AVCodecParameters& parameters = *stream.codecpar;
        const bool isPicture = parameters.codec_type == AVMEDIA_TYPE_VIDEO && parameters.width > 0 &&
                               parameters.height > 0 && !isAttached(stream);
        if (isPicture &&
            av_image_check_size2(static_cast<unsigned>(parameters.width), static_cast<unsigned>(parameters.height),
                                 kMostPixels, AV_PIX_FMT_NONE, 0, nullptr) >= 0) {
            stream_ = &stream;
        }
    }
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        if (format->streams[i] != stream_) format->streams[i]->discard = AVDISCARD_ALL;
    }
}

std::optional<MovieTime> LibavMovie::duration() const {
    std::int64_t microseconds = format_->duration;
    if (microseconds == AV_NOPTS_VALUE && stream_ != nullptr && stream_->duration != AV_NOPTS_VALUE) {
        microseconds = av_rescale_q(stream_->duration, stream_->time_base, AV_TIME_BASE_Q);
    }
    if (microseconds == AV_NOPTS_VALUE || microseconds < 0) return std::nullopt;
    return MovieTime{.value = microseconds, .scale = AV_TIME_BASE};
}

std::optional<Size> LibavMovie::naturalSize() const {
    if (stream_ == nullptr) return std::nullopt;
    const PixelSize size = shownSize(stream_->codecpar->width, stream_->codecpar->height, aspectOf(*stream_, {0, 0}));
    const bool isOnItsSide = quarterTurns(*stream_) % 2 != 0;
    return isOnItsSide ? Size{static_cast<double>(size.height), static_cast<double>(size.width)}
                       : Size{static_cast<double>(size.width), static_cast<double>(size.height)};
}

CodecOwner LibavMovie::decoderOf(const AVStream& stream) const {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (decoder == nullptr) return nullptr;
    CodecOwner codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0) return nullptr;
    codec->pkt_timebase = stream.time_base;
    codec->thread_count = 1;
    codec->max_pixels = kMostPixels;
    return avcodec_open2(codec.get(), decoder, nullptr) >= 0 ? std::move(codec) : nullptr;
}

void LibavMovie::decodeFrom(std::int64_t start, std::int64_t needed, const std::function<bool(FrameOwner&)>& take) {
    const CodecOwner codec = decoderOf(*stream_);
    const PacketOwner packet(av_packet_alloc());
    if (!codec || !packet) return;
    if (av_seek_frame(format_.get(), stream_->index, start, AVSEEK_FLAG_BACKWARD) < 0) {
        av_seek_frame(format_.get(), -1, 0, AVSEEK_FLAG_BACKWARD);
    }
    bool isAtEnd = false;
    while (isLate(this) == 0) {
        if (!isAtEnd && av_read_frame(format_.get(), packet.get()) < 0) {
            isAtEnd = true;
            avcodec_send_packet(codec.get(), nullptr);
        }
        if (!isAtEnd) {
            if (packet->stream_index == stream_->index) {
                // What nothing else is made of need not be decoded before the time; the frame before it may be shown.
                const bool isBefore = packet->pts != AV_NOPTS_VALUE &&
                                      packet->pts + 2 * std::max<std::int64_t>(packet->duration, 1) < needed;
                codec->skip_frame = isBefore ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
                avcodec_send_packet(codec.get(), packet.get());
            }
            av_packet_unref(packet.get());
        }
        while (true) {
            FrameOwner frame(av_frame_alloc());
            if (!frame) return;
            const int result = avcodec_receive_frame(codec.get(), frame.get());
            if (result == AVERROR_EOF || (isAtEnd && result < 0)) return;
            if (result < 0) break;
            if (take(frame)) return;
        }
    }
}

std::optional<Bitmap> LibavMovie::frameAtTime(double seconds) {
    if (stream_ == nullptr) return std::nullopt;
    startClock();
    const std::int64_t first = stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
    const std::int64_t time =
        first + av_rescale_q(static_cast<std::int64_t>(seconds * AV_TIME_BASE), AV_TIME_BASE_Q, stream_->time_base);
    FrameOwner shown;
    decodeFrom(time, time, [&](FrameOwner& frame) {
        const std::int64_t stamp = frame->best_effort_timestamp;
        if (stamp != AV_NOPTS_VALUE && stamp > time && shown) return true;  // the one before is shown then
        shown = std::move(frame);
        return stamp != AV_NOPTS_VALUE &&
               (stamp >= time || (shown->pkt_duration > 0 && stamp + shown->pkt_duration > time));
    });
    return shown ? bitmapOf(*shown, *stream_) : std::nullopt;
}

std::optional<Bitmap> LibavMovie::posterImage() {
    startClock();
    if (auto picture = attachedPicture()) return picture;
    if (stream_ == nullptr) return std::nullopt;
    std::optional<Bitmap> firstPicture;
    std::optional<Bitmap> poster;
    int count = 0;
    decodeFrom(stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time, 0, [&](FrameOwner& frame) {
        auto bitmap = bitmapOf(*frame, *stream_);
        if (bitmap && !isBlank(*bitmap)) poster = std::move(bitmap);
        if (!poster && !firstPicture) firstPicture = std::move(bitmap);
        return poster.has_value() || ++count >= kMostBlankFrames;
    });
    return poster ? std::move(poster) : std::move(firstPicture);
}

std::optional<Bitmap> LibavMovie::attachedPicture() {
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        AVStream& stream = *format_->streams[i];
        if (!isAttached(stream) || stream.attached_pic.size <= 0) continue;
        const CodecOwner codec = decoderOf(stream);
        const FrameOwner frame(av_frame_alloc());
        if (!codec || !frame || avcodec_send_packet(codec.get(), &stream.attached_pic) < 0) continue;
        avcodec_send_packet(codec.get(), nullptr);
        if (avcodec_receive_frame(codec.get(), frame.get()) < 0) continue;
        if (auto bitmap = bitmapOf(*frame, stream)) return bitmap;
    }
    return std::nullopt;
}

std::optional<Bitmap> LibavMovie::bitmapOf(const AVFrame& frame, const AVStream& stream) const {
    const PixelSize size = shownSize(frame.width, frame.height, aspectOf(stream, frame.sample_aspect_ratio));
    if (size.width <= 0 || size.height <= 0 || std::int64_t{size.width} * size.height > kMostPixels) {
        return std::nullopt;
    }
    const std::unique_ptr<SwsContext, FreeScaler> scaler(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), size.width, size.height,
                       AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler) return std::nullopt;
    Bitmap bitmap{.width = size.width, .height = size.height, .channels = 3, .pixels = {}};
    // The scaler may write a little beyond the last row.
    constexpr std::size_t kSlack = 64;
    const std::size_t length = bitmap.rowLength() * static_cast<std::size_t>(bitmap.height);
    bitmap.pixels.resize(length + kSlack);
    std::uint8_t* const rows[4] = {bitmap.pixels.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {static_cast<int>(bitmap.rowLength()), 0, 0, 0};
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, rows, strides) <= 0) return std::nullopt;
    bitmap.pixels.resize(length);
    return turned(bitmap, quarterTurns(stream));
}

}  // namespace halden
