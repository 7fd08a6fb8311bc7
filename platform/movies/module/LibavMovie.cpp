#include "platform/movies/module/LibavMovie.h"

#include "platform/movies/module/MemoryLimit.h"
#include "platform/movies/module/MoviePictures.h"
#include "platform/movies/module/PosterTime.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <new>
#include <utility>

namespace halden {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongest = 10s;
constexpr int kReadBytes = 64 << 10;
constexpr int kMostStreams = 100;
constexpr std::int64_t kProbeBytes = 8 << 20;
constexpr std::int64_t kProbeMicroseconds = 5'000'000;
// Room for each plane of the largest picture. Of a file that claims a billion frames no index is begun.
constexpr std::size_t kMostBytesAtOnce = std::size_t{256} << 20;
// For what is kept of a movie while it is open, as its index, and for a picture.
constexpr std::size_t kMostMemoryOfMovie = std::size_t{256} << 20;
constexpr std::size_t kMostMemoryOfPicture = std::size_t{640} << 20;
// Where the search for a picture that is not blank ends.
constexpr int kMostBlankFrames = 300;
// Packets among which a key frame is looked for.
constexpr int kMostPackets = 2000;

// The containers that movies and sound come in; none that is a list of other files, and none of still pictures.
constexpr const char* kFormats =
    "mov,matroska,avi,mpeg,mpegts,mpegvideo,m4v,h264,hevc,asf,flv,ogg,dv,mp3,aac,ac3,eac3,wav,w64,aiff,flac,caf,amr,"
    "amrnb,amrwb,au,ape,wv,tta,mpc,mpc8,dsf,dts,rm,swf,flic,nut,gxf,mxf,ivf,yuv4mpegpipe,gsm,voc,wtv,nsv";

bool isAttached(const AVStream& stream) noexcept {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

bool isMovingPicture(const AVStream& stream) noexcept {
    const AVCodecParameters& parameters = *stream.codecpar;
    return parameters.codec_type == AVMEDIA_TYPE_VIDEO && !isAttached(stream) && parameters.width > 0 &&
           parameters.height > 0 &&
           av_image_check_size2(static_cast<unsigned>(parameters.width), static_cast<unsigned>(parameters.height),
                                kMostPicturePixels, AV_PIX_FMT_NONE, 0, nullptr) >= 0;
}

/// No decoder that asks the machine's hardware.
const AVCodec* softwareDecoder(AVCodecID id) noexcept {
    constexpr int kHardware = AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID;
    const AVCodec* const usual = avcodec_find_decoder(id);
    if (usual == nullptr || (usual->capabilities & kHardware) == 0) return usual;
    void* state = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&state)) {
        if (codec->id == id && av_codec_is_decoder(codec) != 0 && (codec->capabilities & kHardware) == 0) return codec;
    }
    return nullptr;
}

AVPixelFormat softwareFormat(AVCodecContext*, const AVPixelFormat* formats) {
    for (; *formats != AV_PIX_FMT_NONE; ++formats) {
        const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(*formats);
        if (description != nullptr && (description->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0) return *formats;
    }
    return AV_PIX_FMT_NONE;
}

}  // namespace

void LibavMovie::prepareLibraries() noexcept {
    av_log_set_level(AV_LOG_QUIET);
    av_max_alloc(kMostBytesAtOnce);
}

int LibavMovie::isLate(void* movie) noexcept {
    return std::chrono::steady_clock::now() > static_cast<LibavMovie*>(movie)->end_ ? 1 : 0;
}

