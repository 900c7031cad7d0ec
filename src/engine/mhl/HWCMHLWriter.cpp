#include "engine/mhl/HWCMHLWriter.h"

#include "HWCBuildInfo.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCUserAccount.h"

#include <QFile>
#include <cerrno>
#include <pugixml.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Local time with a literal Z: other MHL tools expect exactly this text, so it stays.
constexpr QStringView kMHLDateFormat = u"yyyy-MM-dd'T'HH:mm:ss'Z'";

QString mhlDate(const QDateTime &date)
{
    return date.toLocalTime().toString(kMHLDateFormat);
}

QByteArray mhlDateText(const QDateTime &date)
{
    return mhlDate(date).toUtf8();
}

void appendTextElement(pugi::xml_node parent, const char *name, const QByteArray &text)
{
    pugi::xml_node element = parent.append_child(name);
    if (!text.isEmpty())
        element.append_child(pugi::node_pcdata).set_value(text.constData());
}

void appendTextElement(pugi::xml_node parent, const char *name, const QString &text)
{
    appendTextElement(parent, name, text.toUtf8());
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

// A path's text: as it stands when XML can carry it, else percent-encoded (and marked).
QByteArray pathText(const QByteArray &path, bool &encoded)
{
    encoded = hwc_fileNameNeedsEncoding(path);
    return encoded ? hwc_percentEncodedFileName(path) : path;
}

void appendPathElement(pugi::xml_node parent, const char *name, const QByteArray &text,
                       bool encoded)
{
    pugi::xml_node element = parent.append_child(name);
    if (encoded)
        element.append_attribute(kHWCPercentEncodedAttribute).set_value(kHWCPercentEncodedValue);
    if (!text.isEmpty())
        element.append_child(pugi::node_pcdata).set_value(text.constData());
}

void appendPathElement(pugi::xml_node parent, const char *name, const QByteArray &path)
{
    bool encoded = false;
    const QByteArray text = pathText(path, encoded);
    appendPathElement(parent, name, text, encoded);
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

HWCMHLWriter::HWCMHLWriter(const QString &rootPath, const QString &info)
    : m_root(rootPath), m_info(info), m_document(std::make_unique<pugi::xml_document>()),
      m_records(std::make_shared<std::vector<HWCChecksumEntry>>())
{
    m_document->append_child("hashlist").append_attribute("version").set_value("1.1");
    addDeclaration();
    addProductNotes();
    addCreatorInfo();
}

void HWCMHLWriter::addDeclaration()
{
    pugi::xml_node declaration = m_document->prepend_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
}

void HWCMHLWriter::addProductNotes()
{
    pugi::xml_node notes = m_document->document_element().append_child("hashwarden");
    appendPathElement(notes, "rootPath", QFile::encodeName(m_root));
    appendTextElement(notes, "info", m_info);
}

void HWCMHLWriter::addCreatorInfo()
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

HWCMHLWriter::~HWCMHLWriter() = default;

void HWCMHLWriter::addHashForFile(const QByteArray &path, quint64 size,
                                  const QDateTime &modificationDate, const QList<Digest> &digests,
                                  const QDateTime &hashdate)
{
    using Field = HWCChecksumEntry::Field;
    HWCChecksumEntry record;
    bool encoded = false;
    record.set(Field::File, pathText(relativePath(QFile::encodeName(m_root), path), encoded));
    record.setFileEncoded(encoded);
    record.set(Field::Size, QByteArray::number(size));
    record.set(Field::LastModificationDate, mhlDateText(modificationDate));
    for (const auto &[kind, text] : digests)
        record.setDigest(kind.toLatin1(), text.toUtf8());
    record.set(Field::HashDate, mhlDateText(hashdate));
    m_records->push_back(std::move(record));
}

void HWCMHLWriter::appendRecords()
{
    pugi::xml_node root = m_document->document_element();
    for (; m_recordsInDocument < m_records->size(); ++m_recordsInDocument) {
        using Field = HWCChecksumEntry::Field;
        const HWCChecksumEntry &record = (*m_records)[m_recordsInDocument];
        pugi::xml_node hash = root.append_child("hash");
        appendPathElement(hash, "file", record.text(Field::File).toByteArray(),
                          record.isFileEncoded());
        appendTextElement(hash, "size", record.text(Field::Size).toByteArray());
        appendTextElement(hash, "lastmodificationdate",
                          record.text(Field::LastModificationDate).toByteArray());
        for (const QByteArrayView kind : record.digestKinds())
            appendTextElement(hash, kind.toByteArray().constData(),
                              record.digest(kind).toByteArray());
        appendTextElement(hash, "hashdate", record.text(Field::HashDate).toByteArray());
    }
}

void HWCMHLWriter::writeToPath(const QString &directory)
{
    const QString name = QStringLiteral("Hashwarden Media Hash List - %1.mhl")
                             .arg(HWIDateToStringWithTimeValueTransformer::transformedValue(
                                 QDateTime::currentDateTime()));
    const QString path = joinPath(directory, name);

    if (!isReplaceable(path)) {
        HWCLogError(QStringLiteral("Failed to write the xml document to %1: File already exists "
                                   "and can't be replaced by a new file.")
                        .arg(path));
        failWrite(path, QStringLiteral("%1: File exists and is not a regular file").arg(path));
        return;
    }

    appendRecords();
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

void HWCMHLWriter::failWrite(const QString &path, const QString &reason)
{
    HWCLogError(QStringLiteral("Creating an xml document at path: %1").arg(path));
    m_writeError = reason;
}
