// The main thread's work on a 1080p frame of NDI, the send left out: there is no runtime here.
// Against filling as large a buffer; one line each, as PairTiming.h says.

#include "NDI/NDISender.h"
#include "PairTiming.h"
#include "helpers/MemoryPreferences.h"

#include <QGuiApplication>

#include <cstring>

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    MemoryPreferences preferences;
    AppSettings settings(preferences);
    TimerEngine engine(settings);
    MessageAnimator animator(engine);
    NDISender sender(engine, settings, animator);

    std::vector<char> buffer(size_t(1920) * 1080 * 4);
    const auto fill = [&](int i) { std::memset(buffer.data(), i, buffer.size()); };
    PairTiming::compare(
        "ndi_unchanged", [&](int) { sender.tick(); }, fill);

    const auto tickAfterAChange = [&](int i) {
        engine.rearm(600 + 61 * i);
        sender.tick();
    };
    PairTiming::compare("ndi_changed", tickAfterAChange, fill);
    std::printf("ndi_painted %lld 0\n", static_cast<long long>(sender.paintedFrames()));
    return 0;
}