/// Runs `body` within the limits of time and memory; none when there is not enough of the latter.
std::optional<Bitmap> LibavMovie::limited(const std::function<std::optional<Bitmap>()>& body) {
    startClock();
    const MemoryLimit limit(kMostMemoryOfPicture);
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

void LibavMovie::startClock() noexcept {
    end_ = std::chrono::steady_clock::now() + kLongest;
}

int LibavMovie::read(void* movie, std::uint8_t* buffer, int size) {
    auto& self = *static_cast<LibavMovie*>(movie);
    if (isLate(movie) != 0) return AVERROR_EXIT;
    const std::size_t count = self.bytes_->read(self.position_, std::span(buffer, static_cast<std::size_t>(size)));
    self.position_ += static_cast<std::int64_t>(count);
    return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
}

std::int64_t LibavMovie::seek(void* movie, std::int64_t offset, int whence) {
    auto& self = *static_cast<LibavMovie*>(movie);
    const std::int64_t length = self.bytes_->length();
    if (whence == AVSEEK_SIZE) return length;
    const int from = whence & ~AVSEEK_FORCE;
    const std::int64_t base = from == SEEK_CUR ? self.position_ : from == SEEK_END ? length : 0;
    std::int64_t position = 0;
    if (__builtin_add_overflow(base, offset, &position) || position < 0) return AVERROR(EINVAL);
    return self.position_ = position;
}

std::unique_ptr<LibavMovie> LibavMovie::open(std::unique_ptr<MovieBytes> bytes, const std::string& name) {
    std::unique_ptr<LibavMovie> movie(new LibavMovie);
    movie->bytes_ = std::move(bytes);
    movie->startClock();
    const MemoryLimit limit(kMostMemoryOfMovie);
    if (!movie->openFormat(name)) return nullptr;
    movie->chooseStream();
    const AVFormatContext& format = *movie->format_;
    const bool hasSound = std::any_of(format.streams, format.streams + format.nb_streams, [](const AVStream* stream) {
        return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    });
    // A movie may have neither: measurements with their times, for instance.
    const bool hasTime = format.nb_streams > 0 && format.duration != AV_NOPTS_VALUE && format.duration > 0;
    return movie->stream_ != nullptr || hasSound || hasTime ? std::move(movie) : nullptr;
}

bool LibavMovie::openFormat(const std::string& name) {
    auto* const buffer = static_cast<std::uint8_t*>(av_malloc(kReadBytes));
    if (buffer == nullptr) return false;
    reader_.reset(avio_alloc_context(buffer, kReadBytes, 0, this, &LibavMovie::read, nullptr, &LibavMovie::seek));
    AVFormatContext* format = avformat_alloc_context();
    if (!reader_ || format == nullptr) return false;
    format->pb = reader_.get();
    format->interrupt_callback = {&LibavMovie::isLate, this};
    format->probesize = kProbeBytes;
    format->max_analyze_duration = kProbeMicroseconds;
    format->max_streams = kMostStreams;
    // Lists of addresses, and files that name others, are not followed.
    format->io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EACCES); };
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    av_dict_set(&options, "format_whitelist", kFormats, 0);
    const int error = avformat_open_input(&format, name.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (error < 0) return false;  // the context is freed
    format_.reset(format);
    return true;
}

/// Looks into the streams only when their headers leave something out: that takes its time.
void LibavMovie::chooseStream() {
    AVFormatContext* const format = format_.get();
    bool isIncomplete = format->nb_streams == 0 || format->duration == AV_NOPTS_VALUE;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVCodecParameters& parameters = *format->streams[i]->codecpar;
        const bool isVideo = parameters.codec_type == AVMEDIA_TYPE_VIDEO && !isAttached(*format->streams[i]);
        const bool isSound = parameters.codec_type == AVMEDIA_TYPE_AUDIO;
        isIncomplete = isIncomplete || (isVideo && (parameters.width <= 0 || parameters.extradata_size == 0)) ||
                       (isSound && parameters.sample_rate <= 0);
    }
    if (isIncomplete) avformat_find_stream_info(format, nullptr);
    bool isStreamEnabled = false;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        AVStream& stream = *format->streams[i];
        const bool isEnabled = (stream.disposition & AV_DISPOSITION_DEFAULT) != 0;
        if (isMovingPicture(stream) && (stream_ == nullptr || (isEnabled && !isStreamEnabled))) {
            stream_ = &stream;
            isStreamEnabled = isEnabled;
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
    const PixelSize size = naturalSizeOf(*stream_);
    return Size{static_cast<double>(size.width), static_cast<double>(size.height)};
}

/// Where the header does not say it, the least time of the first packets: pictures are not stored as they are shown.
std::int64_t LibavMovie::firstTime() {
    constexpr int kFirstPackets = 16;
    if (stream_->start_time != AV_NOPTS_VALUE) return stream_->start_time;
    if (firstTime_) return *firstTime_;
    const PacketOwner packet(av_packet_alloc());
    std::int64_t least = AV_NOPTS_VALUE;
    if (packet && av_seek_frame(format_.get(), stream_->index, 0, AVSEEK_FLAG_BACKWARD) >= 0) {
        for (int i = 0; i < kFirstPackets && readNext(*packet); ++i) {
            if (packet->pts != AV_NOPTS_VALUE && (least == AV_NOPTS_VALUE || packet->pts < least)) least = packet->pts;
        }
    }
    firstTime_ = least == AV_NOPTS_VALUE ? 0 : least;
    return *firstTime_;
}

CodecOwner LibavMovie::decoderOf(const AVStream& stream) const {
    const AVCodec* const decoder = softwareDecoder(stream.codecpar->codec_id);
    if (decoder == nullptr) return nullptr;
    CodecOwner codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0) return nullptr;
    codec->pkt_timebase = stream.time_base;
    codec->thread_count = 1;
    codec->max_pixels = kMostPicturePixels;
    codec->get_format = &softwareFormat;
    return avcodec_open2(codec.get(), decoder, nullptr) >= 0 ? std::move(codec) : nullptr;
}

bool LibavMovie::readNext(AVPacket& packet) {
    while (isLate(this) == 0) {
        av_packet_unref(&packet);
        if (av_read_frame(format_.get(), &packet) < 0) return false;
        if (packet.stream_index == stream_->index && packet.size > 0) return true;
    }
    return false;
}

