// The frame pipeline. A bounded window of frames is in flight: the calling
// thread decodes inputs and encodes outputs while the workers render, and a
// frame leaves the window only when every frame before it has.
#include "host/Renderer.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace halcyra::host {

bool ProgressAllowed() {
    return isatty(STDERR_FILENO) == 1;
}

int DefaultWorkerCount() {
    unsigned cores = std::thread::hardware_concurrency();
    return cores == 0 ? 1 : static_cast<int>(cores);
}

ProgressBar::~ProgressBar() {
    if (enabled && open) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void ProgressBar::Start(int frames) {
    total = frames;
    done = 0;
    start = std::chrono::steady_clock::now();
    lastDraw = start - std::chrono::seconds(1);
    Draw(true);
}

void ProgressBar::Advance() {
    ++done;
    Draw(done == total);
}

double ProgressBar::Elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void ProgressBar::Finish() {
    if (!enabled) return;
    Draw(true);
    std::fputc('\n', stderr);
    open = false;
    std::fflush(stderr);
}

void ProgressBar::Draw(bool force) {
    if (!enabled) return;
    auto now = std::chrono::steady_clock::now();
    if (!force && now - lastDraw < std::chrono::milliseconds(100)) return;
    lastDraw = now;
    open = true;
    double seconds = Elapsed();
    double rate = seconds > 0 ? done / seconds : 0;
    constexpr int kBarWidth = 30;
    int filled = total > 0 ? done * kBarWidth / total : kBarWidth;
    char bar[kBarWidth + 1];
    for (int i = 0; i < kBarWidth; ++i) bar[i] = i < filled ? '#' : '.';
    bar[kBarWidth] = 0;
    char left[32] = "--:--";
    if (rate > 0) {
        int remaining = static_cast<int>((total - done) / rate + 0.5);
        std::snprintf(left, sizeof left, "%d:%02d", remaining / 60, remaining % 60);
    }
    std::fprintf(stderr, "\r\033[K%s [%s] %d/%d frames, %.1f fps, %s left", label.c_str(), bar, done, total,
                 rate, left);
    std::fflush(stderr);
}

void RenderOne(IVideoEffect* effect, IVideoHost* host, const FrameJob& job, Frame& output) {
    output.Fill(0, 0, 0, 255);
    ImageDesc first = job.first->Desc();
    ImageDesc second = (job.second ? job.second : job.first)->Desc();
    ImageDesc out = output.Desc();
    RenderInfo info{};
    info.progress = job.progress;
    info.time = job.time;
    info.fieldMode = 3;
    // A false answer leaves the frame as the effect left it; the host shows it as is.
    effect->Render(host, &first, &second, &out, &info);
}

namespace {

struct Task {
    int index = 0;
    FrameJob job;
    Frame output;
    bool done = false;
};

class Workers {
public:
    Workers(const EffectLibrary& library, const std::vector<EffectSlot>& slots, int count, int width,
            int height)
        : library(library), slots(slots), width(width), height(height) {
        for (int i = 0; i < count; ++i) threads.emplace_back([this] { Loop(); });
    }
    ~Workers() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        wake.notify_all();
        for (std::thread& thread : threads) thread.join();
    }

    void Submit(Task* task) {
        {
            std::lock_guard lock(mutex);
            pending.push_back(task);
        }
        wake.notify_one();
    }

    // Waits until `task` is rendered; rethrows a worker's failure.
    void WaitFor(Task* task) {
        std::unique_lock lock(mutex);
        finished.wait(lock, [&] { return task->done || failure; });
        if (failure) std::rethrow_exception(failure);
    }

private:
    void Loop() {
        std::vector<EffectPtr> effects(slots.size());
        while (true) {
            Task* task = nullptr;
            {
                std::unique_lock lock(mutex);
                wake.wait(lock, [&] { return stopping || !pending.empty(); });
                if (stopping) return;
                task = pending.front();
                pending.pop_front();
            }
            try {
                const EffectSlot& slot = slots.at(task->job.slot);
                EffectPtr& effect = effects[task->job.slot];
                if (!effect) effect = library.Create(slot.entry->index);
                if (!effect)
                    throw HostError("effect " + std::to_string(slot.entry->index) + " could not be created");
                task->output = Frame(width, height);
                RenderOne(effect.get(), slot.host.get(), task->job, task->output);
                std::lock_guard lock(mutex);
                task->done = true;
            } catch (...) {
                std::lock_guard lock(mutex);
                if (!failure) failure = std::current_exception();
            }
            finished.notify_all();
        }
    }

    const EffectLibrary& library;
    const std::vector<EffectSlot>& slots;
    int width;
    int height;
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable finished;
    std::deque<Task*> pending;
    std::exception_ptr failure;
    bool stopping = false;
    std::vector<std::thread> threads;
};

}  // namespace

void RunPipeline(const EffectLibrary& library, const std::vector<EffectSlot>& slots, int count,
                 const std::function<FrameJob(int)>& prepare,
                 const std::function<void(int, const Frame&)>& consume, PipelineSettings settings) {
    if (count <= 0) return;
    int workers = std::clamp(settings.workers, 1, count);
    for (const EffectSlot& slot : slots)
        if (slot.entry->KeepsState()) workers = 1;
    // Two frames per worker keep everyone busy while the caller decodes and encodes.
    const int window = workers * 2 + 1;
    std::deque<std::unique_ptr<Task>> inFlight;
    Workers pool(library, slots, workers, settings.width, settings.height);
    if (settings.progress) settings.progress->Start(count);
    auto retireOldest = [&] {
        Task* oldest = inFlight.front().get();
        pool.WaitFor(oldest);
        consume(oldest->index, oldest->output);
        inFlight.pop_front();
        if (settings.progress) settings.progress->Advance();
    };
    for (int index = 0; index < count; ++index) {
        if (InterruptRequested()) throw HostError("interrupted");
        auto task = std::make_unique<Task>();
        task->index = index;
        task->job = prepare(index);
        pool.Submit(task.get());
        inFlight.push_back(std::move(task));
        if (static_cast<int>(inFlight.size()) >= window) retireOldest();
    }
    while (!inFlight.empty()) {
        if (InterruptRequested()) throw HostError("interrupted");
        retireOldest();
    }
    if (settings.progress) settings.progress->Finish();
}

void ParallelFor(int count, int workers, const std::function<void(int)>& task) {
    std::atomic<int> next{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    auto loop = [&] {
        while (true) {
            int index = next.fetch_add(1);
            if (index >= count || InterruptRequested()) return;
            try {
                task(index);
            } catch (...) {
                std::lock_guard lock(failureMutex);
                if (!failure) failure = std::current_exception();
                next.store(count);
                return;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 1; i < std::clamp(workers, 1, std::max(count, 1)); ++i) threads.emplace_back(loop);
    loop();
    for (std::thread& thread : threads) thread.join();
    if (failure) std::rethrow_exception(failure);
    if (InterruptRequested()) throw HostError("interrupted");
}

}  // namespace halcyra::host
