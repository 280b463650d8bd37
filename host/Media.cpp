// FFmpeg-backed reading and writing. Colour conversion is swscale's, with the
// source's own matrix and range on the way in and BT.709 limited range on the
// way out to YUV video, tagged so that players read it back the same way.
#include "host/Media.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace halcyra::host {

namespace {

// Scaling quality of swscale; conversions at equal size do not depend on it.
constexpr int kScaleFlags = SWS_BICUBIC;

std::string AvErrorText(int error) {
    char buffer[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, buffer, sizeof buffer);
    return buffer;
}

std::string Extension(const std::string& path) {
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    return ToLower(path.substr(dot + 1));
}

// A hidden sibling of the final file, so that the rename stays on one file system.
std::string TemporaryPathFor(const std::string& finalPath) {
    size_t slash = finalPath.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : finalPath.substr(0, slash + 1);
    std::string base = slash == std::string::npos ? finalPath : finalPath.substr(slash + 1);
    return dir + "." + base + ".part-" + std::to_string(getpid());
}

void CommitFile(const std::string& temporary, const std::string& finalPath) {
    if (std::rename(temporary.c_str(), finalPath.c_str()) != 0) {
        int error = errno;
        std::remove(temporary.c_str());
        throw HostError("cannot write " + finalPath + ": " + std::strerror(error));
    }
}

struct ImageFormat {
    const char* extension;
    AVCodecID codec;
    AVPixelFormat pixelFormat;
};

constexpr ImageFormat kImageFormats[] = {
    {"png", AV_CODEC_ID_PNG, AV_PIX_FMT_RGB24},       {"jpg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ444P},
    {"jpeg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ444P}, {"bmp", AV_CODEC_ID_BMP, AV_PIX_FMT_BGR24},
    {"tif", AV_CODEC_ID_TIFF, AV_PIX_FMT_RGB24},      {"tiff", AV_CODEC_ID_TIFF, AV_PIX_FMT_RGB24},
    {"ppm", AV_CODEC_ID_PPM, AV_PIX_FMT_RGB24},
};

const ImageFormat* FindImageFormat(const std::string& path) {
    std::string extension = Extension(path);
    for (const ImageFormat& format : kImageFormats)
        if (extension == format.extension) return &format;
    return nullptr;
}

// Position and width of the one "%d"/"%0Nd" counter in a sequence pattern.
struct Counter {
    size_t start = std::string::npos;
    size_t length = 0;
    int width = 0;
};

Counter FindCounter(const std::string& pattern) {
    Counter counter;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') continue;
        size_t j = i + 1;
        int width = 0;
        while (j < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[j])))
            width = width * 10 + (pattern[j++] - '0');
        if (j < pattern.size() && pattern[j] == 'd' && width <= 12) {
            counter.start = i;
            counter.length = j + 1 - i;
            counter.width = width;
            return counter;
        }
    }
    return counter;
}

std::string ExpandCounter(const std::string& pattern, const Counter& counter, int number) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%0*d", counter.width, number);
    return pattern.substr(0, counter.start) + digits + pattern.substr(counter.start + counter.length);
}

// Converts BGRA frames into an encoder's pixel format, and scales if sizes differ.
class ToEncoderConverter {
public:
    ToEncoderConverter(int width, int height, AVPixelFormat format)
        : width(width), height(height), format(format) {
        frame = av_frame_alloc();
        if (!frame) throw std::bad_alloc();
        frame->format = format;
        frame->width = width;
        frame->height = height;
        if (av_frame_get_buffer(frame, 0) < 0) {
            av_frame_free(&frame);
            throw HostError("out of memory for an output frame");
        }
    }
    ~ToEncoderConverter() {
        sws_freeContext(sws);
        av_frame_free(&frame);
    }

