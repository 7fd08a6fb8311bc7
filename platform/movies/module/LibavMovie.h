// A movie file, read by libavformat and libavcodec.
#pragma once

#include "platform/movies/MoviesEngine.h"

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
using CodecOwner = std::unique_ptr<AVCodecContext, FreeCodec>;
using FrameOwner = std::unique_ptr<AVFrame, FreeFrame>;
using PacketOwner = std::unique_ptr<AVPacket, FreePacket>;

class LibavMovie final : public MovieFile {
public:
    /// Null when the file is none that is read.
    [[nodiscard]] static std::unique_ptr<LibavMovie> open(const std::string& path);

    [[nodiscard]] std::optional<MovieTime> duration() const override;
    [[nodiscard]] std::optional<Size> naturalSize() const override;
    [[nodiscard]] std::optional<Bitmap> frameAtTime(double seconds) override;
    [[nodiscard]] std::optional<Bitmap> posterImage() override;

private:
    LibavMovie() = default;

    static int isLate(void* movie) noexcept;
    void startClock() noexcept;
    void chooseStream();
    [[nodiscard]] CodecOwner decoderOf(const AVStream& stream) const;
    [[nodiscard]] std::optional<Bitmap> attachedPicture();
    /// Hands each frame from `start` (in the stream's time base) on to `take` until that returns true, or they end.
    /// Those before `needed` may be left out where no other is made of them.
    void decodeFrom(std::int64_t start, std::int64_t needed, const std::function<bool(FrameOwner&)>& take);
    [[nodiscard]] std::optional<Bitmap> bitmapOf(const AVFrame& frame, const AVStream& stream) const;

    FormatOwner format_;
    AVStream* stream_ = nullptr;  // the moving pictures; null where there are none
    std::chrono::steady_clock::time_point end_;
};

}  // namespace halden
