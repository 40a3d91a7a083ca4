// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlDriver>
#include <QtSql/QSqlResult>

/// One statement that was passed to the driver: its exact text and the values bound to it.
struct RecordedStatement
{
    QString text;
    QStringList
        boundValues; ///< "name type" for each placeholder; "not in" follows unless it is QSql::In
};

/// The query of a RecordingSqlDriver: every prepared statement succeeds and returns no rows.
class RecordingSqlResult : public QSqlResult
{
public:
    RecordingSqlResult(const QSqlDriver *driver, QVector<RecordedStatement> *statements)
        : QSqlResult(driver)
        , m_statements(statements)
    { }

protected:
    bool prepare(const QString &query) override
    {
        m_text = query;
        return QSqlResult::prepare(query);
    }
    bool exec() override
    {
        RecordedStatement statement{m_text, {}};
        for (int index = 0; index < boundValueCount(); ++index) {
            statement.boundValues << boundValueName(index) + QLatin1Char(' ')
                    + QLatin1String(boundValue(index).typeName())
                    + (bindValueType(index) == QSql::In ? QString() : QStringLiteral(" not in"));
        }
        m_statements->append(statement);
        setActive(true);
        return true;
    }
    /// Records a statement that is executed without prepare(), then returns false.
    bool reset(const QString &query) override
    {
        m_statements->append({QStringLiteral("not prepared: ") + query, {}});
        return false;
    }
    QVariant data(int) override { return QVariant(); }
    bool isNull(int) override { return true; }
    bool fetch(int) override { return false; }
    bool fetchFirst() override { return false; }
    bool fetchLast() override { return false; }
    int size() override { return -1; }
    int numRowsAffected() override { return 0; }

private:
    QVector<RecordedStatement> *m_statements;
    QString m_text;
};

/// A database driver that records statements and stores nothing.
class RecordingSqlDriver : public QSqlDriver
{
public:
    explicit RecordingSqlDriver(QVector<RecordedStatement> *statements)
        : m_statements(statements)
    { }
    bool hasFeature(DriverFeature feature) const override { return feature == Transactions; }
    bool beginTransaction() override
    {
        m_statements->append({QStringLiteral("begin"), {}});
        return true;
    }
    bool open(const QString &, const QString &, const QString &, const QString &, int,
              const QString &) override
    {
        setOpen(true);
        setOpenError(false);
        return true;
    }
    void close() override { setOpen(false); }
    QSqlResult *createResult() const override { return new RecordingSqlResult(this, m_statements); }

private:
    QVector<RecordedStatement> *m_statements;
};

/// Replaces the SQLite driver in all connections that are added within the scope.
class RecordingSqlScope
{
public:
    RecordingSqlScope()
    {
        QSqlDatabase::registerSqlDriver(QStringLiteral("QSQLITE"), new Creator(&statements));
    }
    ~RecordingSqlScope() { QSqlDatabase::registerSqlDriver(QStringLiteral("QSQLITE"), nullptr); }
    Q_DISABLE_COPY(RecordingSqlScope)

    QVector<RecordedStatement> statements; ///< of all connections, in order

private:
    class Creator : public QSqlDriverCreatorBase
    {
    public:
        explicit Creator(QVector<RecordedStatement> *statements)
            : m_statements(statements)
        { }
        QSqlDriver *createObject() const override { return new RecordingSqlDriver(m_statements); }

    private:
        QVector<RecordedStatement> *m_statements;
    };
};