    AVFrame* Convert(const Frame& source) {
        sws = sws_getCachedContext(sws, source.width, source.height, AV_PIX_FMT_BGRA, width, height, format,
                                   kScaleFlags, nullptr, nullptr, nullptr);
        if (!sws) throw HostError("cannot convert frames for the encoder");
        const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
        bool yuv = descriptor && !(descriptor->flags & AV_PIX_FMT_FLAG_RGB) && descriptor->nb_components >= 3;
        if (yuv) {
            bool fullRange = format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ444P;
            sws_setColorspaceDetails(sws, sws_getCoefficients(SWS_CS_DEFAULT), 1,
                                     sws_getCoefficients(SWS_CS_ITU709), fullRange ? 1 : 0, 0, 1 << 16,
                                     1 << 16);
        }
        if (av_frame_make_writable(frame) < 0) throw HostError("out of memory for an output frame");
        const uint8_t* planes[1] = {source.pixels.data()};
        const int strides[1] = {source.Pitch()};
        sws_scale(sws, planes, strides, 0, source.height, frame->data, frame->linesize);
        return frame;
    }

private:
    int width;
    int height;
    AVPixelFormat format;
    SwsContext* sws = nullptr;
    AVFrame* frame = nullptr;
};

struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;

struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

std::vector<uint8_t> EncodeImage(const Frame& frame, const ImageFormat& format) {
    const AVCodec* codec = avcodec_find_encoder(format.codec);
    if (!codec)
        throw HostError(std::string("this FFmpeg has no encoder for ") + format.extension + " images");
    CodecContextPtr context(avcodec_alloc_context3(codec));
    context->width = frame.width;
    context->height = frame.height;
    context->pix_fmt = format.pixelFormat;
    context->time_base = {1, 25};
    if (format.codec == AV_CODEC_ID_MJPEG) {
        context->flags |= AV_CODEC_FLAG_QSCALE;
        context->global_quality = FF_QP2LAMBDA * 2;
        context->color_range = AVCOL_RANGE_JPEG;
    }
    int result = avcodec_open2(context.get(), codec, nullptr);
    if (result < 0)
        throw HostError(std::string("cannot open the ") + format.extension +
                        " encoder: " + AvErrorText(result));
    ToEncoderConverter converter(frame.width, frame.height, format.pixelFormat);
    AVFrame* converted = converter.Convert(frame);
    converted->pts = 0;
    std::vector<uint8_t> bytes;
    PacketPtr packet(av_packet_alloc());
    for (AVFrame* input : {converted, static_cast<AVFrame*>(nullptr)}) {
        result = avcodec_send_frame(context.get(), input);
        if (result < 0 && result != AVERROR_EOF)
            throw HostError("cannot encode image: " + AvErrorText(result));
        while ((result = avcodec_receive_packet(context.get(), packet.get())) == 0) {
            bytes.insert(bytes.end(), packet->data, packet->data + packet->size);
            av_packet_unref(packet.get());
        }
        if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
            throw HostError("cannot encode image: " + AvErrorText(result));
    }
    return bytes;
}

// Writes `path`; messages name `shownPath`, the file the user asked for.
void WriteBytes(const std::string& path, const std::string& shownPath, const std::vector<uint8_t>& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) throw HostError("cannot write " + shownPath + ": " + std::strerror(errno));
    size_t written = std::fwrite(bytes.data(), 1, bytes.size(), file);
    int error = written == bytes.size() ? 0 : errno;
    if (std::fclose(file) != 0 && error == 0) error = errno;
    if (written != bytes.size() || error != 0) {
        std::remove(path.c_str());
        throw HostError("cannot write " + shownPath + ": " + std::strerror(error ? error : EIO));
    }
}

// One image, or one image per frame for a pattern. Every file goes to its
// temporary name first; Finish renames them all.
class ImageFilesWriter final : public FrameWriter {
public:
    ImageFilesWriter(std::string pattern, const ImageFormat& format, bool sequence)
        : pattern(std::move(pattern)), format(format), sequence(sequence) {
        if (sequence) counter = FindCounter(this->pattern);
    }
    ~ImageFilesWriter() override {
        for (const auto& file : files) std::remove(file.first.c_str());
    }

    void Write(const Frame& frame) override {
        std::string finalPath = sequence ? ExpandCounter(pattern, counter, next++) : pattern;
        std::string temporary = TemporaryPathFor(finalPath);
        std::vector<uint8_t> bytes = EncodeImage(frame, format);
        if (!sequence && !files.empty()) files.clear();
        files.emplace_back(temporary, finalPath);
        WriteBytes(temporary, finalPath, bytes);
    }

