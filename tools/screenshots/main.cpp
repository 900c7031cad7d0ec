// Renders the gallery and the operation screen's scenes at a device pixel ratio of 2: one PNG
// per entry and one of the whole gallery, with an index.html to look at them. On an X server
// (make screenshots starts Xvfb) the real main window is captured from the screen as well.
#include "HWCApplicationScenes.h"
#include "HWCGallery.h"
#include "HWCOperationScenes.h"
#include "HWCWindowScenes.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QTextStream>
#include <cstdio>

namespace {

constexpr qreal kPixelRatio = 2.0;
constexpr int kMargin = 8;

QImage render(QWidget *widget)
{
    widget->ensurePolished();
    if (widget->minimumSize() != widget->maximumSize())
        widget->resize(widget->sizeHint());
    const QSize logical = widget->size() + QSize(2 * kMargin, 2 * kMargin);
    QImage image(logical * kPixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(kPixelRatio);
    image.fill(HWCGallery::backdropColor());
    widget->render(&image, QPoint(kMargin, kMargin), QRegion(), QWidget::DrawChildren);
    return image;
}

QString fileName(const HWCGalleryEntry &entry)
{
    QString name = entry.section + QLatin1Char('-') + entry.name;
    name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9.]+")), QStringLiteral("-"));
    return name + QStringLiteral(".png");
}

bool save(const QImage &image, const QDir &folder, const QString &name)
{
    if (image.save(folder.filePath(name)))
        return true;
    std::fprintf(stderr, "screenshots: cannot write %s\n", qPrintable(folder.filePath(name)));
    return false;
}

QString figure(const QString &file, const QString &caption, const QImage &image)
{
    return QStringLiteral("<figure><img src=\"%1\" width=\"%2\"><figcaption>%3</figcaption>"
                          "</figure>\n")
        .arg(file.toHtmlEscaped())
        .arg(qRound(image.width() / image.devicePixelRatio()))
        .arg(caption.toHtmlEscaped());
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    HWCStyleKit::applyToApplication();
    const QDir folder(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screenshots"));
    if (!QDir().mkpath(folder.path()))
        return 1;

    QString body;
    QString section;
    bool ok = true;
    for (const HWCGalleryEntry &entry :
         HWCGallery::entries() + operationScenes() + applicationScenes()) {
        if (entry.section != section) {
            section = entry.section;
            body += QStringLiteral("<h2>%1</h2>\n").arg(section.toHtmlEscaped());
        }
        std::unique_ptr<QWidget> widget(entry.make());
        const QImage image = render(widget.get());
        ok = save(image, folder, fileName(entry)) && ok;
        body += figure(fileName(entry), entry.name, image);
    }

    const QList<HWCWindowShot> shots = windowScenes();
    if (!shots.isEmpty()) {
        QString windowBody = QStringLiteral("<h2>Main window</h2>\n");
        for (const HWCWindowShot &shot : shots) {
            HWCGalleryEntry entry{QStringLiteral("Window"), shot.name, {}};
            ok = save(shot.image, folder, fileName(entry)) && ok;
            windowBody += figure(fileName(entry), shot.name, shot.image);
        }
        body = windowBody + body;
    }

    HWCGallery gallery;
    QWidget *canvas = gallery.widget();
    canvas->setFixedWidth(1130);
    canvas->adjustSize();
    const QImage whole = render(canvas);
    ok = save(whole, folder, QStringLiteral("gallery.png")) && ok;
    body =
        QStringLiteral("<h2>Whole gallery</h2>\n") + figure("gallery.png", "gallery", whole) + body;

    QFile index(folder.filePath(QStringLiteral("index.html")));
    if (!index.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 1;
    QTextStream(&index) << "<!doctype html><meta charset=\"utf-8\"><title>Hashwarden screens"
                           "</title><style>body{background:#2a2d33;color:#ddd;font:13px sans-serif}"
                           "figure{display:inline-block;margin:8px;vertical-align:top}"
                           "figcaption{color:#aaa}</style>\n"
                        << body;
    std::printf("%s\n", qPrintable(folder.absoluteFilePath(QStringLiteral("index.html"))));
    return ok ? 0 : 1;
}
