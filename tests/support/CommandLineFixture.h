#pragma once

#include "cli/HWCCommandLine.h"
#include "engine/session/HWCLog.h"
#include "support/VerificationFixtures.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <cstdio>
#include <functional>
#include <unistd.h>

// What the command-line suites share: running the command in-process or as the real
// executable, the documented JSON, and a card of three listed clips.
namespace CommandLineFixtures {

using namespace VerificationFixtures;

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// What docs/json.md documents, read from it so that the two cannot drift: per object each
// field's type and whether it is always there ("" when only when known), per code table the
// names.
struct JsonSchema {
    QHash<QString, QHash<QString, std::pair<QString, bool>>> objects;
    QHash<QString, QHash<qint64, QString>> codes;

    JsonSchema()
    {
        const QRegularExpression field(R"(^\| `(\w+)` \| ([\w ]+) \| (always|when known) \|)");
        const QRegularExpression code(R"(^\| (\d+) \| ([^|]+) \|)");
        QString table;
        for (const QString &line :
             QString::fromUtf8(TestSupport::readFile(HWC_SOURCE_DIR "/docs/json.md")).split('\n')) {
            if (line.startsWith("### "))
                table = line.mid(4);
            if (const auto match = field.match(line); match.hasMatch())
                objects[table][match.captured(1)] = {match.captured(2),
                                                     match.captured(3) == "always"};
            else if (const auto match = code.match(line); match.hasMatch())
                codes[table][match.captured(1).toLongLong()] = match.captured(2).trimmed();
        }
    }

    void expectObject(const QString &name, const QJsonObject &object, const QString &where) const
    {
        const auto fields = objects.value(name);
        ASSERT_FALSE(fields.isEmpty()) << "no table for " << name.toStdString();
        for (auto it = fields.begin(); it != fields.end(); ++it)
            EXPECT_TRUE(!it->second || object.contains(it.key()))
                << (where + it.key()).toStdString();
        for (auto it = object.begin(); it != object.end(); ++it) {
            EXPECT_TRUE(fields.contains(it.key()))
                << "undocumented " << (where + it.key()).toStdString();
            expectValue(fields.value(it.key()).first, *it, where + it.key());
        }
        if (name != "Record" && name != "Source")
            return;
        const QString table = name == "Record" ? "File state codes" : "Operation state codes";
        const qint64 state = object["stateCode"].toInteger(-1);
        EXPECT_TRUE(codes[table].contains(state)) << (where + "stateCode").toStdString();
        EXPECT_TRUE(name == "Source" || codes[table][state] == object["state"].toString());
    }

    void expectValue(const QString &type, const QJsonValue &value, const QString &where) const
    {
        const QHash<QString, bool> plain = {{"string", value.isString()},
                                            {"number", value.isDouble()},
                                            {"boolean", value.isBool()}};
        if (plain.contains(type))
            EXPECT_TRUE(plain[type]) << where.toStdString() << " is not a " << type.toStdString();
        else if (!type.startsWith("array of"))
            expectObject(type, value.toObject(), where + ".");
        for (const QJsonValue &element : value.toArray())
            expectValue(type.mid(9), element, where + "[]");
        EXPECT_EQ(value.isArray(), type.startsWith("array of")) << where.toStdString();
    }

    // The whole output of one run: a single documented JSON document.
    void expectDocument(const QByteArray &out, int exitCode,
                        const QString &object = "Document") const
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(out, &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << out.toStdString();
        expectObject(object, document.object(), "");
        EXPECT_EQ(document["exitCode"].toInt(exitCode), exitCode);
        EXPECT_EQ(document["schemaVersion"].toInt(), 1);
    }
};

class HWCCommandLineTest : public VerificationTest {
protected:
    // Runs the command line in this process, its standard output and error sent to files.
    Result run(const QStringList &arguments) const
    {
        QTemporaryFile out, err;
        if (!out.open() || !err.open()) {
            ADD_FAILURE() << "no temporary files";
            return {};
        }
        std::fflush(stdout);
        std::fflush(stderr);
        const int savedOut = dup(STDOUT_FILENO), savedErr = dup(STDERR_FILENO);
        dup2(out.handle(), STDOUT_FILENO);
        dup2(err.handle(), STDERR_FILENO);
        const int exitCode = HWCCommandLine::execute(QStringList{"hashwarden"} + arguments);
        HWCLog::flush();
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(savedOut, STDOUT_FILENO);
        dup2(savedErr, STDERR_FILENO);
        close(savedOut);
        close(savedErr);
        return {exitCode, TestSupport::readFile(out.fileName()),
                TestSupport::readFile(err.fileName())};
    }

    // Runs the real executable: for a file-size limit or an environment that would also
    // reach the test process; with a wrapper (a program and its arguments), through it;
    // inChild first in its process. Killed by a signal, it gives -1.
    Result runOutside(const QStringList &arguments, const QStringList &environment = {},
                      QStringList wrapper = {}, const std::function<void()> &inChild = {}) const
    {
        QProcess process;
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString &variable : environment)
            variables.insert(variable.section('=', 0, 0), variable.section('=', 1));
        process.setProcessEnvironment(variables);
        if (inChild)
            process.setChildProcessModifier(inChild);
        wrapper.append(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE));
        process.start(wrapper.first(), wrapper.mid(1) + arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError()};
    }

    // Three listed clips; with damage, clip2 changed and clip3 removed after the listing.
    QString clips(const QString &name, bool damage = false)
    {
        const QString folder = listedFolder(path(name), {"clip1.mov", "clip2.mov", "clip3.mov"});
        if (damage) {
            TestSupport::writeFile(folder + "/clip2.mov", 100000, 77);
            QFile::remove(folder + "/clip3.mov");
        }
        return folder;
    }
};

} // namespace CommandLineFixtures