    void Finish() override {
        for (size_t i = 0; i < files.size(); ++i) {
            try {
                CommitFile(files[i].first, files[i].second);
            } catch (...) {
                files.erase(files.begin(), files.begin() + static_cast<std::ptrdiff_t>(i + 1));
                throw;
            }
        }
        files.clear();
    }

private:
    std::string pattern;
    const ImageFormat& format;
    bool sequence;
    Counter counter;
    int next = 0;
    std::vector<std::pair<std::string, std::string>> files;  // temporary, final
};

struct EncoderChoice {
    const AVCodec* codec = nullptr;
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
};

bool Supports(const AVCodec* codec, AVPixelFormat format) {
    if (!codec->pix_fmts) return false;
    for (const AVPixelFormat* p = codec->pix_fmts; *p != AV_PIX_FMT_NONE; ++p)
        if (*p == format) return true;
    return false;
}

EncoderChoice ChooseEncoder(const AVOutputFormat* container) {
    std::string name = container->name;
    std::vector<const char*> preferred;
    if (name == "gif")
        preferred = {"gif"};
    else if (name == "webm")
        preferred = {"libvpx-vp9", "libvpx"};
    else if (name == "mp4" || name == "mov" || name == "matroska" ||
             container->video_codec == AV_CODEC_ID_H264)
        preferred = {"libx264", "mpeg4"};
    EncoderChoice choice;
    for (const char* encoder : preferred)
        if ((choice.codec = avcodec_find_encoder_by_name(encoder))) break;
    if (!choice.codec) choice.codec = avcodec_find_encoder(container->video_codec);
    if (!choice.codec)
        throw HostError(std::string("this FFmpeg has no video encoder for ") + container->name);
    if (name == "gif" && Supports(choice.codec, AV_PIX_FMT_RGB8))
        choice.pixelFormat = AV_PIX_FMT_RGB8;
    else if (Supports(choice.codec, AV_PIX_FMT_YUV420P))
        choice.pixelFormat = AV_PIX_FMT_YUV420P;
    else if (choice.codec->pix_fmts)
        choice.pixelFormat = choice.codec->pix_fmts[0];
    else
        throw HostError(std::string("the encoder ") + choice.codec->name + " names no pixel format");
    return choice;
}

// The muxer and its temporary file, released even when the writer's
// constructor gives up half-way.
struct MuxerHolder {
    AVFormatContext* context = nullptr;
    std::string temporary;
    bool committed = false;

    ~MuxerHolder() {
        if (context) {
            if (context->pb) avio_closep(&context->pb);
            avformat_free_context(context);
        }
        if (!committed && !temporary.empty()) std::remove(temporary.c_str());
    }
};

