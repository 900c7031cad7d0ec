// The writing side of HWCMediaHashList: building a new list and writing it into a folder.

#include "Classes/HWCLog.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWIDateToStringWithTimeValueTransformer.h"
#include "HWCBuildInfo.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>
#include <pwd.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Local time with a literal Z: other MHL tools expect exactly this text, so it stays.
constexpr QStringView kMHLDateFormat = u"yyyy-MM-dd'T'HH:mm:ss'Z'";
constexpr int kHostNameBufferSize = 1024;

QString mhlDate(const QDateTime &date)
{
    return date.toLocalTime().toString(kMHLDateFormat);
}

void appendTextElement(pugi::xml_node parent, const char *name, const QString &text)
{
    pugi::xml_node element = parent.append_child(name);
    if (!text.isEmpty())
        element.append_child(pugi::node_pcdata).set_value(text.toUtf8().constData());
}

QStringList pathComponents(const QString &path)
{
    QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (path.startsWith(QLatin1Char('/')))
        components.prepend(QStringLiteral("/"));
    return components;
}

// Removal is by value, not by prefix: a folder below the root that shares a name with any
// component of the root disappears too. Lists already in the field were written this way.
QString relativePath(const QString &root, const QString &path)
{
    const QStringList rootComponents = pathComponents(root);
    const QSet<QString> rootNames(rootComponents.begin(), rootComponents.end());
    QStringList remaining;
    for (const QString &component : pathComponents(path)) {
        if (!rootNames.contains(component))
            remaining.append(component);
    }
    return remaining.join(QLatin1Char('/'));
}

QString fullUserName(const passwd *entry)
{
    if (!entry || !entry->pw_gecos)
        return QString();
    const QString gecos = QString::fromLocal8Bit(entry->pw_gecos);
    return gecos.section(QLatin1Char(','), 0, 0);
}

QString hostName()
{
    char buffer[kHostNameBufferSize] = {};
    gethostname(buffer, sizeof buffer - 1);
    buffer[kHostNameBufferSize - 1] = '\0';
    return QString::fromUtf8(buffer);
}

QString joinPath(const QString &directory, const QString &name)
{
    if (directory.isEmpty() || directory.endsWith(QLatin1Char('/')))
        return directory + name;
    return directory + QLatin1Char('/') + name;
}

bool removeExisting(const QString &path)
{
    const QFileInfo existing(path);
    if (!existing.exists() && !existing.isSymLink())
        return true;
    if (existing.isDir() && !existing.isSymLink())
        return QDir(path).removeRecursively();
    return QFile::remove(path);
}

} // namespace

HWCMediaHashList::HWCMediaHashList(const QString &rootPath, const QString &info)
    : m_root(rootPath), m_info(info), m_document(std::make_unique<pugi::xml_document>())
{
    m_document->append_child("hashlist").append_attribute("version").set_value("1.1");
    addDeclaration();
    addProductNotes();
    addCreatorInfo();
}

void HWCMediaHashList::addDeclaration()
{
    pugi::xml_node declaration = m_document->prepend_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
}

void HWCMediaHashList::addProductNotes()
{
    pugi::xml_node notes = m_document->document_element().append_child("hashwarden");
    appendTextElement(notes, "rootPath", m_root);
    appendTextElement(notes, "info", m_info);
}

void HWCMediaHashList::addCreatorInfo()
{
    const passwd *user = getpwuid(getuid());
    pugi::xml_node creator = m_document->document_element().append_child("creatorinfo");
    appendTextElement(creator, "name", fullUserName(user));
    appendTextElement(creator, "username",
                      user ? QString::fromLocal8Bit(user->pw_name) : QString());
    appendTextElement(creator, "hostname", hostName());
    appendTextElement(creator, "tool",
                      QStringLiteral("%1 %2 (Build %3)")
                          .arg(QLatin1String(HWCBuildInfo::kExecutableName),
                               QLatin1String(HWCBuildInfo::kShortVersion),
                               QLatin1String(HWCBuildInfo::kBuildNumber)));
    appendTextElement(creator, "startdate", mhlDate(QDateTime::currentDateTime()));
    appendTextElement(creator, "finishdate", mhlDate(QDateTime::currentDateTime()));
}

void HWCMediaHashList::addHashForFile(const QString &path, quint64 size,
                                      const QDateTime &modificationDate, const QString &xxhash64,
                                      const QDateTime &hashdate)
{
    pugi::xml_node hash = m_document->document_element().append_child("hash");
    appendTextElement(hash, "file", relativePath(m_root, path));
    appendTextElement(hash, "size", QString::number(size));
    appendTextElement(hash, "lastmodificationdate", mhlDate(modificationDate));
    appendTextElement(hash, "xxhash64", xxhash64);
    appendTextElement(hash, "hashdate", mhlDate(hashdate));
}

void HWCMediaHashList::writeToPath(const QString &directory)
{
    const QString name = QStringLiteral("Hashwarden Media Hash List - %1.%2")
                             .arg(HWIDateToStringWithTimeValueTransformer::transformedValue(
                                      QDateTime::currentDateTime()),
                                  extension());
    const QString path = joinPath(directory, name);

    if (!removeExisting(path)) {
        HWCLogError(QStringLiteral("Failed to write the xml document to %1: File already exists "
                                   "and can't be replaced by a new file.")
                        .arg(path));
    }

    std::ostringstream text;
    m_document->save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
    const std::string bytes = text.str();

    // QSaveFile writes a temporary file and renames it over the target only once every
    // byte is on disk, so a failed write never leaves a partial list behind.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size()) || !file.commit()) {
        HWCLogError(QStringLiteral("Creating an xml document at path: %1").arg(path));
        return;
    }

    // Other users and tools on the same media must be able to update the list.
    if (chmod(QFile::encodeName(path).constData(), 0666) != 0) {
        HWCLogError(
            QStringLiteral("Setting File permissions for the MHL file at path: %1").arg(path));
        QFile::remove(path);
        return;
    }
    m_filePath = path;
}
