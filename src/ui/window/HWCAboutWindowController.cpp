#include "ui/window/HWCAboutWindowController.h"

#include "HWCBuildInfo.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

constexpr char kAcknowledgmentsFile[] = "hashwarden/acknowledgments.html";

QLabel *label(const QString &text, int pixelSize, bool bold)
{
    auto *label = new QLabel(text);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

HWCAboutWindowController::HWCAboutWindowController(QWidget *parent)
    : QWidget(parent, Qt::Window), m_acknowledgments(new QTextBrowser)
{
    setWindowTitle(tr("About Hashwarden"));
    setAccessibleName(tr("About Hashwarden"));
    auto *icon = new QLabel;
    icon->setPixmap(QIcon(QStringLiteral(":/icons/hashwarden-128.png")).pixmap(96, 96));
    auto *texts = new QVBoxLayout;
    texts->addWidget(label(QString::fromUtf8(HWCBuildInfo::kExecutableName), 22, true));
    texts->addWidget(label(tr("Version %1 (build %2)")
                               .arg(QString::fromUtf8(HWCBuildInfo::kShortVersion),
                                    QString::fromUtf8(HWCBuildInfo::kBuildNumber)),
                           13, false));
    texts->addWidget(label(QString::fromUtf8(HWCBuildInfo::kCopyright), 12, false));
    auto *credits = label(tr("Designed and built by the Hashwarden developers. Digests by OpenSSL "
                             "and xxHash; MHL files read and written with pugixml."),
                          12, false);
    credits->setWordWrap(true);
    texts->addWidget(credits);
    auto *website = new QPushButton(tr("Visit the Web Site"));
    connect(website, &QPushButton::clicked, this,
            [this] { QDesktopServices::openUrl(m_websiteAddress); });
    texts->addWidget(website, 0, Qt::AlignLeft);
    auto *header = new QHBoxLayout;
    header->addWidget(icon, 0, Qt::AlignTop);
    header->addLayout(texts, 1);

    m_acknowledgments->setAccessibleName(tr("Acknowledgments"));
    m_acknowledgments->setOpenExternalLinks(true);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(label(tr("Acknowledgments"), 13, true));
    layout->addWidget(m_acknowledgments, 1);
    auto *close = new QPushButton(tr("Close"));
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    layout->addWidget(close, 0, Qt::AlignRight);
    auto *escape = new QShortcut(Qt::Key_Escape, this);
    connect(escape, &QShortcut::activated, this, &QWidget::close);
    loadAcknowledgments();
    resize(520, 560);
}

void HWCAboutWindowController::showWindow()
{
    show();
    raise();
    activateWindow();
}

QString HWCAboutWindowController::acknowledgmentsPath()
{
    const QString located = QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                                   QLatin1String(kAcknowledgmentsFile));
    if (!located.isEmpty())
        return located;
    const QString beside = QCoreApplication::applicationDirPath();
    for (const QString &share :
         {beside + QStringLiteral("/../share/"), beside + QStringLiteral("/share/")}) {
        if (QFile::exists(share + QLatin1String(kAcknowledgmentsFile)))
            return share + QLatin1String(kAcknowledgmentsFile);
    }
    return {};
}

void HWCAboutWindowController::loadAcknowledgments()
{
    QFile file(acknowledgmentsPath());
    if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly)) {
        m_acknowledgments->setPlainText(tr("The acknowledgments file %1 is not installed.")
                                            .arg(QLatin1String(kAcknowledgmentsFile)));
        return;
    }
    m_acknowledgments->setHtml(QString::fromUtf8(file.readAll()));
}
