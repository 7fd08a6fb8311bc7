#include "tests/platform/movies/MadeMovie.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace halden::testing {
namespace {

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

void fill(AVFrame& frame, int grey, bool isBlank) {
    for (int y = 0; y < frame.height; ++y) {
        std::uint8_t* const row = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        std::memset(row, isBlank ? 16 : grey, static_cast<std::size_t>(frame.width / 2));
        std::memset(row + frame.width / 2, isBlank ? 16 : 235, static_cast<std::size_t>(frame.width - frame.width / 2));
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < frame.height / 2; ++y)
            std::memset(frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane], 128,
                        static_cast<std::size_t>(frame.width / 2));
    }
}

void writePackets(AVCodecContext* encoder, const AVFrame* frame, AVFormatContext* format, AVStream* stream) {
    require(avcodec_send_frame(encoder, frame) >= 0, "frame");
    AVPacket* packet = av_packet_alloc();
    while (avcodec_receive_packet(encoder, packet) >= 0) {
        if (packet->duration == 0 && encoder->codec_type == AVMEDIA_TYPE_VIDEO) packet->duration = 1;
        av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        require(av_interleaved_write_frame(format, packet) >= 0, "packet");
    }
    av_packet_free(&packet);
}

AVCodecContext* encoderFor(const MovieForm& form, const AVFormatContext& format) {
    const AVCodec* const codec = avcodec_find_encoder(form.isSound ? AV_CODEC_ID_PCM_S16LE : AV_CODEC_ID_MPEG4);
    require(codec != nullptr, "encoder");
    AVCodecContext* const encoder = avcodec_alloc_context3(codec);
    if (form.isSound) {
        encoder->sample_rate = 8000;
        encoder->sample_fmt = AV_SAMPLE_FMT_S16;
        encoder->ch_layout = AV_CHANNEL_LAYOUT_MONO;
        encoder->time_base = {1, 8000};
    } else {
        encoder->width = form.width;
        encoder->height = form.height;
        encoder->pix_fmt = AV_PIX_FMT_YUV420P;
        encoder->time_base = {1, form.framesInSecond};
        encoder->sample_aspect_ratio = {form.aspect, 1};
        encoder->gop_size = form.keyFrames;
        // Where pictures of two sides stand, an AVI file only guesses at times.
        encoder->max_b_frames = std::strcmp(format.oformat->name, "avi") == 0 ? 0 : 2;
        encoder->flags |= AV_CODEC_FLAG_QSCALE;
        encoder->global_quality = FF_QP2LAMBDA;
    }
    if ((format.oformat->flags & AVFMT_GLOBALHEADER) != 0) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    require(avcodec_open2(encoder, codec, nullptr) >= 0, "opening the encoder");
    return encoder;
}

AVFrame* emptyFrame(const AVCodecContext& encoder, bool isSound) {
    AVFrame* const frame = av_frame_alloc();
    if (isSound) {
        frame->format = encoder.sample_fmt;
        frame->nb_samples = 8000;
        frame->ch_layout = encoder.ch_layout;
        frame->sample_rate = encoder.sample_rate;
    } else {
        frame->format = encoder.pix_fmt;
        frame->width = encoder.width;
        frame->height = encoder.height;
        frame->quality = encoder.global_quality;
    }
    require(av_frame_get_buffer(frame, 0) >= 0, "a frame");
    return frame;
}

}  // namespace

void makeMovie(const std::string& path, const MovieForm& form) {
    AVFormatContext* format = nullptr;
    require(avformat_alloc_output_context2(&format, nullptr, nullptr, path.c_str()) >= 0, "format");
    AVStream* const stream = avformat_new_stream(format, nullptr);
    AVCodecContext* encoder = encoderFor(form, *format);
    require(avcodec_parameters_from_context(stream->codecpar, encoder) >= 0, "parameters");
    stream->time_base = encoder->time_base;
    stream->sample_aspect_ratio = encoder->sample_aspect_ratio;
    if (form.degrees != 0 || form.isMirrored) {
        auto* const matrix = reinterpret_cast<std::int32_t*>(
            av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
        av_display_rotation_set(matrix, form.degrees);
        av_display_matrix_flip(matrix, form.isMirrored ? 1 : 0, 0);
    }
    for (const auto& [key, value] : form.entries)
        av_dict_set(&format->metadata, key.c_str(), value.c_str(), 0);
    require(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0, "file");
    require(avformat_write_header(format, nullptr) >= 0, "header");
    const int count =
        form.isSound ? static_cast<int>(form.seconds) : static_cast<int>(form.seconds * form.framesInSecond);
    for (int i = 0; i < count; ++i) {
        AVFrame* frame = emptyFrame(*encoder, form.isSound);
        if (form.isSound) {
            std::memset(frame->data[0], 0, 16000);
            frame->pts = std::int64_t{i} * 8000;
        } else {
            const double second = static_cast<double>(i) / form.framesInSecond;
            fill(*frame, 20 + 10 * static_cast<int>(second), second < form.blank);
            frame->pts = i;
        }
        writePackets(encoder, frame, format, stream);
        av_frame_free(&frame);
    }
    writePackets(encoder, nullptr, format, stream);
    require(av_write_trailer(format) >= 0, "end");
    avio_closep(&format->pb);
    avcodec_free_context(&encoder);
    avformat_free_context(format);
}

namespace {

std::string bytesOf(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::string frameOf(const std::string& name, const std::string& contents) {
    return name + bytesOf(static_cast<std::uint32_t>(contents.size())) + std::string(2, 0) + contents;
}

std::string jpeg() {
    const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    require(codec != nullptr, "encoder");
    AVCodecContext* encoder = avcodec_alloc_context3(codec);
    encoder->width = 32;
    encoder->height = 32;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->color_range = AVCOL_RANGE_MPEG;
    encoder->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    encoder->time_base = {1, 1};
    require(avcodec_open2(encoder, codec, nullptr) >= 0, "opening the encoder");
    AVFrame* frame = emptyFrame(*encoder, false);
    fill(*frame, 100, false);
    AVPacket* packet = av_packet_alloc();
    require(avcodec_send_frame(encoder, frame) >= 0 && avcodec_send_frame(encoder, nullptr) >= 0 &&
                avcodec_receive_packet(encoder, packet) >= 0,
            "a picture");
    std::string bytes(reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size));
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&encoder);
    return bytes;
}

}  // namespace

std::string textFrame(const std::string& name, const std::string& text) {
    return frameOf(name, std::string(1, 0) + text);
}

std::string makeMp3(const Mp3Form& form) {
    std::string frames = form.frames;
    if (form.cover) {
        frames +=
            frameOf("APIC", std::string(1, 0) + "image/jpeg" + std::string(1, 0) + "\x03" + std::string(1, 0) + jpeg());
    }
    const auto length = static_cast<std::uint32_t>(frames.size());
    std::string file;
    if (!frames.empty()) {
        file = "ID3\x03" + std::string(2, 0);
        for (int shift = 21; shift >= 0; shift -= 7)  // seven bits a byte
            file += static_cast<char>(length >> shift & 0x7FU);
        file += frames;
    }
    // Layer III at 128 kbit/s and 32 kHz, one channel: 576 bytes for 1152 samples, all of them silent.
    const std::string silence = "\xFF\xFB\x98\xC0" + std::string(572, 0);
    for (int i = 0; i * 1152 < form.seconds * 32000; ++i)
        file += silence;
    return file;
}

}  // namespace halden::testing
