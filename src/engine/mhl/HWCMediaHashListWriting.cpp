// The writing side of HWCMediaHashList: building a new list and writing it into a folder.

#include "HWCBuildInfo.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCUserAccount.h"

#include <QFile>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Local time with a literal Z: other MHL tools expect exactly this text, so it stays.
constexpr QStringView kMHLDateFormat = u"yyyy-MM-dd'T'HH:mm:ss'Z'";

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

// What follows the root in path, without a leading "/": the path below the root, always.
// (Lists written earlier dropped every component named like one of the root's.)
QByteArray relativePath(const QByteArray &root, const QByteArray &path)
{
    QByteArray prefix = root;
    while (prefix.endsWith('/'))
        prefix.chop(1);
    QByteArray relative = path.startsWith(prefix + '/') ? path.mid(prefix.size()) : path;
    while (relative.startsWith('/'))
        relative.remove(0, 1);
    return relative;
}

// A path element: as it stands when XML can carry it, else percent-encoded and marked.
void appendPathElement(pugi::xml_node parent, const char *name, const QByteArray &path)
{
    pugi::xml_node element = parent.append_child(name);
    QByteArray text = path;
    if (hwc_fileNameNeedsEncoding(path)) {
        element.append_attribute(kHWCPercentEncodedAttribute).set_value(kHWCPercentEncodedValue);
        text = hwc_percentEncodedFileName(path);
    }
    if (!text.isEmpty())
        element.append_child(pugi::node_pcdata).set_value(text.constData());
}

QString joinPath(const QString &directory, const QString &name)
{
    if (directory.isEmpty() || directory.endsWith(QLatin1Char('/')))
        return directory + name;
    return directory + QLatin1Char('/') + name;
}

struct ByteWriter : pugi::xml_writer {
    void write(const void *data, size_t size) override
    {
        bytes.append(static_cast<const char *>(data), qsizetype(size));
    }
    QByteArray bytes;
};

// A regular file or a symbolic link at the name makes the list take the next free name;
// anything else there means something is wrong with the folder, and the write does not happen.
bool isReplaceable(const QString &path)
{
    struct stat status;
    if (lstat(QFile::encodeName(path).constData(), &status) != 0)
        return true;
    return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
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
    appendPathElement(notes, "rootPath", QFile::encodeName(m_root));
    appendTextElement(notes, "info", m_info);
}

void HWCMediaHashList::addCreatorInfo()
{
    const HWCUserAccount user = HWCUserAccount::current();
    pugi::xml_node creator = m_document->document_element().append_child("creatorinfo");
    appendTextElement(creator, "name", user.fullName);
    appendTextElement(creator, "username", user.loginName);
    appendTextElement(creator, "hostname", user.hostName);
    appendTextElement(creator, "tool",
                      QStringLiteral("%1 %2 (Build %3)")
                          .arg(QLatin1String(HWCBuildInfo::kExecutableName),
                               QLatin1String(HWCBuildInfo::kShortVersion),
                               QLatin1String(HWCBuildInfo::kBuildNumber)));
    appendTextElement(creator, "startdate", mhlDate(QDateTime::currentDateTime()));
    appendTextElement(creator, "finishdate", mhlDate(QDateTime::currentDateTime()));
}

void HWCMediaHashList::addHashForFile(const QByteArray &path, quint64 size,
                                      const QDateTime &modificationDate,
                                      const QList<Digest> &digests, const QDateTime &hashdate)
{
    pugi::xml_node hash = m_document->document_element().append_child("hash");
    appendPathElement(hash, "file", relativePath(QFile::encodeName(m_root), path));
    appendTextElement(hash, "size", QString::number(size));
    appendTextElement(hash, "lastmodificationdate", mhlDate(modificationDate));
    for (const auto &[kind, text] : digests)
        appendTextElement(hash, kind.toLatin1().constData(), text);
    appendTextElement(hash, "hashdate", mhlDate(hashdate));
}

void HWCMediaHashList::writeToPath(const QString &directory)
{
    const QString name = QStringLiteral("Hashwarden Media Hash List - %1.%2")
                             .arg(HWIDateToStringWithTimeValueTransformer::transformedValue(
                                      QDateTime::currentDateTime()),
                                  extension());
    const QString path = joinPath(directory, name);

    if (!isReplaceable(path)) {
        HWCLogError(QStringLiteral("Failed to write the xml document to %1: File already exists "
                                   "and can't be replaced by a new file.")
                        .arg(path));
        failWrite(path, QStringLiteral("%1: File exists and is not a regular file").arg(path));
        return;
    }

    ByteWriter text;
    m_document->save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
    // Other users and tools on the same media must be able to update the list.
    const HWCNewFile written = hwc_writeNewFile(directory, name, text.bytes, 0666);
    if (written.path.isNull()) {
        failWrite(path, QStringLiteral("%1: %2").arg(path, written.error));
        return;
    }
    m_filePath = written.path;
    if (!written.syncError.isNull()) {
        HWCLogError(QStringLiteral("Syncing the folder of the MHL file at path: %1: %2")
                        .arg(written.path, written.syncError));
        m_syncError = written.syncError;
    }
}

void HWCMediaHashList::failWrite(const QString &path, const QString &reason)
{
    HWCLogError(QStringLiteral("Creating an xml document at path: %1").arg(path));
    m_writeError = reason;
}