bool LibavMovie::readKeyFrame(AVPacket& packet) {
    for (int i = 0; i < kMostPackets && readNext(packet); ++i) {
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0) return true;
    }
    av_packet_unref(&packet);
    return false;
}

void LibavMovie::goToKeyFrame(std::int64_t time, AVPacket& packet) {
    const std::int64_t first = firstTime();
    const std::int64_t second = std::max<std::int64_t>(1, av_rescale_q(1, AVRational{1, 1}, stream_->time_base));
    const auto isFound = [&](std::int64_t target, int flags) {
        if (av_seek_frame(format_.get(), stream_->index, target, flags) < 0 || !readKeyFrame(packet)) return false;
        const std::int64_t shown = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
        return shown == AV_NOPTS_VALUE || shown <= time;
    };
    // Containers look for the time at which a frame is decoded, which is earlier than the one at which it is shown, and
    // some do not know which frames are key frames: if the one that is found comes too late, farther back.
    std::int64_t target = time;
    for (std::int64_t step = second; target > first && isLate(this) == 0; step *= 2) {
        if (isFound(target, AVSEEK_FLAG_BACKWARD)) return;
        target = time - first > step ? time - step : first;
    }
    // Streams without any index may miss their very first frame by its time.
    if (isFound(first, AVSEEK_FLAG_BACKWARD) || isFound(0, AVSEEK_FLAG_BYTE)) return;
    av_packet_unref(&packet);
    if (av_seek_frame(format_.get(), stream_->index, 0, AVSEEK_FLAG_BYTE) < 0) {
        av_seek_frame(format_.get(), stream_->index, first, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    }
}

void LibavMovie::decodeFrom(std::int64_t time, const std::function<bool(FrameOwner&)>& take) {
    const CodecOwner codec = decoderOf(*stream_);
    const PacketOwner packet(av_packet_alloc());
    FrameOwner frame(av_frame_alloc());
    if (!codec || !packet || !frame) return;
    goToKeyFrame(time, *packet);
    bool isAtEnd = false;
    while (isLate(this) == 0) {
        if (packet->size == 0 && !readNext(*packet)) isAtEnd = true;
        // What nothing else is made of need not be decoded before the time; the frame before it may be shown.
        const bool isBefore =
            packet->pts != AV_NOPTS_VALUE && packet->pts + 2 * std::max<std::int64_t>(packet->duration, 1) < time;
        codec->skip_frame = isBefore ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        avcodec_send_packet(codec.get(), isAtEnd ? nullptr : packet.get());
        av_packet_unref(packet.get());
        while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
            if (take(frame)) return;
            if (!frame) frame.reset(av_frame_alloc());
            if (!frame || isLate(this) != 0) return;
        }
        if (isAtEnd) return;
    }
}

std::optional<Bitmap> LibavMovie::frameAt(double seconds) {
    constexpr double kLatest = 1e9;
    if (stream_ == nullptr) return std::nullopt;
    const auto microseconds = static_cast<std::int64_t>(std::clamp(seconds, 0.0, kLatest) * AV_TIME_BASE);
    const std::int64_t time = firstTime() + av_rescale_q(microseconds, AV_TIME_BASE_Q, stream_->time_base);
    FrameOwner shown;
    decodeFrom(time, [&](FrameOwner& frame) {
        const std::int64_t stamp = frame->best_effort_timestamp;
        if (stamp != AV_NOPTS_VALUE && stamp > time && shown) return true;  // the one before is shown then
        shown = std::move(frame);
        return stamp != AV_NOPTS_VALUE &&
               (stamp >= time || (shown->pkt_duration > 0 && stamp + shown->pkt_duration > time));
    });
    return shown ? bitmapOf(*shown, *stream_) : std::nullopt;
}

std::optional<Bitmap> LibavMovie::frameAtTime(double seconds) {
    return limited([&] { return frameAt(seconds); });
}

std::optional<Bitmap> LibavMovie::posterImage() {
    return limited([&] {
        auto picture = attachedPicture();
        if (picture || stream_ == nullptr) return picture;
        if (const auto chosen = posterTimeOf(*bytes_)) picture = frameAt(*chosen);
        return picture ? std::move(picture) : firstPictureNotBlank();
    });
}

std::optional<Bitmap> LibavMovie::firstPictureNotBlank() {
    FrameOwner first;
    FrameOwner poster;
    int count = 0;
    decodeFrom(firstTime(), [&](FrameOwner& frame) {
        FrameOwner& place = isBlankPicture(*frame) ? first : poster;
        if (!place) place = std::move(frame);
        return poster != nullptr || ++count >= kMostBlankFrames;
    });
    if (!poster) poster = std::move(first);
    return poster ? bitmapOf(*poster, *stream_) : std::nullopt;
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

}  // namespace halden