class VideoWriter final : public FrameWriter {
public:
    VideoWriter(const std::string& path, int width, int height, double fps)
        : finalPath(path), temporary(TemporaryPathFor(path)) {
        muxer.temporary = temporary;
        const AVOutputFormat* container = av_guess_format(nullptr, path.c_str(), nullptr);
        if (!container || container->video_codec == AV_CODEC_ID_NONE)
            throw HostError("cannot tell an output format from the name " + path +
                            " (use .mp4, .webm, .gif, .mkv, .png, .jpg or a pattern like frames/%04d.png)");
        EncoderChoice choice = ChooseEncoder(container);
        if (avformat_alloc_output_context2(&muxer.context, container, nullptr, temporary.c_str()) < 0 ||
            !muxer.context)
            throw HostError("cannot set up the " + std::string(container->name) + " writer");
        output = muxer.context;
        // Without it Matroska draws random identifiers, and equal renders would differ.
        output->flags |= AVFMT_FLAG_BITEXACT;
        const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(choice.pixelFormat);
        // Subsampled chroma needs even sizes; the picture is scaled by at most a pixel.
        int evenMaskW = descriptor && descriptor->log2_chroma_w ? ~1 : ~0;
        int evenMaskH = descriptor && descriptor->log2_chroma_h ? ~1 : ~0;
        int encodedWidth = std::max(2, width & evenMaskW);
        int encodedHeight = std::max(2, height & evenMaskH);
        AVRational rate = av_d2q(fps, 100000);
        context.reset(avcodec_alloc_context3(choice.codec));
        context->width = encodedWidth;
        context->height = encodedHeight;
        context->pix_fmt = choice.pixelFormat;
        context->time_base = av_inv_q(rate);
        context->framerate = rate;
        context->gop_size = 60;
        context->thread_count = 0;
        const AVPixFmtDescriptor* chosen = av_pix_fmt_desc_get(choice.pixelFormat);
        if (chosen && !(chosen->flags & AV_PIX_FMT_FLAG_RGB) && !(chosen->flags & AV_PIX_FMT_FLAG_PAL)) {
            context->colorspace = AVCOL_SPC_BT709;
            context->color_primaries = AVCOL_PRI_BT709;
            context->color_trc = AVCOL_TRC_BT709;
            context->color_range = AVCOL_RANGE_MPEG;
        }
        if (output->oformat->flags & AVFMT_GLOBALHEADER) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        AVDictionary* options = nullptr;
        std::string codecName = choice.codec->name;
        if (codecName == "libx264") {
            av_dict_set(&options, "preset", "veryfast", 0);
            av_dict_set(&options, "crf", "18", 0);
        } else if (codecName == "libvpx-vp9" || codecName == "libvpx") {
            av_dict_set(&options, "deadline", "realtime", 0);
            av_dict_set(&options, "cpu-used", "8", 0);
            av_dict_set(&options, "crf", codecName == "libvpx" ? "8" : "30", 0);
            context->bit_rate = codecName == "libvpx" ? 8000000 : 0;
        } else if (codecName == "mpeg4") {
            context->flags |= AV_CODEC_FLAG_QSCALE;
            context->global_quality = FF_QP2LAMBDA * 3;
        }
        int result = avcodec_open2(context.get(), choice.codec, &options);
        av_dict_free(&options);
        if (result < 0) throw HostError("cannot open the " + codecName + " encoder: " + AvErrorText(result));
        stream = avformat_new_stream(output, nullptr);
        if (!stream) throw HostError("cannot set up the video stream");
        avcodec_parameters_from_context(stream->codecpar, context.get());
        stream->time_base = context->time_base;
        stream->avg_frame_rate = rate;
        result = avio_open(&output->pb, temporary.c_str(), AVIO_FLAG_WRITE);
        if (result < 0) throw HostError("cannot write " + finalPath + ": " + AvErrorText(result));
        result = avformat_write_header(output, nullptr);
        if (result < 0) throw HostError("cannot write " + finalPath + ": " + AvErrorText(result));
        converter = std::make_unique<ToEncoderConverter>(encodedWidth, encodedHeight, choice.pixelFormat);
        packet.reset(av_packet_alloc());
    }

    void Write(const Frame& frame) override {
        AVFrame* converted = converter->Convert(frame);
        converted->pts = nextPts++;
        Encode(converted);
    }

    void Finish() override {
        Encode(nullptr);
        int result = av_write_trailer(output);
        if (result < 0) throw HostError("cannot write " + finalPath + ": " + AvErrorText(result));
        result = avio_closep(&output->pb);
        if (result < 0) throw HostError("cannot write " + finalPath + ": " + AvErrorText(result));
        muxer.committed = true;  // CommitFile removes the temporary itself if the rename fails
        CommitFile(temporary, finalPath);
    }

private:
    void Encode(AVFrame* frame) {
        int result = avcodec_send_frame(context.get(), frame);
        if (result < 0) throw HostError("cannot encode " + finalPath + ": " + AvErrorText(result));
        while ((result = avcodec_receive_packet(context.get(), packet.get())) == 0) {
            av_packet_rescale_ts(packet.get(), context->time_base, stream->time_base);
            packet->stream_index = stream->index;
            result = av_interleaved_write_frame(output, packet.get());
            if (result < 0) throw HostError("cannot write " + finalPath + ": " + AvErrorText(result));
        }
        if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
            throw HostError("cannot encode " + finalPath + ": " + AvErrorText(result));
    }

    std::string finalPath;
    std::string temporary;
    MuxerHolder muxer;
    AVFormatContext* output = nullptr;  // owned by muxer
    CodecContextPtr context;
    AVStream* stream = nullptr;
    std::unique_ptr<ToEncoderConverter> converter;
    PacketPtr packet;
    int64_t nextPts = 0;
};

}  // namespace

