// Reading pictures and clips and writing videos, images and image sequences,
// all through FFmpeg's libraries. Frames cross this boundary as BGRA.
#pragma once

#include <memory>
#include <string>

#include "host/Common.h"

namespace halcyra::host {

// A still image or a video, decoded in order and sampled by time. Past the end
// of a video the last frame holds; a still is one frame for all time.
class MediaReader {
public:
    explicit MediaReader(const std::string& path);
    ~MediaReader();
    MediaReader(const MediaReader&) = delete;
    MediaReader& operator=(const MediaReader&) = delete;

    int Width() const { return width; }
    int Height() const { return height; }
    bool IsStill() const { return still; }
    double FrameRate() const { return frameRate; }
    double Duration() const { return duration; }  // 0 for stills

    // The frame on screen at `seconds` from the start, scaled to width x height.
    // Times must not go backwards between calls.
    std::shared_ptr<const Frame> FrameAt(double seconds, int outWidth, int outHeight);

private:
    struct State;
    std::unique_ptr<State> state;
    std::string path;
    int width = 0;
    int height = 0;
    bool still = false;
    double frameRate = 30.0;
    double duration = 0.0;
};

enum class OutputKind { Video, Image, Sequence };

// Image sequences are patterns with a printf-style counter ("out/%04d.png");
// a known picture extension is a single image; anything else a video.
OutputKind ClassifyOutput(const std::string& path);

// Takes frames in order; nothing appears under the final name until Finish
// succeeds, and a writer destroyed before Finish removes what it wrote.
class FrameWriter {
public:
    virtual ~FrameWriter() = default;
    virtual void Write(const Frame& frame) = 0;
    virtual void Finish() = 0;
};

std::unique_ptr<FrameWriter> CreateWriter(const std::string& path, int width, int height, double fps);

// Encodes one picture as the image format its extension names and writes it
// through a temporary name.
void WriteImage(const std::string& path, const Frame& frame);

// Quietens FFmpeg's own logging; our errors are one line each.
void InitMedia();

}  // namespace halcyra::host
