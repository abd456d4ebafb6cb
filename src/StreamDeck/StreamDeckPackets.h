#pragma once

#include "StreamDeck/StreamDeckDevice.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

/// The reports that carry the picture of a key to the device. `key` is the device's own index of
/// it, from 0.
namespace StreamDeckImage {

/// Two reports, always.
[[nodiscard]] QList<QByteArray> gen1Packets(QByteArrayView image, int key);
/// At least one report. A picture of more than 256 pages stops the process.
[[nodiscard]] QList<QByteArray> miniPackets(QByteArrayView image, int key);
/// At least one report.
[[nodiscard]] QList<QByteArray> gen2Packets(QByteArrayView image, int key);

/// The reports in the framing of the model, of a picture that encode() gave for it.
[[nodiscard]] QList<QByteArray> packets(
    QByteArrayView image, int key, const StreamDeckModel& model);

} // namespace StreamDeckImage
