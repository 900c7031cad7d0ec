#include "engine/history/HWCSqlStatement.h"

#include <sqlite3.h>

HWCSqlStatement::HWCSqlStatement(sqlite3 *database, const char *sql)
    : m_result(sqlite3_prepare_v2(database, sql, -1, &m_statement, nullptr))
{
}

HWCSqlStatement::~HWCSqlStatement()
{
    sqlite3_finalize(m_statement);
}

void HWCSqlStatement::reset()
{
    // A statement that could not be prepared keeps its error.
    if (!m_statement)
        return;
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
    m_nextParameter = 1;
    m_result = SQLITE_OK;
}

HWCSqlStatement &HWCSqlStatement::bind(const QString &text)
{
    if (text.isNull()) {
        sqlite3_bind_null(m_statement, m_nextParameter++);
        return *this;
    }
    const QByteArray bytes = text.toUtf8();
    sqlite3_bind_text(m_statement, m_nextParameter++, bytes.constData(), int(bytes.size()),
                      SQLITE_TRANSIENT);
    return *this;
}

HWCSqlStatement &HWCSqlStatement::bindInPlace(const QByteArray &utf8)
{
    if (utf8.isNull())
        sqlite3_bind_null(m_statement, m_nextParameter++);
    else
        sqlite3_bind_text(m_statement, m_nextParameter++, utf8.constData(), int(utf8.size()),
                          SQLITE_STATIC);
    return *this;
}

HWCSqlStatement &HWCSqlStatement::bind(qint64 number)
{
    sqlite3_bind_int64(m_statement, m_nextParameter++, number);
    return *this;
}

HWCSqlStatement &HWCSqlStatement::bind(double number)
{
    sqlite3_bind_double(m_statement, m_nextParameter++, number);
    return *this;
}

HWCSqlStatement &HWCSqlStatement::bind(std::optional<quint64> number)
{
    if (number)
        return bind(qint64(*number));
    sqlite3_bind_null(m_statement, m_nextParameter++);
    return *this;
}

bool HWCSqlStatement::next()
{
    // A statement that could not be prepared keeps its error.
    if (m_result != SQLITE_OK && m_result != SQLITE_ROW)
        return false;
    m_result = sqlite3_step(m_statement);
    return m_result == SQLITE_ROW;
}

bool HWCSqlStatement::succeeded() const
{
    return m_result == SQLITE_DONE || m_result == SQLITE_ROW;
}

bool HWCSqlStatement::run()
{
    while (next()) {
    }
    return succeeded();
}

QString HWCSqlStatement::text(int column) const
{
    const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
    return bytes ? QString::fromUtf8(bytes, sqlite3_column_bytes(m_statement, column)) : QString();
}

qint64 HWCSqlStatement::number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

bool HWCSqlStatement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}
