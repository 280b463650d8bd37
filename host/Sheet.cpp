// Contact sheet layout and rendering. Each cell gets its own effect object, so
// cells render in any order on any thread and land in disjoint parts of the
// sheet.
#include "host/Sheet.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "host/TextRenderer.h"

namespace halcyra::host {

namespace {

constexpr int kMargin = 16;
constexpr int kGap = 10;
constexpr int kHeaderHeight = 36;
constexpr int kNameSize = 18;
constexpr int kDetailSize = 13;
constexpr uint32_t kBackground = 0x202226;

void Blit(const Frame& source, Frame& target, int left, int top) {
    for (int y = 0; y < source.height && top + y < target.height; ++y) {
        int columns = std::min(source.width, target.width - left);
        if (columns <= 0) return;
        std::memcpy(target.Row(top + y) + static_cast<size_t>(left) * 4, source.Row(y),
                    static_cast<size_t>(columns) * 4);
    }
}

}  // namespace

Frame BuildSheet(const EffectLibrary& library, const SheetSettings& settings) {
    const int cellWidth = settings.first->width;
    const int cellHeight = settings.first->height;
    TextRenderer text;
    TextRenderer bold(true);
    int labelWidth = 160;
    for (const CatalogueEntry* entry : settings.effects)
        labelWidth = std::max(labelWidth, bold.Measure(entry->name, kNameSize) + 2 * kGap);
    const int columns = static_cast<int>(settings.progresses.size());
    const int rows = static_cast<int>(settings.effects.size());
    Frame sheet(kMargin * 2 + labelWidth + columns * cellWidth + (columns - 1) * kGap,
                kMargin * 2 + kHeaderHeight + rows * cellHeight + std::max(0, rows - 1) * kGap);
    sheet.Fill(kBackground & 0xFF, (kBackground >> 8) & 0xFF, kBackground >> 16, 255);
    auto cellLeft = [&](int column) { return kMargin + labelWidth + column * (cellWidth + kGap); };
    auto cellTop = [&](int row) { return kMargin + kHeaderHeight + row * (cellHeight + kGap); };

    for (int column = 0; column < columns; ++column) {
        std::string title = "progress " + FormatNumber(settings.progresses[column], 3);
        int x = cellLeft(column) + (cellWidth - text.Measure(title, 15)) / 2;
        text.Draw(sheet, x, kMargin + 22, 15, title, 0xC8CCD4);
    }
    for (int row = 0; row < rows; ++row) {
        const CatalogueEntry* entry = settings.effects[row];
        int middle = cellTop(row) + cellHeight / 2;
        bold.Draw(sheet, kMargin, middle, kNameSize, entry->name, 0xFFFFFF);
        std::string detail = std::to_string(entry->index);
        detail.insert(0, 1, '#');
        detail += entry->IsTransition() ? "  transition, " : "  filter, ";
        detail += std::to_string(entry->parameters.size());
        detail += entry->parameters.size() == 1 ? " parameter" : " parameters";
        text.Draw(sheet, kMargin, middle + 20, kDetailSize, detail, 0x9AA0AA);
    }

    std::vector<std::shared_ptr<ParameterHost>> hosts;
    for (const CatalogueEntry* entry : settings.effects)
        hosts.push_back(
            std::make_shared<ParameterHost>(DefaultParameters(entry->parameters), settings.offerAllocator));
    const int cells = rows * columns;
    std::mutex progressMutex;
    if (settings.progress) settings.progress->Start(cells);
    ParallelFor(cells, settings.workers, [&](int cell) {
        int row = cell / columns, column = cell % columns;
        const CatalogueEntry* entry = settings.effects[row];
        EffectPtr effect = library.Create(entry->index);
        if (!effect) throw HostError("effect " + std::to_string(entry->index) + " could not be created");
        FrameJob job;
        job.progress = settings.progresses[column];
        job.time = job.progress * 2.0;
        job.first = settings.first;
        job.second = entry->IsTransition() ? settings.second : nullptr;
        Frame output(cellWidth, cellHeight);
        RenderOne(effect.get(), hosts[row].get(), job, output);
        // Effects may leave alpha anywhere; the sheet shows colour only.
        for (size_t i = 3; i < output.pixels.size(); i += 4) output.pixels[i] = 255;
        Blit(output, sheet, cellLeft(column), cellTop(row));
        std::lock_guard lock(progressMutex);
        if (settings.progress) settings.progress->Advance();
    });
    if (settings.progress) settings.progress->Finish();
    return sheet;
}

}  // namespace halcyra::host
