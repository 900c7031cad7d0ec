#include "engine/ascmhl/HWCIgnorePatterns.h"

namespace {

// The line without the spaces it ends with, unless a backslash keeps the last one.
QString withoutTrailingSpaces(QString line)
{
    while (line.endsWith(QLatin1Char(' ')) && !line.endsWith(QLatin1String("\\ ")))
        line.chop(1);
    return line;
}

// One path component: a backslash makes the next character literal, the rest is a shell
// wildcard in which "*" and "?" never match "/".
QString componentExpression(const QString &component)
{
    QString expression;
    QString wildcard;
    for (qsizetype i = 0; i < component.size(); ++i) {
        if (component[i] != QLatin1Char('\\') || i + 1 == component.size()) {
            wildcard += component[i];
            continue;
        }
        expression += QRegularExpression::wildcardToRegularExpression(
                          wildcard, QRegularExpression::UnanchoredWildcardConversion) +
                      QRegularExpression::escape(QString(component[++i]));
        wildcard.clear();
    }
    return expression + QRegularExpression::wildcardToRegularExpression(
                            wildcard, QRegularExpression::UnanchoredWildcardConversion);
}

// The whole pattern, "**" components included: a leading or inner "**/" stands for any
// number of folders, a trailing "/**" for everything inside.
QString pathExpression(const QStringList &components)
{
    QString expression;
    for (qsizetype i = 0; i < components.size(); ++i) {
        const bool last = i + 1 == components.size();
        if (components[i] == QLatin1String("**"))
            expression += last ? QStringLiteral(".*") : QStringLiteral("(?:.*/)?");
        else
            expression += componentExpression(components[i]) + (last ? "" : "/");
    }
    return expression;
}

} // namespace

HWCIgnorePatterns::HWCIgnorePatterns(const QStringList &lines)
{
    for (const QString &line : lines) {
        QString text = withoutTrailingSpaces(line);
        if (text.isEmpty() || text.startsWith(QLatin1Char('#')))
            continue;
        Pattern pattern;
        pattern.negated = text.startsWith(QLatin1Char('!'));
        if (pattern.negated)
            text.remove(0, 1);
        pattern.foldersOnly = text.endsWith(QLatin1Char('/'));
        if (pattern.foldersOnly)
            text.chop(1);
        // A "/" before the end ties the pattern to the root; otherwise it matches at any depth.
        const bool anchored = text.contains(QLatin1Char('/'));
        if (text.startsWith(QLatin1Char('/')))
            text.remove(0, 1);
        if (text.isEmpty())
            continue;
        const QString prefix = anchored ? QString() : QStringLiteral("(?:.*/)?");
        pattern.expression = QRegularExpression(QRegularExpression::anchoredPattern(
            prefix + pathExpression(text.split(QLatin1Char('/')))));
        m_patterns.push_back(std::move(pattern));
    }
}

bool HWCIgnorePatterns::matches(const QString &relativePath) const
{
    for (qsizetype slash = relativePath.indexOf(QLatin1Char('/')); slash >= 0;
         slash = relativePath.indexOf(QLatin1Char('/'), slash + 1)) {
        if (decides(relativePath.left(slash), true))
            return true;
    }
    return decides(relativePath, false);
}

bool HWCIgnorePatterns::decides(const QString &path, bool isFolder) const
{
    bool ignored = false;
    for (const Pattern &pattern : m_patterns) {
        if ((isFolder || !pattern.foldersOnly) && pattern.expression.match(path).hasMatch())
            ignored = !pattern.negated;
    }
    return ignored;
}
