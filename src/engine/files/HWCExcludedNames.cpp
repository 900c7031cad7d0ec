#include "engine/files/HWCExcludedNames.h"

#include <QFile>
#include <fnmatch.h>

QStringList HWCExcludedNames::defaultPatterns()
{
    return {QStringLiteral(".DS_Store"), QStringLiteral("._*"), QStringLiteral("Thumbs.db")};
}

HWCExcludedNames::HWCExcludedNames(const QStringList &patterns)
{
    for (const QString &pattern : patterns)
        m_patterns.push_back(QFile::encodeName(pattern));
}

bool HWCExcludedNames::matches(const QByteArray &path) const
{
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    for (const QByteArray &pattern : m_patterns) {
        // A leading dot is matched like any other character: "*" covers ".hidden" too.
        if (fnmatch(pattern.constData(), name.constData(), 0) == 0)
            return true;
    }
    return false;
}
