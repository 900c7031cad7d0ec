#include "engine/ascmhl/HWCASCMHLManifest.h"

#include "HWCBuildInfo.h"
#include "engine/ascmhl/HWCASCMHLDigests.h"
#include "engine/session/HWCUserAccount.h"

#include <QFileInfo>
#include <algorithm>

namespace {

void setText(pugi::xml_node element, const QString &text)
{
    element.append_child(pugi::node_pcdata).set_value(text.toUtf8().constData());
}

pugi::xml_node appendText(pugi::xml_node parent, const char *name, const QString &text)
{
    pugi::xml_node element = parent.append_child(name);
    setText(element, text);
    return element;
}

void appendIfSet(pugi::xml_node element, const char *name, const QString &value)
{
    if (!value.isEmpty())
        element.append_attribute(name).set_value(value.toUtf8().constData());
}

struct ByteWriter : pugi::xml_writer {
    void write(const void *data, size_t size) override
    {
        bytes.append(static_cast<const char *>(data), qsizetype(size));
    }
    QByteArray bytes;
};

void appendCreatorInfo(pugi::xml_node hashlist, const QDateTime &created,
                       const HWCASCMHLSettings &settings)
{
    pugi::xml_node creator = hashlist.append_child("creatorinfo");
    appendText(creator, "creationdate", HWCASCMHLManifest::dateText(created));
    appendText(creator, "hostname", HWCUserAccount::current().hostName);
    pugi::xml_node tool =
        appendText(creator, "tool", QString::fromLatin1(HWCBuildInfo::kExecutableName));
    tool.append_attribute("version").set_value(HWCBuildInfo::kShortVersion);
    if (!settings.authorName.isEmpty()) {
        pugi::xml_node author = appendText(creator, "author", settings.authorName);
        appendIfSet(author, "email", settings.authorEmail);
        appendIfSet(author, "phone", settings.authorPhone);
        appendIfSet(author, "role", settings.authorRole);
    }
    if (!settings.location.isEmpty())
        appendText(creator, "location", settings.location);
    if (!settings.comment.isEmpty())
        appendText(creator, "comment", settings.comment);
}

} // namespace

HWCASCMHLManifest::HWCASCMHLManifest(const QString &process, const QDateTime &created,
                                     const HWCASCMHLSettings &settings)
    : m_document(std::make_unique<pugi::xml_document>())
{
    pugi::xml_node declaration = m_document->append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    m_root = m_document->append_child("hashlist");
    m_root.append_attribute("version").set_value("2.0");
    m_root.append_attribute("xmlns").set_value("urn:ASC:MHL:v2.0");
    appendCreatorInfo(m_root, created, settings);
    m_process = m_root.append_child("processinfo");
    appendText(m_process, "process", process);
}

HWCASCMHLManifest::~HWCASCMHLManifest() = default;

QString HWCASCMHLManifest::dateText(const QDateTime &date)
{
    const QDateTime local = date.toLocalTime();
    const QDateTime offset = local.toOffsetFromUtc(local.offsetFromUtc());
    // Qt writes "Z" for a zero offset only with UTC; an explicit offset always has digits.
    return offset.toString(Qt::ISODate);
}

void HWCASCMHLManifest::setIgnorePatterns(const QStringList &patterns)
{
    m_process.remove_child("ignore");
    pugi::xml_node ignore = m_process.append_child("ignore");
    for (const QString &pattern : patterns)
        appendText(ignore, "pattern", pattern);
}

void HWCASCMHLManifest::setRootHash(const HWCASCMHLDirectoryHashes::Folder &root,
                                    const QDateTime &hashdate)
{
    m_process.remove_child("roothash");
    pugi::xml_node roothash = m_process.insert_child_after("roothash", m_process.child("process"));
    appendHashes(roothash.append_child("content"), root.content, hashdate);
    appendHashes(roothash.append_child("structure"), root.structure, hashdate);
}

