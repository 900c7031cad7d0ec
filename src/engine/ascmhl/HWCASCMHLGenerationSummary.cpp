#include "engine/ascmhl/HWCASCMHLGenerationSummary.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <map>
#include <pugixml.hpp>

namespace {

QString text(pugi::xml_node node)
{
    return QString::fromStdString(hwc_fullTextContent(node)).trimmed();
}

} // namespace

HWCASCMHLGenerationSummary HWCASCMHLGenerationSummary::read(const QString &path)
{
    HWCASCMHLGenerationSummary summary;
    summary.name = hwc_lastPathComponent(path);
    pugi::xml_document manifest;
    if (!manifest.load_file(QFile::encodeName(path).constData()))
        return summary;
    const pugi::xml_node hashlist = manifest.document_element();
    const pugi::xml_node creator = hwc_firstChildWithLocalName(hashlist, "creatorinfo");
    summary.date = text(hwc_firstChildWithLocalName(creator, "creationdate"));
    const pugi::xml_node tool = hwc_firstChildWithLocalName(creator, "tool");
    summary.tool =
        (text(tool) + QLatin1Char(' ') + QString::fromUtf8(tool.attribute("version").value()))
            .trimmed();
    summary.process = text(hwc_firstChildWithLocalName(
        hwc_firstChildWithLocalName(hashlist, "processinfo"), "process"));
    for (const pugi::xml_node &references : hwc_childrenWithLocalName(hashlist, "references")) {
        for (const pugi::xml_node &reference :
             hwc_childrenWithLocalName(references, "hashlistreference"))
            summary.references.append(text(hwc_firstChildWithLocalName(reference, "path")));
    }
    return summary;
}

QStringList HWCASCMHLGenerationSummary::generationNames(const QString &historyFolder)
{
    static const QRegularExpression numbered(QStringLiteral("^([0-9]+)_.*\\.mhl$"));
    std::map<int, QString> bySequence;
    for (const QString &name :
         QDir(historyFolder).entryList({QStringLiteral("*.mhl")}, QDir::Files | QDir::Hidden)) {
        const QRegularExpressionMatch match = numbered.match(name);
        if (match.hasMatch())
            bySequence.emplace(match.captured(1).toInt(), name);
    }
    QStringList names;
    for (const auto &[sequence, name] : bySequence)
        names.append(name);
    return names;
}

QList<HWCASCMHLGenerationSummary>
HWCASCMHLGenerationSummary::readHistory(const QString &historyFolder)
{
    QList<HWCASCMHLGenerationSummary> generations;
    for (const QString &name : generationNames(historyFolder))
        generations.append(read(historyFolder + QLatin1Char('/') + name));
    return generations;
}

QStringList
HWCASCMHLGenerationSummary::nestedFolders(const QList<HWCASCMHLGenerationSummary> &generations)
{
    QStringList folders;
    if (generations.isEmpty())
        return folders;
    // "<folder>/ascmhl/<generation>".
    for (const QString &reference : generations.last().references)
        folders.append(hwc_deletingLastPathComponent(hwc_deletingLastPathComponent(reference)));
    return folders;
}
