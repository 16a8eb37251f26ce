#include "static_database.h"

#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <atomic>
#include <functional>
#include <mutex>

#include "data_log.h"
#include "database_seal.h"

namespace {

constexpr const char* kStepSection = "StepQtyRule";

QString rebuildHint(const QString& file, const QString& what) {
    return QStringLiteral("the static database %1 %2; rebuild it with ./run --rebuild")
        .arg(file, what);
}

/// A connection that may only read, for one thread and one piece of work: SQLite's connections are
/// bound to the thread that made them.
class ReadOnlyConnection {
public:
    explicit ReadOnlyConnection(const QString& file) {
        static std::atomic<quint64> counter{0};
        m_name = QStringLiteral("velmar.static.%1").arg(++counter);
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        m_database.setDatabaseName(file);
        if (!m_database.open()) {
            m_error = m_database.lastError().text();
        }
    }

    ~ReadOnlyConnection() {
        // A connection may be removed only when nothing refers to it.
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
    }

    Q_DISABLE_COPY(ReadOnlyConnection)

    QString error() const { return m_error; }

    /// Runs a statement and hands every row to `take`. False when any of it failed.
    bool forEachRow(const QString& sql, const QVariantList& bound,
                    const std::function<void(const QSqlQuery&)>& take) {
        QSqlQuery query(m_database);
        query.setForwardOnly(true);
        bool done = m_error.isEmpty() && query.prepare(sql);
        for (const QVariant& value : bound) {
            query.addBindValue(value);
        }
        done = done && query.exec();
        while (done && query.next()) {
            take(query);
        }
        // The end of the rows and a failure among them look alike but for this.
        if (done && !query.lastError().isValid()) {
            return true;
        }
        if (m_error.isEmpty()) {
            m_error = query.lastError().text();
        }
        return false;
    }

private:
    QString m_name;
    QSqlDatabase m_database;
    QString m_error;
};

QString damageText(const QString& what) {
    return QStringLiteral("is damaged (%1)").arg(what);
}

/// What SQLite finds wrong with the pages of a small file, empty when they are sound.
QString pageFault(ReadOnlyConnection& connection) {
    QString verdict;
    const auto takeVerdict = [&verdict](const QSqlQuery& row) {
        verdict = verdict.isEmpty() ? row.value(0).toString() : verdict;
    };
    if (!connection.forEachRow(QStringLiteral("PRAGMA quick_check"), {}, takeVerdict)) {
        return connection.error().trimmed();
    }
    return verdict == QStringLiteral("ok") ? QString() : verdict;
}

/// What is wrong with the file, empty when it is sound.
QString inspect(const QString& file, ReadOnlyConnection& connection) {
    const bool small = DatabaseSeal::isSmall(file);
    QString damage = DatabaseSeal::headerFault(file);
    if (damage.isEmpty() && small) {
        damage = pageFault(connection);
    }
    if (!damage.isEmpty()) {
        return damageText(damage);
    }
    QMap<QString, QString> meta;
    const auto takeMeta = [&meta](const QSqlQuery& row) {
        meta.insert(row.value(0).toString(), row.value(1).toString());
    };
    if (!connection.forEachRow(QStringLiteral("SELECT key, value FROM meta"), {}, takeMeta)) {
        return QStringLiteral("has no description of itself (%1)")
            .arg(connection.error().trimmed());
    }
    const QString format = meta.value(QStringLiteral("format"));
    if (format != QStringLiteral("2")) {
        return QStringLiteral("has the unknown format \"%1\"").arg(format);
    }
    if (meta.value(QStringLiteral("complete")) != QStringLiteral("1")) {
        return QStringLiteral("was not written to its end");
    }
    if (!small) {
        damage = DatabaseSeal::covers(file, meta) ? DatabaseSeal::fault(file, meta)
                                                  : pageFault(connection);
    }
    return damage.isEmpty() ? QString() : damageText(damage);
}

/// What kept the file from being read, empty on success.
QString readSections(const QString& file, QHash<QString, QMap<QString, QString>>* sections) {
    const QFileInfo info(file);
    if (!info.isFile()) {
        return info.exists() ? QStringLiteral("is not a file") : QStringLiteral("is missing");
    }
    ReadOnlyConnection connection(file);
    if (!connection.error().isEmpty()) {
        return QStringLiteral("cannot be opened (%1)").arg(connection.error().trimmed());
    }
    QString fault = inspect(file, connection);
    if (!fault.isEmpty()) {
        return fault;
    }
    const auto take = [sections](const QSqlQuery& row) {
        (*sections)[row.value(0).toString()].insert(row.value(1).toString(),
                                                    row.value(2).toString());
    };
    if (!connection.forEachRow(QStringLiteral("SELECT section, key, value FROM static_cfg"), {},
                               take)) {
        return QStringLiteral("has no readable configuration (%1)")
            .arg(connection.error().trimmed());
    }
    return QString();
}

/// Takes out the quantity steps that are no whole number above 0, with a line on each: a client
/// divides by them. The other rows stay good.
void dropUnusableSteps(const QString& file, QMap<QString, QString>& steps) {
    for (auto step = steps.begin(); step != steps.end();) {
        if (step.value().toInt() > 0) {
            ++step;
            continue;
        }
        qCWarning(lcPlatformStaticData).noquote()
            << "the static database" << file << "has a quantity step that cannot be used, section"
            << kStepSection << "key" << step.key() << "value" << step.value()
            << "; the row is left out";
        step = steps.erase(step);
    }
}

}  // namespace

bool StaticDatabase::open(const QString& file, QString* error) {
    close();
    if (file.isEmpty()) {
        return true;
    }
    Sections sections;
    const QString fault = readSections(file, &sections);
    if (!fault.isEmpty()) {
        *error = rebuildHint(file, fault);
        return false;
    }
    const auto steps = sections.find(QLatin1String(kStepSection));
    if (steps != sections.end()) {
        dropUnusableSteps(file, *steps);
    }
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    m_file = file;
    m_sections = sections;
    return true;
}

void StaticDatabase::close() {
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    m_file.clear();
    m_sections.clear();
}

QString StaticDatabase::value(const QString& section, const QString& key) const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    const auto found = m_sections.constFind(section);
    return found == m_sections.cend() ? QString() : found->value(key);
}

QMap<QString, QString> StaticDatabase::section(const QString& section) const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    return m_sections.value(section);
}

bool StaticDatabase::readReference(const QString& kind, QMap<QString, QString>* rows,
                                   QString* error) const {
    rows->clear();
    QString file;
    {
        const std::shared_lock<std::shared_mutex> guard(m_lock);
        file = m_file;
    }
    if (file.isEmpty()) {
        return true;
    }
    QString fault = QFileInfo(file).isFile() ? QString() : QStringLiteral("is missing");
    if (fault.isEmpty()) {
        ReadOnlyConnection connection(file);
        const auto take = [rows](const QSqlQuery& row) {
            rows->insert(row.value(0).toString(), row.value(1).toString());
        };
        if (!connection.forEachRow(
                QStringLiteral("SELECT symbol, record FROM reference WHERE kind = ?"), {kind},
                take)) {
            fault = QStringLiteral("cannot be read (%1)").arg(connection.error().trimmed());
        }
    }
    if (!fault.isEmpty()) {
        rows->clear();
        *error = rebuildHint(file, fault);
        return false;
    }
    return true;
}