void HWCASCMHLManifest::addFile(const QString &path, quint64 size, const QDateTime &modified,
                                QList<Digest> digests, const QDateTime &hashdate,
                                const QString &previousPath)
{
    pugi::xml_node hash = hashes().append_child("hash");
    pugi::xml_node pathElement = appendText(hash, "path", path);
    pathElement.append_attribute("size").set_value(QString::number(size).toLatin1().constData());
    if (modified.isValid())
        pathElement.append_attribute("lastmodificationdate")
            .set_value(dateText(modified).toLatin1().constData());
    const QStringList &order = HWCASCMHLDigests::elements();
    std::stable_sort(digests.begin(), digests.end(), [&](const Digest &a, const Digest &b) {
        return order.indexOf(a.element) < order.indexOf(b.element);
    });
    const QByteArray date = dateText(hashdate).toLatin1();
    for (const Digest &digest : digests) {
        pugi::xml_node element =
            appendText(hash, digest.element.toLatin1().constData(), digest.text);
        element.append_attribute("action").set_value(digest.action.toLatin1().constData());
        element.append_attribute("hashdate")
            .set_value(digest.hashdate.isEmpty() ? date.constData()
                                                 : digest.hashdate.toUtf8().constData());
    }
    if (!previousPath.isEmpty())
        appendText(hash, "previousPath", previousPath);
}

void HWCASCMHLManifest::addFolder(const HWCASCMHLDirectoryHashes::Folder &folder,
                                  const QDateTime &modified, const QDateTime &hashdate)
{
    pugi::xml_node hash = hashes().append_child("directoryhash");
    pugi::xml_node path = appendText(hash, "path", folder.path);
    if (modified.isValid())
        path.append_attribute("lastmodificationdate")
            .set_value(dateText(modified).toLatin1().constData());
    appendHashes(hash.append_child("content"), folder.content, hashdate);
    appendHashes(hash.append_child("structure"), folder.structure, hashdate);
}

void HWCASCMHLManifest::addDirectoryHashes(const QList<HWCASCMHLDirectoryHashes::Folder> &folders,
                                           const QString &root, const QDateTime &hashdate)
{
    for (const HWCASCMHLDirectoryHashes::Folder &folder : folders) {
        // A folder above a nested history without a root hash of these kinds has none.
        if (folder.content.isEmpty())
            continue;
        if (folder.path.isEmpty())
            setRootHash(folder, hashdate);
        else
            addFolder(folder, QFileInfo(root + QLatin1Char('/') + folder.path).lastModified(),
                      hashdate);
    }
}

void HWCASCMHLManifest::addReference(const QString &path, const QString &c4)
{
    if (!m_references)
        m_references = m_root.append_child("references");
    pugi::xml_node reference = m_references.append_child("hashlistreference");
    appendText(reference, "path", path);
    appendText(reference, "c4", c4);
}

bool HWCASCMHLManifest::isEmpty() const
{
    return !m_hashes && !m_references;
}

QByteArray HWCASCMHLManifest::bytes() const
{
    ByteWriter writer;
    m_document->save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
    return writer.bytes;
}

pugi::xml_node HWCASCMHLManifest::hashes()
{
    // The schema puts the hashes before the references.
    if (!m_hashes)
        m_hashes = m_references ? m_root.insert_child_before("hashes", m_references)
                                : m_root.append_child("hashes");
    return m_hashes;
}

void HWCASCMHLManifest::appendHashes(pugi::xml_node parent,
                                     const HWCASCMHLDirectoryHashes::Values &values,
                                     const QDateTime &hashdate)
{
    const QByteArray date = dateText(hashdate).toLatin1();
    for (const QString &element : HWCASCMHLDigests::elements()) {
        if (!values.contains(element))
            continue;
        pugi::xml_node hash =
            appendText(parent, element.toLatin1().constData(), values.value(element));
        hash.append_attribute("hashdate").set_value(date.constData());
    }
}
