#include "static_database.h"

#include <QFileInfo>
#include <QSqlQuery>
#include <QVariant>
#include <mutex>
#include <numeric>

#include "data_log.h"
#include "quantity_sections.h"
#include "sealed_database.h"
#include "sqlite_connection.h"

namespace {

QString sentenceOf(const QString& file, const DatabaseFault& fault) {
    return fault.sentence(QStringLiteral("the static database %1").arg(file),
                          SealedDatabase::repair);
}

DatabaseFault readSections(const QString& file, QHash<QString, QMap<QString, QString>>* sections) {
    QMap<QString, QString> meta;
    DatabaseFault fault = SealedDatabase::check(file, &meta);
    if (fault) {
        return fault;
    }
    return SqliteConnection(file, SqliteConnection::readOnly())
        .run(QStringLiteral("SELECT section, key, value FROM static_cfg"), {},
             [sections](const QSqlQuery& row) {
                 (*sections)[row.value(0).toString()].insert(row.value(1).toString(),
                                                             row.value(2).toString());
             });
}

/// Removes the quantity steps that are not a whole number above 0, with a log line for each, since
/// a client divides by them. Returns their number.
int dropUnusableSteps(const QString& file, QMap<QString, QString>& steps) {
    int dropped = 0;
    for (auto step = steps.begin(); step != steps.end();) {
        if (step.value().toInt() > 0) {
            ++step;
            continue;
        }
        qCWarning(lcPlatformStaticData).noquote()
            << "the static database" << file << "has a quantity step that cannot be used, section"
            << QuantitySection::step << "key" << step.key() << "value" << step.value()
            << "; the row is left out";
        ++dropped;
        step = steps.erase(step);
    }
    return dropped;
}

}  // namespace

bool StaticDatabase::open(const QString& file, QString* error) {
    close();
    if (file.isEmpty()) {
        return true;
    }
    Sections sections;
    const DatabaseFault fault = readSections(file, &sections);
    if (fault) {
        *error = sentenceOf(file, fault);
        return false;
    }
    const auto steps = sections.find(QuantitySection::step);
    if (steps != sections.end()) {
        noteError(QStringLiteral("a row of section %1 cannot be used").arg(QuantitySection::step),
                  dropUnusableSteps(file, *steps));
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
    m_referenceRows.clear();
    m_errors.clear();
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
    DatabaseFault fault{DatabaseFault::Kind::Missing, QStringLiteral("is missing")};
    if (QFileInfo(file).isFile()) {
        fault = SqliteConnection(file, SqliteConnection::readOnly())
                    .run(QStringLiteral("SELECT symbol, record FROM reference WHERE kind = ?"),
                         {kind}, [rows](const QSqlQuery& row) {
                             rows->insert(row.value(0).toString(), row.value(1).toString());
                         });
    }
    if (fault) {
        rows->clear();
        *error = sentenceOf(file, fault);
        return false;
    }
    return true;
}

void StaticDatabase::noteError(const QString& text, int count) {
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    if (count > 0) {
        m_errors[text] += count;
    }
}

QMap<QString, int> StaticDatabase::takeErrors() {
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    QMap<QString, int> errors;
    errors.swap(m_errors);
    return errors;
}

void StaticDatabase::noteReferenceRows(const QString& kind, int count) {
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    m_referenceRows.insert(kind, count);
}

int StaticDatabase::recordCount() const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    int count = std::accumulate(m_referenceRows.cbegin(), m_referenceRows.cend(), 0);
    for (const QMap<QString, QString>& section : m_sections) {
        count += section.size();
    }
    return count;
}
