// Rendering frames in parallel: one effect object per worker thread, frames
// handed out in order and collected back in order, so the result is the same
// as a render on one thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/EffectLibrary.h"
#include "host/VideoHost.h"

namespace halcyra::host {

// A progress line on standard error: frames done, frames per second, time
// left. Draws only when enabled (a terminal and not --quiet).
class ProgressBar {
public:
    ProgressBar(bool enabled, std::string label) : enabled(enabled), label(std::move(label)) {}
    // A bar cut short by an error is wiped, so the error line stands alone.
    ~ProgressBar();
    void Start(int total);
    void Advance();
    void Finish();
    double Elapsed() const;

private:
    void Draw(bool force);
    bool enabled;
    std::string label;
    int total = 0;
    int done = 0;
    bool open = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDraw;
};

// Whether progress bars may be drawn: standard error is a terminal.
bool ProgressAllowed();

// One effect with the parameter values it is rendered with.
struct EffectSlot {
    const CatalogueEntry* entry = nullptr;
    std::shared_ptr<ParameterHost> host;
};

struct FrameJob {
    int slot = 0;
    double progress = 0;
    double time = 0;
    std::shared_ptr<const Frame> first;
    std::shared_ptr<const Frame> second;  // null for filters: the first is passed twice
};

struct PipelineSettings {
    int workers = 1;
    int width = 0;
    int height = 0;
    ProgressBar* progress = nullptr;
};

// Renders `count` frames. `prepare` (frame inputs, in order) and `consume`
// (finished frames, in order) run on the calling thread; effects run on the
// workers. Effects that keep state between frames force a single worker.
void RunPipeline(const EffectLibrary& library, const std::vector<EffectSlot>& slots, int count,
                 const std::function<FrameJob(int)>& prepare,
                 const std::function<void(int, const Frame&)>& consume, PipelineSettings settings);

// Renders one frame on an effect object the caller owns.
void RenderOne(IVideoEffect* effect, IVideoHost* host, const FrameJob& job, Frame& output);

// Runs task(0..count-1) on up to `workers` threads; the first exception wins.
void ParallelFor(int count, int workers, const std::function<void(int)>& task);

int DefaultWorkerCount();

}  // namespace halcyra::host
