#include "work_statements.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlRecord>

#include "data_log.h"
#include "sql_text.h"
#include "sqlite_connection.h"

namespace {

// On a full disk every statement of a long list fails.
constexpr int kMostLogged = 20;

/// "1 statement", "2 statements".
QString countOf(int count, const char* what) {
    return QStringLiteral("%1 %2").arg(QString::number(count), QLatin1String(what)) +
           QLatin1String(count == 1 ? "" : "s");
}

}  // namespace

WorkStatements::WorkStatements(const SqliteConnection& connection, const QString& file)
    : m_file(file), m_query(QSqlDatabase::database(connection.name(), false)) {
    m_query.setForwardOnly(true);
}

/// Executes a statement as it stands; on failure m_fault and m_reason say why.
bool WorkStatements::command(const QString& sql) {
    m_fault = DatabaseFault();
    m_reason.clear();
    if (m_query.exec(sql)) {
        return true;
    }
    const QSqlError error = m_query.lastError();
    m_fault = DatabaseFault::of(error, m_file);
    if (m_fault.kind != DatabaseFault::Kind::Other) {
        m_reason = QStringLiteral("the file ") + m_fault.text;
    } else {
        // What is wrong with the statement is not the file's fault. Qt refuses some texts itself.
        m_reason = error.driverText() + QStringLiteral(": ") + error.databaseText();
    }
    return false;
}

/// Executes a text of one statement to its end.
bool WorkStatements::executeOne(const QString& statement) {
    const SqlText text = SqlText::read(statement);
    if (!text.refusal.isEmpty()) {
        m_fault = {DatabaseFault::Kind::Other, text.refusal};
        m_reason = text.refusal;
        return false;
    }
    const bool done = command(text.statement);
    m_query.finish();
    return done;
}

bool WorkStatements::execute(const QStringList& statements, int index) {
    if (executeOne(statements.at(index))) {
        return true;
    }
    logLost(statements, index, m_reason);
    return false;
}

/// The changes since the connection was opened, without those that a failed statement took back.
/// QSqlQuery::numRowsAffected() would count the statement before when one changes no rows at all.
int WorkStatements::totalChanges() {
    const bool read = command(QStringLiteral("SELECT total_changes()")) && m_query.next();
    const int changes = read ? m_query.value(0).toInt() : 0;
    m_query.finish();
    return changes;
}

/// Whether SQLite has ended the transaction on its own: then another one can begin.
bool WorkStatements::hasBeenRolledBack() {
    const bool begun = command(QStringLiteral("BEGIN"));
    if (begun) {
        command(QStringLiteral("ROLLBACK"));
    }
    return begun;
}

int WorkStatements::updateAll(const QStringList& statements) {
    if (statements.isEmpty()) {
        return 0;
    }
    // At once for writing: a transaction that begins with reading fails when another one has
    // written before it does, without waiting.
    if (!command(QStringLiteral("BEGIN IMMEDIATE"))) {
        const int lost = statements.size();
        logFault(countOf(lost, "statement") + QLatin1String(lost == 1 ? " is lost" : " are lost"));
        return 0;
    }
    const int before = totalChanges();
    QVector<int> executed;
    executed.reserve(statements.size());
    for (int i = 0; i < statements.size(); ++i) {
        if (execute(statements, i)) {
            executed.append(i);
        } else if (hasBeenRolledBack()) {
            for (int later = i + 1; later < statements.size(); ++later) {
                executed.append(later);
            }
            return executeOneByOne(statements, executed);
        }
    }
    const int changed = totalChanges() - before;
    if (!command(QStringLiteral("COMMIT"))) {
        logFault(QStringLiteral("the transaction was not committed"));
        command(QStringLiteral("ROLLBACK"));
        return executeOneByOne(statements, executed);
    }
    logLeftOut(statements.size());
    return changed;
}

int WorkStatements::executeOneByOne(const QStringList& statements, const QVector<int>& indexes) {
    qCWarning(lcPlatformData).noquote()
        << "the work database" << m_file << "took a transaction back;"
        << countOf(indexes.size(), "other statement") << "to be executed one by one";
    const int before = totalChanges();
    for (int i = 0; i < indexes.size(); ++i) {
        const bool done = execute(statements, indexes.at(i));
        if (!done && m_fault.kind == DatabaseFault::Kind::Busy) {
            // Each of the others would wait just as long.
            const int untried = indexes.size() - i - 1;
            m_lost += untried;
            if (untried > 0) {
                qCWarning(lcPlatformData).noquote()
                    << "the work database" << m_file
                    << "is busy:" << countOf(untried, "further statement") << "not executed";
            }
            break;
        }
    }
    logLeftOut(statements.size());
    return totalChanges() - before;
}

int WorkStatements::update(const QString& statement) {
    const int before = totalChanges();
    return execute({statement}, 0) ? totalChanges() - before : -1;
}

QList<QVariant> WorkStatements::rows(const QString& statement) {
    const SqlText text = SqlText::read(statement);
    if (!text.refusal.isEmpty()) {
        logLost({statement}, 0, text.refusal);
        return {};
    }
    if (!command(text.statement)) {
        logLost({statement}, 0, m_reason);
        return {};
    }
    const QSqlRecord columns = m_query.record();
    QStringList names;
    for (int i = 0; i < columns.count(); ++i) {
        names.append(columns.fieldName(i));
    }
    QList<QVariant> rows;
    while (m_query.next()) {
        QVariantMap row;
        for (int i = 0; i < names.size(); ++i) {
            row.insert(names.at(i), m_query.value(i));
        }
        rows.append(row);
    }
    const QSqlError error = m_query.lastError();
    if (error.isValid()) {
        const DatabaseFault fault = DatabaseFault::of(error, m_file);
        logLost({statement}, 0, QStringLiteral("the file ") + fault.text);
        rows.clear();
    }
    m_query.finish();
    return rows;
}

void WorkStatements::logLost(const QStringList& statements, int index, const QString& why) {
    if (++m_lost <= kMostLogged) {
        qCWarning(lcPlatformData).noquote()
            << "the work database" << m_file << "did not execute statement" << index + 1 << "of"
            << statements.size() << "-" << why << "-" << SqlText::head(statements.at(index));
    }
}

void WorkStatements::logLeftOut(int total) const {
    if (m_lost > kMostLogged) {
        qCWarning(lcPlatformData).noquote() << "the work database" << m_file << "did not execute"
                                            << m_lost << "of" << total << "statements";
    }
}

void WorkStatements::logFault(const QString& consequence) const {
    const QString database = QStringLiteral("the work database %1").arg(m_file);
    // Where SQLite refuses a statement, another file would not help.
    const QString sentence =
        m_fault.kind == DatabaseFault::Kind::Other
            ? database + QLatin1Char(' ') + m_fault.text
            : m_fault.sentence(database, QStringLiteral("move it away to begin with an empty one"));
    qCWarning(lcPlatformData).noquote() << sentence + ';' << consequence;
}
