// Draws the information bubble shown beside the DNG dialog's help texts: an
// 18 x 18 blue speech bubble with a white "i" on a transparent background.
// The shapes are plain paths, so the result does not depend on any font.
//
// Usage: tessel_draw_help_icon OUTPUT.png
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.png\n", argv[0]);
        return 2;
    }

    constexpr int kSize = 18;
    QImage image(kSize, kSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    QPainterPath bubble;
    bubble.addEllipse(QPointF(9.5, 8.0), 7.6, 7.0);
    QPainterPath tail;
    tail.moveTo(5.0, 12.0);
    tail.lineTo(3.2, 17.2);
    tail.lineTo(9.5, 14.0);
    tail.closeSubpath();
    bubble = bubble.united(tail);

    painter.setPen(QPen(QColor(0x1f, 0x4f, 0x99), 1.0));
    painter.setBrush(QColor(0x3a, 0x7b, 0xd5));
    painter.drawPath(bubble);

    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(9.5, 4.6), 1.35, 1.35);
    painter.drawRoundedRect(QRectF(8.35, 6.7, 2.3, 5.9), 0.8, 0.8);
    painter.end();

    if (!image.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[1]);
        return 1;
    }
    return 0;
}
