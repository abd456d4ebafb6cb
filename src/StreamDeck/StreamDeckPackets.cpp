#include "StreamDeck/StreamDeckPackets.h"

#include "Support/Trap.h"

#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace StreamDeckImage {

namespace {

constexpr qsizetype pagedReportLength = 1024;
constexpr qsizetype gen1ReportLength = 8191;
constexpr qsizetype gen2HeaderLength = 8;
constexpr qsizetype bmpHeaderLength = 16;

/// A number that has one byte in a header.
char byte(qsizetype number)
{
    if (number < 0 || number > 255)
        trap(u"a Stream Deck report's number does not fit in one byte"_s);
    return static_cast<char>(number);
}

/// A report filled up with zeros behind its header and its part of the picture.
QByteArray report(qsizetype length, qsizetype headerLength, QByteArrayView payload)
{
    if (payload.size() > length - headerLength)
        trap(u"a picture is too large for a Stream Deck's reports"_s);
    QByteArray bytes(length, '\0');
    std::ranges::copy(payload, bytes.begin() + headerLength);
    return bytes;
}

/// Calls back with the number, the slice and the finality of each page.
template <typename Page>
QList<QByteArray> paged(QByteArrayView image, qsizetype headerLength, Page&& page)
{
    const qsizetype room = pagedReportLength - headerLength;
    QList<QByteArray> reports;
    qsizetype at = 0;
    do {
        const QByteArrayView slice = image.sliced(at, std::min(room, image.size() - at));
        at += slice.size();
        QByteArray bytes = report(pagedReportLength, headerLength, slice);
        page(bytes, reports.size(), slice.size(), at >= image.size());
        reports.append(bytes);
    } while (at < image.size());
    return reports;
}

/// The header of the devices that take BMP files.
void writeBMPHeader(QByteArray& bytes, qsizetype page, bool isFinal, int key)
{
    bytes[0] = 0x02;
    bytes[1] = 0x01;
    bytes[2] = byte(page);
    bytes[4] = isFinal ? 1 : 0;
    bytes[5] = byte(key + 1);
}

} // namespace

QList<QByteArray> gen1Packets(QByteArrayView image, int key)
{
    const qsizetype half = image.size() / 2;
    QList<QByteArray> reports {
        report(gen1ReportLength, bmpHeaderLength, image.first(half)),
        report(gen1ReportLength, bmpHeaderLength, image.sliced(half)),
    };
    // This device counts its pages from 1.
    writeBMPHeader(reports[0], 1, false, key);
    writeBMPHeader(reports[1], 2, true, key);
    return reports;
}

QList<QByteArray> miniPackets(QByteArrayView image, int key)
{
    return paged(
        image, bmpHeaderLength, [key](QByteArray& bytes, qsizetype page, qsizetype, bool isFinal) {
            writeBMPHeader(bytes, page, isFinal, key);
        });
}

QList<QByteArray> gen2Packets(QByteArrayView image, int key)
{
    return paged(image, gen2HeaderLength,
        [key](QByteArray& bytes, qsizetype page, qsizetype length, bool isFinal) {
            bytes[0] = 0x02;
            bytes[1] = 0x07;
            bytes[2] = byte(key);
            bytes[3] = isFinal ? 1 : 0;
            qToLittleEndian(static_cast<quint16>(length), bytes.data() + 4);
            qToLittleEndian(static_cast<quint16>(page), bytes.data() + 6);
        });
}

QList<QByteArray> packets(QByteArrayView image, int key, const StreamDeckModel& model)
{
    switch (model.imageFormat) {
    case StreamDeckModel::ImageFormat::jpeg:
        return gen2Packets(image, key);
    case StreamDeckModel::ImageFormat::bmp:
        return model.generation == StreamDeckModel::Generation::gen1 ? gen1Packets(image, key)
                                                                     : miniPackets(image, key);
    case StreamDeckModel::ImageFormat::none:
        break;
    }
    return {};
}

} // namespace StreamDeckImage
