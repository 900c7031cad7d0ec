#pragma once

// Shared by the verification suites: MHL documents written from digests that independent
// tools computed, scanned sources, and runs of an operation to its end.

#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCSource.h"
#include "Classes/HWCVerificationOperation.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QMap>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>
#include <memory>
#include <tuple>

namespace VerificationFixtures {

// The digest of one file in the text form an MHL holds, computed by the system's tools.
inline QString toolDigest(const QString &kind, const QString &path)
{
    QByteArray output;
    if (kind == QLatin1String("md5"))
        output = TestSupport::runTool(QStringLiteral("md5sum"), {path});
    else if (kind == QLatin1String("sha1"))
        output = TestSupport::runTool(QStringLiteral("sha1sum"), {path});
    else if (kind == QLatin1String("xxhash64"))
        output =
            TestSupport::runTool(QStringLiteral("xxhsum"),
                                 {QStringLiteral("-H1"), QStringLiteral("--little-endian"), path});
    else if (kind == QLatin1String("xxhash")) {
        // An MHL stores XXH32 as a decimal number; xxhsum prints the canonical hex form.
        output = TestSupport::runTool(QStringLiteral("xxhsum"), {QStringLiteral("-H0"), path});
        bool ok = false;
        const quint32 value = output.split(' ').value(0).toUInt(&ok, 16);
        EXPECT_TRUE(ok) << output.toStdString();
        return QString::number(value);
    }
    return QString::fromLatin1(output.split(' ').value(0).trimmed());
}

// One `hash` element: file, size and the given digests, in that order.
inline QString hashElement(const QString &file, qint64 size,
                           const QList<std::pair<QString, QString>> &digests)
{
    QString element = QStringLiteral("  <hash>\n    <file>%1</file>\n    <size>%2</size>\n")
                          .arg(file.toHtmlEscaped(), QString::number(size));
    for (const auto &[kind, value] : digests)
        element += QStringLiteral("    <%1>%2</%1>\n").arg(kind, value);
    return element + QStringLiteral("  </hash>\n");
}

inline void writeMHL(const QString &path, const QStringList &hashElements,
                     const QString &tool = QStringLiteral("Test Writer 1.0"))
{
    QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<hashlist version=\"1.1\">\n  <creatorinfo>\n"
                                  "    <tool>%1</tool>\n  </creatorinfo>\n")
                       .arg(tool);
    text += hashElements.join(QString()) + QStringLiteral("</hashlist>\n");
    TestSupport::writeText(path, text.toUtf8());
}

// A source whose background scan has ended.
inline std::shared_ptr<HWCSource> scannedSource(const QString &path)
{
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
    if (!source) {
        ADD_FAILURE() << "no source for " << path.toStdString();
        return source;
    }
    QSignalSpy scanned(source.get(), &HWCSource::usedSpaceChanged);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return scanned.count() > 0; }));
    return source;
}

// Runs the operation on the calling (main) thread, then delivers what it posted.
inline void runToEnd(HWCVerificationOperation &operation)
{
    operation.start();
    QCoreApplication::sendPostedEvents();
}

// A record reduced to what a test compares: root, relative path, state, bytes.
using Record = std::tuple<QString, QString, HWCFileState, quint64>;

inline QList<Record> records(const QList<HWCVerifiedFile> &files)
{
    QList<Record> reduced;
    for (const HWCVerifiedFile &file : files)
        reduced.append(
            {file.rootPath(), file.relativePath(), file.verifiedFileState(), file.bytes()});
    return reduced;
}

} // namespace VerificationFixtures

// Readable failures: gtest finds this through the argument's (global) namespace.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
