#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// One prepared SQLite statement, finalised when it goes out of scope. Parameters are bound
// in order from 1. The thread of its database.
class HWCSqlStatement {
public:
    HWCSqlStatement(sqlite3 *database, const char *sql);
    ~HWCSqlStatement();
    HWCSqlStatement(const HWCSqlStatement &) = delete;
    HWCSqlStatement &operator=(const HWCSqlStatement &) = delete;

    // Makes it ready to run again, its parameters unbound.
    void reset();

    HWCSqlStatement &bind(const QString &text); // a null text binds NULL
    // Binds UTF-8 text in place, without a copy: its bytes must stay as they are until the
    // statement is reset. A null array binds NULL.
    HWCSqlStatement &bindInPlace(const QByteArray &utf8);
    HWCSqlStatement &bind(qint64 number);
    HWCSqlStatement &bind(double number);
    HWCSqlStatement &bind(std::optional<quint64> number); // nullopt binds NULL

    // Runs it up to the next row: true while there is one. Done or failed: false; then
    // succeeded() tells which.
    bool next();
    bool succeeded() const;
    // next() until it is done; false when it failed.
    bool run();

    QString text(int column) const;
    qint64 number(int column) const;
    bool isNull(int column) const;

private:
    sqlite3_stmt *m_statement = nullptr;
    int m_result;
    int m_nextParameter = 1;
};
