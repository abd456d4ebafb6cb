// Painting the audience picture, against filling the same buffer; and fitting a long message,
// against laying the same text out once. One line each, as PairTiming.h says.

#include "PairTiming.h"
#include "Support/Fonts.h"
#include "Views/MessageLayout.h"
#include "Views/MessagePicture.h"
#include "Views/OutputPicture.h"

#include <QGuiApplication>
#include <QImage>
#include <QTextLayout>

#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;
using PairTiming::compare;

namespace {

const OutputColors colors {.background = {0, 0, 0, 1}, .text = {1, 1, 1, 1}};

void comparePicture(const char* name, const QSize& size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    const auto paint = [&](int i) {
        DisplaySnapshot snapshot;
        snapshot.timeText = u"%1:%2"_s.arg(10 + i).arg(59 - i);
        QPainter painter(&picture);
        paintOutput(painter, size, {.snapshot = snapshot, .colors = colors});
    };
    const auto fill = [&](int i) {
        std::memset(picture.bits(), i, static_cast<size_t>(picture.sizeInBytes()));
    };
    compare(name, paint, fill);
}

/// 280 characters, another text for every number.
QString longMessage(int number)
{
    QString text = u"%1 "_s.arg(number);
    while (text.size() < 280)
        text += u"the doors are open and everyone is kindly asked to take a seat "_s;
    return text.first(280);
}

void compareMessageFit()
{
    const QSizeF box(1728, 648);
    const double largest = 280.8;
    const auto fit = [&](int i) {
        const MessageLayout layout(longMessage(i), box, 0.05 * largest, largest);
    };
    const auto layOutOnce = [&](int i) {
        QTextLayout layout(longMessage(i), Fonts::system(64, QFont::DemiBold));
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine())
            line.setLineWidth(box.width());
        layout.endLayout();
    };
    compare("message_fit", fit, layOutOnce);
}

/// How many fits a hundred frames of one message take.
void countFits()
{
    QImage picture(1920, 1080, QImage::Format_ARGB32_Premultiplied);
    const int before = messageFitCount();
    for (int i = 0; i < 100; ++i) {
        QPainter painter(&picture);
        const MessageTransition transition {
            .layers = {{longMessage(0), i / 100.0}}, .presence = i / 100.0};
        paintOutput(painter, picture.size(), {.colors = colors, .transition = transition});
    }
    std::printf("fits_in_100_frames %d 0\n", messageFitCount() - before);
}

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    comparePicture("picture_1080", {1920, 1080});
    comparePicture("picture_2160", {3840, 2160});
    compareMessageFit();
    countFits();
    return 0;
}