void InitMedia() {
    av_log_set_level(AV_LOG_QUIET);
}

OutputKind ClassifyOutput(const std::string& path) {
    if (FindCounter(path).start != std::string::npos && FindImageFormat(path)) return OutputKind::Sequence;
    if (FindImageFormat(path)) return OutputKind::Image;
    return OutputKind::Video;
}

std::unique_ptr<FrameWriter> CreateWriter(const std::string& path, int width, int height, double fps) {
    OutputKind kind = ClassifyOutput(path);
    if (kind == OutputKind::Video) return std::make_unique<VideoWriter>(path, width, height, fps);
    return std::make_unique<ImageFilesWriter>(path, *FindImageFormat(path), kind == OutputKind::Sequence);
}

void WriteImage(const std::string& path, const Frame& frame) {
    const ImageFormat* format = FindImageFormat(path);
    if (!format)
        throw HostError("cannot tell an image format from the name " + path +
                        " (use .png, .jpg, .bmp, .tif or .ppm)");
    ImageFilesWriter writer(path, *format, false);
    writer.Write(frame);
    writer.Finish();
}

// ---------------------------------------------------------------------------
// Reading

struct MediaReader::State {
    AVFormatContext* format = nullptr;
    CodecContextPtr decoder;
    PacketPtr packet;
    AVFrame* current = nullptr;
    AVFrame* next = nullptr;
    int streamIndex = -1;
    AVRational timeBase{1, 1};
    int64_t startPts = 0;
    bool haveCurrent = false;
    bool haveNext = false;
    bool ended = false;
    bool draining = false;
    double currentTime = 0;
    double nextTime = 0;
    SwsContext* sws = nullptr;
    std::shared_ptr<Frame> converted;

    ~State() {
        sws_freeContext(sws);
        av_frame_free(&current);
        av_frame_free(&next);
        decoder.reset();
        avformat_close_input(&format);
    }
};

