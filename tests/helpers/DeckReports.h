#pragma once

#include "StreamDeck/StreamDeckDevice.h"

#include <QByteArray>
#include <QList>

/// USB products.
namespace Deck {
constexpr int original = 0x0060;
constexpr int mini = 0x0063;
constexpr int mk2 = 0x0080;
constexpr int xl = 0x006C;
constexpr int plus = 0x0084;
constexpr int pedal = 0x0086;
} // namespace Deck

/// What such a deck sends while these keys are down, as the device counts them. `kind` says what
/// the report is about, where the device sends several.
inline QByteArray keyReport(
    const StreamDeckModel& model, const QList<int>& down = {}, char kind = 0)
{
    const int header = model.generation == StreamDeckModel::Generation::gen2 ? 4 : 1;
    QByteArray report(header + model.keyCount, '\0');
    report[0] = 1;
    if (header > 1)
        report[1] = kind;
    for (const int key : down)
        report[header + key] = 1;
    return report;
}

/// The key whose picture this output report completes, as the device counts it; -1 when more of the
/// picture follows.
inline int completedKey(const QByteArray& report)
{
    const bool isGen2 = report[1] == 0x07;
    if (report[isGen2 ? 3 : 4] != 1)
        return -1;
    return isGen2 ? report[2] : report[5] - 1;
}
