// All that a device says of itself and of its keys. The first byte names the model, the second one
// the length of the report descriptor that follows; the rest is reports, each behind its length.

#include "Fuzzing.h"

#include "Platform/HIDReportDescriptor.h"
#include "StreamDeck/StreamDeckKeys.h"

#include <algorithm>
#include <vector>

namespace {

/// Takes so many bytes off the front, or what there is.
QByteArray take(QByteArrayView& bytes, qsizetype length)
{
    const qsizetype taken = std::min(length, bytes.size());
    // A copy of its own, so that reading behind it is seen.
    QByteArray front(bytes.first(taken).data(), taken);
    bytes = bytes.sliced(taken);
    return front;
}

quint8 takeByte(QByteArrayView& bytes)
{
    return bytes.isEmpty() ? 0 : static_cast<quint8>(take(bytes, 1)[0]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const auto& models = StreamDeckModel::all();
    const StreamDeckModel& model = models[takeByte(bytes) % models.size()];

    const auto longest = maxInputReportSize(take(bytes, takeByte(bytes)));
    require(!longest || (*longest >= 0 && *longest <= 16384), "no length of a report");

    StreamDeckKeys keys(model);
    std::vector<bool> down(static_cast<size_t>(model.keyCount), false);
    while (!bytes.isEmpty()) {
        for (const auto& [key, pressed] : keys.changes(take(bytes, takeByte(bytes)))) {
            require(key >= 0 && key < model.keyCount, "no key of the deck");
            require(down[static_cast<size_t>(key)] != pressed, "a key that went down twice");
            down[static_cast<size_t>(key)] = pressed;
        }
    }
    return 0;
}
