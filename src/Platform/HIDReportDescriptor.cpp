#include "Platform/HIDReportDescriptor.h"

#include <QHash>
#include <QList>

#include <algorithm>

namespace {

constexpr quint64 longestReport = 16384;

/// An item's first byte without the two bits that say how long it is.
enum Item : quint8 {
    input = 0x80,
    reportSize = 0x74,
    reportID = 0x84,
    reportCount = 0x94,
    push = 0xA4,
    pop = 0xB4,
    longItem = 0xFC,
};

struct Globals {
    quint64 bitsPerField = 0;
    quint64 fields = 0;
    quint64 reportID = 0;
};

} // namespace

std::optional<qint64> maxInputReportSize(QByteArrayView descriptor)
{
    Globals globals;
    QList<Globals> stack;
    QHash<quint64, quint64> bitsOfReport;
    bool isNumbered = false;

    for (qsizetype at = 0; at < descriptor.size();) {
        const auto head = static_cast<quint8>(descriptor[at]);
        const auto item = static_cast<quint8>(head & 0xFC);
        if (item == longItem) {
            if (at + 1 >= descriptor.size())
                return std::nullopt;
            at += 3 + static_cast<quint8>(descriptor[at + 1]);
            continue;
        }
        const int length = (head & 3) == 3 ? 4 : head & 3;
        if (at + length >= descriptor.size())
            return std::nullopt;
        quint64 value = 0;
        for (int byte = length; byte > 0; --byte)
            value = value << 8 | static_cast<quint8>(descriptor[at + byte]);
        at += 1 + length;

        switch (item) {
        case reportSize:
            globals.bitsPerField = value;
            break;
        case reportCount:
            globals.fields = value;
            break;
        case reportID:
            globals.reportID = value;
            isNumbered = true;
            break;
        case push:
            stack.append(globals);
            break;
        case pop:
            if (stack.isEmpty())
                return std::nullopt;
            globals = stack.takeLast();
            break;
        case input: {
            quint64& bits = bitsOfReport[globals.reportID];
            // Both factors are below 2^32, so nothing overflows.
            bits = std::min(bits + globals.bitsPerField * globals.fields, longestReport * 8);
            break;
        }
        default:
            break;
        }
    }

    if (bitsOfReport.isEmpty())
        return std::nullopt;
    const quint64 longest = (*std::ranges::max_element(bitsOfReport) + 7) / 8;
    return static_cast<qint64>(std::min(longest + (isNumbered ? 1 : 0), longestReport));
}
