#include "CLI/HWCListInfo.h"

#include "CLI/HWCExitCode.h"
#include "Classes/HWCChecksumEntry.h"
#include "Classes/HWCChecksumKinds.h"
#include "Classes/HWCMediaHashList.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <cstdio>

namespace HWCListInfo {

namespace {

// The digest kinds the list carries, in the order verification prefers them.
QStringList digestKinds(HWCMediaHashList &list)
{
    QStringList kinds;
    for (const HWCChecksumKinds::Kind &kind : HWCChecksumKinds::preferred()) {
        for (const HWCChecksumEntry &entry : list.hashes()) {
            if (entry.contains(kind.name)) {
                kinds.append(QString::fromLatin1(kind.name));
                break;
            }
        }
    }
    return kinds;
}

} // namespace

int run(const QString &path, bool json)
{
    const QFileInfo file(path);
    std::unique_ptr<HWCMediaHashList> list =
        file.isFile() ? HWCMediaHashList::initWithContentsOfURL(file.absoluteFilePath()) : nullptr;
    if (!list || !list->hasDocument()) {
        const QString why = list ? list->problem() : QStringLiteral("is not an MHL file");
        std::fputs(QStringLiteral("hashwarden: %1: %2\n").arg(path, why).toUtf8().constData(),
                   stderr);
        return HWCExitCode::kUnusableSource;
    }
    const QString tool = list->tool().value_or(QString());
    const qint64 files = list->fileCount();
    const qint64 bytes = list->fileSize();
    const QStringList kinds = digestKinds(*list);
    QString text;
    if (json) {
        const QJsonObject object{{"path", file.absoluteFilePath()},
                                 {"tool", tool},
                                 {"files", files},
                                 {"bytes", bytes},
                                 {"digests", QJsonArray::fromStringList(kinds)}};
        text = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
    } else {
        // One substitution for every field: a tool name may itself hold "%1".
        text = QStringLiteral("MHL:     %1\nTool:    %2\nFiles:   %3\nSize:    %4 (%5 bytes)\n"
                              "Digests: %6\n")
                   .arg(file.absoluteFilePath(), tool.isEmpty() ? QStringLiteral("-") : tool,
                        QString::number(files),
                        QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat),
                        QString::number(bytes),
                        kinds.isEmpty() ? QStringLiteral("-") : kinds.join(QStringLiteral(", ")));
    }
    std::fputs(text.toUtf8().constData(), stdout);
    return HWCExitCode::kOK;
}

} // namespace HWCListInfo
