#include "cli/HWCListInfo.h"

#include "HWCBuildInfo.h"
#include "cli/HWCExitCode.h"
#include "cli/HWCJsonReport.h"
#include "engine/ascmhl/HWCASCMHLGenerationSummary.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/mhl/HWCMediaHashList.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <cstdio>

namespace HWCListInfo {

namespace {

constexpr const char *kHistoryFormat = "ASC MHL 2.0";

// One line per generation, then those of each nested history, indented by depth.
QString generationLines(const QString &root, const QString &folder, int depth)
{
    const QString indent(2 * depth, QLatin1Char(' '));
    const QString path = folder.isEmpty() ? root : root + QLatin1Char('/') + folder;
    const QList<HWCASCMHLGenerationSummary> generations =
        HWCASCMHLGenerationSummary::readHistory(path + QStringLiteral("/ascmhl"));
    QString text =
        folder.isEmpty()
            ? QStringLiteral("Generations:\n")
            : QStringLiteral("%1Nested history %2:\n").arg(indent, hwc_displayedName(folder));
    int sequence = 0;
    for (const HWCASCMHLGenerationSummary &generation : generations)
        text += QStringLiteral("%1  %2  %3  %4  %5\n")
                    .arg(indent)
                    .arg(++sequence, 4, 10, QLatin1Char('0'))
                    .arg(generation.date.isEmpty() ? QStringLiteral("-") : generation.date,
                         generation.tool.isEmpty() ? QStringLiteral("-")
                                                   : hwc_displayedName(generation.tool),
                         generation.process.isEmpty() ? QStringLiteral("-") : generation.process);
    for (const QString &nested : HWCASCMHLGenerationSummary::nestedFolders(generations))
        text += generationLines(path, nested, depth + 1);
    return text;
}

// A history is told by its `ascmhl` folder, a file in it, or the folder that holds it.
std::unique_ptr<HWCMediaHashList> load(const QString &path)
{
    const QFileInfo file(path);
    if (const QString history = HWCASCMHLHistory::folderForPath(path); !history.isEmpty())
        return HWCMediaHashList::initWithContentsOfURL(history);
    return file.isFile() ? HWCMediaHashList::initWithContentsOfURL(file.absoluteFilePath())
                         : nullptr;
}

} // namespace

int run(const QString &path, bool json)
{
    const QFileInfo file(path);
    std::unique_ptr<HWCMediaHashList> list = load(path);
    if (!list || !list->wasRead()) {
        const QString why = list ? list->problem() : QStringLiteral("is not an MHL file");
        const QString message = QStringLiteral("%1: %2").arg(path, why);
        std::fputs(QStringLiteral("hashwarden: %1\n").arg(message).toUtf8().constData(), stderr);
        if (json)
            HWCJsonReport::print(HWCJsonReport::document(
                QStringLiteral("info"), HWCExitCode::kUnusableSource, {}, {}, message));
        return HWCExitCode::kUnusableSource;
    }
    const HWCASCMHLHistory *history = list->history();
    const QString shownPath =
        history ? QFileInfo(list->root()).absoluteFilePath() : file.absoluteFilePath();
    const HWCASCMHLGenerationSummary packingList =
        list->isPackingList() ? HWCASCMHLGenerationSummary::read(file.absoluteFilePath())
                              : HWCASCMHLGenerationSummary();
    const QString tool =
        list->isPackingList() ? packingList.tool : list->tools().join(QStringLiteral(", "));
    const qint64 files = list->fileCount();
    const qint64 bytes = list->fileSize();
    const QStringList kinds = list->digestKinds();
    QString text;
    if (json) {
        QJsonObject object{{"schemaVersion", HWCJsonReport::kSchemaVersion},
                           {"version", HWCBuildInfo::kShortVersion},
                           {"path", shownPath},
                           {"tool", tool},
                           {"files", files},
                           {"bytes", bytes},
                           {"digests", QJsonArray::fromStringList(kinds)}};
        if (history) {
            object.insert("format", kHistoryFormat);
            object.insert("generations", history->generations());
            object.insert("tools", QJsonArray::fromStringList(history->tools()));
        }
        text = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
    } else {
        // One substitution for every field: a tool name may itself hold "%1".
        text = QStringLiteral("MHL:     %1\nTool:    %2\nFiles:   %3\nSize:    %4 (%5 bytes)\n"
                              "Digests: %6\n")
                   .arg(hwc_displayedName(shownPath),
                        tool.isEmpty() ? QStringLiteral("-") : hwc_displayedName(tool),
                        QString::number(files),
                        QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat),
                        QString::number(bytes),
                        kinds.isEmpty() ? QStringLiteral("-") : kinds.join(QStringLiteral(", ")));
        if (history) {
            text.insert(text.indexOf(QLatin1String("Tool:")),
                        QStringLiteral("Format:  %1, %2 generations\n")
                            .arg(QLatin1String(kHistoryFormat))
                            .arg(history->generations()));
            text += generationLines(list->root(), QString(), 0);
        }
        if (list->isPackingList())
            text.insert(text.indexOf(QLatin1String("Tool:")),
                        QStringLiteral("Format:  %1 packing list (process %2), not a history\n")
                            .arg(QLatin1String(kHistoryFormat), packingList.process.isEmpty()
                                                                    ? QStringLiteral("-")
                                                                    : packingList.process));
    }
    std::fputs(text.toUtf8().constData(), stdout);
    return HWCExitCode::kOK;
}

} // namespace HWCListInfo