MediaReader::MediaReader(const std::string& path) : state(std::make_unique<State>()), path(path) {
    int result = avformat_open_input(&state->format, path.c_str(), nullptr, nullptr);
    if (result < 0) throw HostError("cannot read " + path + ": " + AvErrorText(result));
    result = avformat_find_stream_info(state->format, nullptr);
    if (result < 0) throw HostError("cannot read " + path + ": " + AvErrorText(result));
    const AVCodec* codec = nullptr;
    state->streamIndex = av_find_best_stream(state->format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (state->streamIndex < 0 || !codec) throw HostError("cannot read " + path + ": it holds no picture");
    AVStream* stream = state->format->streams[state->streamIndex];
    state->decoder.reset(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(state->decoder.get(), stream->codecpar);
    state->decoder->thread_count = 0;
    result = avcodec_open2(state->decoder.get(), codec, nullptr);
    if (result < 0) throw HostError("cannot decode " + path + ": " + AvErrorText(result));
    width = stream->codecpar->width;
    height = stream->codecpar->height;
    if (width <= 0 || height <= 0) throw HostError("cannot read " + path + ": the picture has no size");
    std::string demuxer = state->format->iformat->name;
    still = demuxer == "image2" ||
            (demuxer.size() > 5 && demuxer.compare(demuxer.size() - 5, 5, "_pipe") == 0) ||
            stream->nb_frames == 1;
    state->timeBase = stream->time_base;
    state->startPts = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
    AVRational guessed = av_guess_frame_rate(state->format, stream, nullptr);
    if (guessed.num > 0 && guessed.den > 0) frameRate = av_q2d(guessed);
    if (!(frameRate > 0 && frameRate <= 1000)) frameRate = 30.0;
    if (!still) {
        if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0)
            duration = stream->duration * av_q2d(stream->time_base);
        else if (state->format->duration > 0)
            duration = static_cast<double>(state->format->duration) / AV_TIME_BASE;
    }
    state->packet.reset(av_packet_alloc());
    state->current = av_frame_alloc();
    state->next = av_frame_alloc();
}

MediaReader::~MediaReader() = default;

namespace {

// Decodes the next picture of the stream into `frame`; false at the end.
bool DecodeNext(AVFormatContext* format, AVCodecContext* decoder, AVPacket* packet, int streamIndex,
                bool& draining, AVFrame* frame, const std::string& path) {
    while (true) {
        int result = avcodec_receive_frame(decoder, frame);
        if (result == 0) return true;
        if (result == AVERROR_EOF) return false;
        if (result != AVERROR(EAGAIN)) throw HostError("cannot decode " + path + ": " + AvErrorText(result));
        if (draining) return false;
        result = av_read_frame(format, packet);
        if (result < 0) {
            draining = true;
            avcodec_send_packet(decoder, nullptr);
            continue;
        }
        if (packet->stream_index == streamIndex) {
            // A damaged packet costs a frame, not the whole render.
            avcodec_send_packet(decoder, packet);
        }
        av_packet_unref(packet);
    }
}

}  // namespace

std::shared_ptr<const Frame> MediaReader::FrameAt(double seconds, int outWidth, int outHeight) {
    State& s = *state;
    auto timeOf = [&](AVFrame* frame, double previous) {
        int64_t stamp = frame->best_effort_timestamp;
        if (stamp == AV_NOPTS_VALUE) return previous + 1.0 / frameRate;
        return (stamp - s.startPts) * av_q2d(s.timeBase);
    };
    if (!s.haveCurrent) {
        if (!DecodeNext(s.format, s.decoder.get(), s.packet.get(), s.streamIndex, s.draining, s.current,
                        path))
            throw HostError("cannot decode " + path + ": no picture could be decoded");
        s.haveCurrent = true;
        s.currentTime = timeOf(s.current, -1.0 / frameRate);
        s.converted.reset();
    }
    // Timestamps may be a hair off the nominal grid; a quarter frame of slack
    // keeps "frame i at i / fps" on frame i.
    double slack = std::min(1e-3, 0.25 / frameRate);
    while (!still && !s.ended) {
        if (!s.haveNext) {
            if (!DecodeNext(s.format, s.decoder.get(), s.packet.get(), s.streamIndex, s.draining, s.next,
                            path)) {
                s.ended = true;
                break;
            }
            s.haveNext = true;
            s.nextTime = timeOf(s.next, s.currentTime);
        }
        if (s.nextTime > seconds + slack) break;
        std::swap(s.current, s.next);
        s.currentTime = s.nextTime;
        s.haveNext = false;
        s.converted.reset();
    }
    if (s.converted && s.converted->width == outWidth && s.converted->height == outHeight) return s.converted;
    AVFrame* source = s.current;
    auto frame = std::make_shared<Frame>(outWidth, outHeight);
    s.sws =
        sws_getCachedContext(s.sws, source->width, source->height, static_cast<AVPixelFormat>(source->format),
                             outWidth, outHeight, AV_PIX_FMT_BGRA, kScaleFlags, nullptr, nullptr, nullptr);
    if (!s.sws) throw HostError("cannot convert the pictures of " + path);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source->format));
    if (descriptor && !(descriptor->flags & AV_PIX_FMT_FLAG_RGB) &&
        !(descriptor->flags & AV_PIX_FMT_FLAG_PAL)) {
        int colourSpace = source->colorspace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : source->colorspace;
        bool fullRange = source->color_range == AVCOL_RANGE_JPEG || source->format == AV_PIX_FMT_YUVJ420P ||
                         source->format == AV_PIX_FMT_YUVJ422P || source->format == AV_PIX_FMT_YUVJ444P;
        sws_setColorspaceDetails(s.sws, sws_getCoefficients(colourSpace), fullRange ? 1 : 0,
                                 sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    }
    uint8_t* planes[1] = {frame->pixels.data()};
    int strides[1] = {frame->Pitch()};
    sws_scale(s.sws, source->data, source->linesize, 0, source->height, planes, strides);
    // Pictures without alpha come out opaque; a picture with alpha keeps it.
    if (!descriptor || !(descriptor->flags & AV_PIX_FMT_FLAG_ALPHA))
        for (size_t i = 3; i < frame->pixels.size(); i += 4) frame->pixels[i] = 255;
    s.converted = frame;
    return frame;
}

}  // namespace halcyra::host
