// Renders the application icon's SVG to the PNG sizes of the hicolor theme:
// render-icon SVG OUTPUT_FOLDER SIZE... writes OUTPUT_FOLDER/hashwarden-SIZE.png.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fputs("usage: render-icon SVG OUTPUT_FOLDER SIZE...\n", stderr);
        return 64;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    if (!renderer.isValid()) {
        std::fprintf(stderr, "render-icon: cannot read %s\n", argv[1]);
        return 65;
    }
    for (int i = 3; i < argc; ++i) {
        const int size = QByteArray(argv[i]).toInt();
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        renderer.render(&painter);
        painter.end();
        const QString path =
            QStringLiteral("%1/hashwarden-%2.png").arg(QString::fromLocal8Bit(argv[2])).arg(size);
        if (!image.save(path)) {
            std::fprintf(stderr, "render-icon: cannot write %s\n", qPrintable(path));
            return 73;
        }
    }
    return 0;
}
