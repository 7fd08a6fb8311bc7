// A movie file, read by libavformat and libavcodec.
#pragma once

#include "platform/movies/MoviesEngine.h"
#include "platform/movies/module/MovieBytes.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace halden {

struct CloseFormat {
    void operator()(AVFormatContext* context) const noexcept { avformat_close_input(&context); }
};
struct FreeReader {
    void operator()(AVIOContext* context) const noexcept {
        av_freep(static_cast<void*>(&context->buffer));
        avio_context_free(&context);
    }
};
struct FreeCodec {
    void operator()(AVCodecContext* context) const noexcept { avcodec_free_context(&context); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
};
using FormatOwner = std::unique_ptr<AVFormatContext, CloseFormat>;
using ReaderOwner = std::unique_ptr<AVIOContext, FreeReader>;
using CodecOwner = std::unique_ptr<AVCodecContext, FreeCodec>;
using FrameOwner = std::unique_ptr<AVFrame, FreeFrame>;
using PacketOwner = std::unique_ptr<AVPacket, FreePacket>;

class LibavMovie final : public MovieFile {
public:
    /// Sets the limits of the libraries, for the whole process. To be called before a movie is opened.
    static void prepareLibraries() noexcept;

    /// Null when the bytes are none that are read. `name` is the file's; its extension helps to tell what they are.
    [[nodiscard]] static std::unique_ptr<LibavMovie> open(std::unique_ptr<MovieBytes> bytes, const std::string& name);

    /// All that the libraries know of the file.
    [[nodiscard]] const AVFormatContext& format() const noexcept { return *format_; }
    /// The moving pictures; null where there are none.
    [[nodiscard]] const AVStream* pictures() const noexcept { return stream_; }

    [[nodiscard]] std::optional<MovieTime> duration() const override;
    [[nodiscard]] std::optional<Size> naturalSize() const override;
    [[nodiscard]] std::optional<Bitmap> frameAtTime(double seconds) override;
    [[nodiscard]] std::optional<Bitmap> posterImage() override;

private:
    LibavMovie() = default;

    static int isLate(void* movie) noexcept;
    static int read(void* movie, std::uint8_t* buffer, int size);
    static std::int64_t seek(void* movie, std::int64_t offset, int whence);
    void startClock() noexcept;
    [[nodiscard]] std::optional<Bitmap> limited(const std::function<std::optional<Bitmap>()>& body);
    [[nodiscard]] bool openFormat(const std::string& name);
    void chooseStream();
    /// Of the stream, in its time base.
    [[nodiscard]] std::int64_t firstTime();
    [[nodiscard]] CodecOwner decoderOf(const AVStream& stream) const;
    [[nodiscard]] std::optional<Bitmap> attachedPicture();
    /// Goes to a key frame that is shown at `time` at the latest. `packet` receives it; it stays empty where there is
    /// none, and the packets follow from the start.
    void goToKeyFrame(std::int64_t time, AVPacket& packet);
    [[nodiscard]] bool readKeyFrame(AVPacket& packet);
    [[nodiscard]] bool readNext(AVPacket& packet);
    /// Hands each frame from a key frame on that is not after `time` (in the stream's time base) to `take` until that
    /// returns true, or they end. Those before `time` may be left out where no other is made of them.
    void decodeFrom(std::int64_t time, const std::function<bool(FrameOwner&)>& take);
    /// The last frame with a time not after `seconds`, else the first one that can be had.
    [[nodiscard]] std::optional<Bitmap> frameAt(double seconds);
    [[nodiscard]] std::optional<Bitmap> firstPictureNotBlank();

    std::unique_ptr<MovieBytes> bytes_;
    std::int64_t position_ = 0;  // in the bytes
    ReaderOwner reader_;
    FormatOwner format_;
    AVStream* stream_ = nullptr;
    std::optional<std::int64_t> firstTime_;
    std::chrono::steady_clock::time_point end_;
};

}  // namespace halden
