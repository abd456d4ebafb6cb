// Draws an SVG file as a square PNG: render_icon FILE.svg EDGE FILE.png (the edge in pixels).

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char* argv[])
{
    if (argc != 4) {
        std::fputs("usage: render_icon FILE.svg EDGE FILE.png\n", stderr);
        return 2;
    }
    const QString source = QString::fromLocal8Bit(argv[1]);
    const int edge = QByteArray(argv[2]).toInt();
    const QString target = QString::fromLocal8Bit(argv[3]);

    QSvgRenderer drawing(source);
    QImage picture(edge, edge, QImage::Format_ARGB32_Premultiplied);
    if (!drawing.isValid() || picture.isNull()) {
        std::fprintf(stderr, "render_icon: %s cannot be drawn %d pixels wide\n", argv[1], edge);
        return 1;
    }
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    drawing.render(&painter);
    painter.end();
    if (!picture.save(target, "PNG")) {
        std::fprintf(stderr, "render_icon: cannot write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
