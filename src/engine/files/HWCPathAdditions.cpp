#include "engine/files/HWCPathAdditions.h"

#include <QList>

namespace {

QStringView withoutTrailingSlashes(const QString &path)
{
    QStringView trimmed(path);
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    return trimmed;
}

} // namespace

QString hwc_lastPathComponent(const QString &path)
{
    const QStringView trimmed = withoutTrailingSlashes(path);
    if (trimmed == QLatin1String("/"))
        return trimmed.toString();
    return trimmed.mid(trimmed.lastIndexOf(QLatin1Char('/')) + 1).toString();
}

QString hwc_deletingLastPathComponent(const QString &path)
{
    const QStringView trimmed = withoutTrailingSlashes(path);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return QStringLiteral("");
    return slash == 0 ? QStringLiteral("/") : trimmed.left(slash).toString();
}

QString hwc_appendingPathComponent(const QString &path, const QString &component)
{
    QString joined = path.isEmpty() ? component : path + QLatin1Char('/') + component;
    while (joined.contains(QLatin1String("//")))
        joined.replace(QLatin1String("//"), QLatin1String("/"));
    return withoutTrailingSlashes(joined).toString();
}

QByteArray hwc_appendingPathComponent(const QByteArray &path, const QByteArray &component)
{
    QByteArray joined = path.isEmpty() ? component : path + '/' + component;
    while (joined.contains("//"))
        joined.replace("//", "/");
    while (joined.size() > 1 && joined.endsWith('/'))
        joined.chop(1);
    return joined;
}

bool hwc_climbsOutOfFolder(const QByteArray &relativePath)
{
    // Called once per listed file: the components are looked at where they lie.
    int depth = 0;
    qsizetype start = 0;
    while (start <= relativePath.size()) {
        qsizetype end = relativePath.indexOf('/', start);
        if (end < 0)
            end = relativePath.size();
        const QByteArrayView component(relativePath.constData() + start, end - start);
        if (component == "..")
            --depth;
        else if (!component.isEmpty() && component != ".")
            ++depth;
        if (depth < 0)
            return true;
        start = end + 1;
    }
    return false;
}
