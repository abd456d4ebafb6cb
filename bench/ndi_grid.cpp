// Sends one picture of the time by NDI on a bare grid of 30 frames a second, for a number of
// seconds after a warm-up of three, and does nothing else.
//
// Usage: ndi_grid SECONDS      (NDI_RUNTIME_DIR_V6 names the runtime)

#include "NDI/NDIBridge.h"
#include "NDI/NDISender.h"

#include <QGuiApplication>
#include <QImage>

#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 10;

    QImage picture(1920, 1080, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&picture);
    paintOutput(painter, picture.size(),
        {.snapshot = {.timeText = u"11:59"_s},
            .colors = {.background = {0, 0, 0, 1}, .text = {1, 1, 1, 1}}});
    painter.end();

    NDIBridge bridge;
    if (!bridge.startWithName(u"Grid"_s)) {
        std::fprintf(stderr, "no NDI runtime\n");
        return 1;
    }
    const auto sendFor = [&](std::chrono::seconds duration) {
        using Frames = std::chrono::duration<qint64, std::ratio<1, NDISender::fps>>;
        const auto start = std::chrono::steady_clock::now();
        for (Frames frame(1); frame < duration; ++frame) {
            std::this_thread::sleep_until(start + frame);
            bridge.sendBGRA(picture.constBits(), picture.width(), picture.height(), NDISender::fps);
        }
    };
    // A receiver that comes holds a frame up, and the grid is out of step from then on.
    sendFor(3s);
    std::this_thread::sleep_for(100ms);
    sendFor(std::chrono::seconds(seconds));
    return 0;
}
