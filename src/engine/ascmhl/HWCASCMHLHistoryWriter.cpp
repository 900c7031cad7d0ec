#include "engine/ascmhl/HWCASCMHLHistoryWriter.h"

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/digests/HWCChecksumC4.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/session/HWCLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

struct ByteWriter : pugi::xml_writer {
    void write(const void *data, size_t size) override
    {
        bytes.append(static_cast<const char *>(data), qsizetype(size));
    }
    QByteArray bytes;
};

QString systemError(int error)
{
    return QString::fromLocal8Bit(strerror(error));
}

QString c4Identifier(const QByteArray &bytes)
{
    HWCChecksumC4 c4;
    c4.reset();
    c4.updateWithBytes(bytes.constData(), quint64(bytes.size()));
    return c4.identifier();
}

} // namespace

HWCASCMHLHistoryWriter::HWCASCMHLHistoryWriter(const QString &root)
    : m_root(root), m_folder(hwc_appendingPathComponent(
                        root, QString::fromLatin1(HWCASCMHLHistory::kFolderName))),
      m_chainPath(hwc_appendingPathComponent(m_folder,
                                             QString::fromLatin1(HWCASCMHLHistory::kChainFileName)))
{
}

HWCASCMHLHistoryWriter::~HWCASCMHLHistoryWriter()
{
    if (m_madeFolder && m_path.isNull())
        QDir().rmdir(m_folder);
}

bool HWCASCMHLHistoryWriter::fail(const QString &path, const QString &reason)
{
    m_error = QStringLiteral("%1: %2").arg(path, reason);
    HWCLogError(QStringLiteral("Writing the ASC MHL history %1").arg(m_error));
    return false;
}

bool HWCASCMHLHistoryWriter::open()
{
    const QByteArray folder = QFile::encodeName(m_folder);
    m_existed = QFileInfo(m_folder).isDir();
    if (!m_existed) {
        if (mkdir(folder.constData(), 0777) != 0)
            return fail(m_folder, systemError(errno));
        m_madeFolder = true;
    }
    m_lock = std::make_unique<HWCFileDescriptor>(
        ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (m_lock->get() < 0)
        return fail(m_folder, systemError(errno));
    // A file system without locks (EINVAL, ENOLCK) is written to unguarded.
    if (flock(m_lock->get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return fail(m_folder, QStringLiteral("another run is writing this history"));
    return checkHistory() && readChain();
}

bool HWCASCMHLHistoryWriter::checkHistory()
{
    if (!m_existed)
        return true;
    const QStringList manifests =
        QDir(m_folder).entryList({QStringLiteral("*.mhl")}, QDir::Files | QDir::Hidden);
    if (manifests.isEmpty() && !QFileInfo::exists(m_chainPath))
        return true;
    const HWCASCMHLHistory history(m_folder);
    if (!history.problem().isEmpty())
        return fail(m_folder, history.problem());
    if (!history.manifestRecords().isEmpty()) {
        const HWCASCMHLHistory::ManifestRecord &record = history.manifestRecords().first();
        return fail(m_folder, QStringLiteral("is damaged (%1 fails its check) and is not "
                                             "appended to")
                                  .arg(record.relativePath));
    }
    return true;
}

bool HWCASCMHLHistoryWriter::readChain()
{
    m_chain = std::make_unique<pugi::xml_document>();
    if (!QFileInfo::exists(m_chainPath)) {
        pugi::xml_node declaration = m_chain->append_child(pugi::node_declaration);
        declaration.append_attribute("version").set_value("1.0");
        declaration.append_attribute("encoding").set_value("UTF-8");
        m_chain->append_child("ascmhldirectory")
            .append_attribute("xmlns")
            .set_value("urn:ASC:MHL:DIRECTORY:v2.0");
        return true;
    }
    if (!m_chain->load_file(QFile::encodeName(m_chainPath).constData(),
                            pugi::parse_default | pugi::parse_declaration))
        return fail(m_chainPath, QStringLiteral("is not well-formed XML"));
    for (const pugi::xml_node &entry :
         hwc_childrenWithLocalName(m_chain->document_element(), "hashlist"))
        m_sequence = std::max(m_sequence, entry.attribute("sequencenr").as_int() + 1);
    return true;
}

bool HWCASCMHLHistoryWriter::append(const QByteArray &manifest, const QDateTime &created)
{
    const QString name = QStringLiteral("%1_%2_%3Z.mhl")
                             .arg(m_sequence, 4, 10, QLatin1Char('0'))
                             .arg(hwc_lastPathComponent(m_root),
                                  created.toUTC().toString(QStringLiteral("yyyy-MM-dd_HHmmss")));
    // Other users and tools on the same media must be able to add generations.
    const HWCNewFile written = hwc_writeNewFile(m_folder, name, manifest, 0666);
    if (written.path.isNull())
        return fail(hwc_appendingPathComponent(m_folder, name), written.error);

    pugi::xml_node entry = m_chain->document_element().append_child("hashlist");
    entry.append_attribute("sequencenr").set_value(m_sequence);
    entry.append_child("path")
        .append_child(pugi::node_pcdata)
        .set_value(QFile::encodeName(hwc_lastPathComponent(written.path)).constData());
    entry.append_child("c4")
        .append_child(pugi::node_pcdata)
        .set_value(c4Identifier(manifest).toLatin1().constData());
    ByteWriter chain;
    m_chain->save(chain, "  ", pugi::format_indent, pugi::encoding_utf8);
    QString why;
    if (!hwc_writeFileAtomically(m_chainPath, chain.bytes, &why)) {
        m_chain->document_element().remove_child(entry);
        QFile::remove(written.path);
        return fail(m_chainPath, why);
    }
    ++m_sequence;
    m_path = written.path;
    m_syncError = written.syncError;
    return true;
}
