#include "work_database_file.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>
#include <QUrl>

#include "data_log.h"
#include "sqlite_connection.h"

namespace {

using Kind = DatabaseFault::Kind;

// File names have at most 255 bytes; what SQLite and a move aside append takes some of them.
constexpr int kLongestName = 160;
constexpr int kCutName = 96;

/// A name for a damaged file that neither a file nor a journal has.
QString asideName(const QString& file) {
    const QString name =
        QStringLiteral("%1.damaged-%2")
            .arg(file, QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss")));
    QString free = name;
    for (int number = 2;
         QFileInfo::exists(free) || QFileInfo::exists(free + QStringLiteral("-wal")); ++number) {
        free = QStringLiteral("%1-%2").arg(name, QString::number(number));
    }
    return free;
}

DatabaseFault moveAside(const QString& file, const DatabaseFault& damage) {
    const QString aside = asideName(file);
    // SQLite would apply a journal that is left there to the new file. The file itself goes last:
    // after a kill in between it is still there, and the next start moves it; a journal alone would
    // keep every later start from making a new file.
    for (const QString& suffix : {QStringLiteral("-wal"), QStringLiteral("-shm"), QString()}) {
        const QString part = file + suffix;
        if (QFileInfo::exists(part) && !QFile::rename(part, aside + suffix)) {
            return {Kind::Damaged, QStringLiteral("%1 and %2 cannot be moved to %3")
                                       .arg(damage.text, part, aside + suffix)};
        }
    }
    qCCritical(lcPlatformData).noquote()
        << "the work database" << file << damage.text + "; it was moved to" << aside
        << "and a new one is made";
    return {};
}

/// What the file system says, and whether the file begins like a database.
DatabaseFault lookAt(const QString& file) {
    const QFileInfo info(file);
    if (!info.exists()) {
        // SQLite would delete the journal, which has the last commits of the file.
        const QString journal = file + QStringLiteral("-wal");
        return QFileInfo::exists(journal)
                   ? DatabaseFault{Kind::Missing,
                                   QStringLiteral("is missing, but its journal %1 is there")
                                       .arg(journal)}
                   : DatabaseFault();
    }
    if (!info.isFile()) {
        return {Kind::Unreadable, QStringLiteral("is not a file")};
    }
    QFile content(file);
    if (!content.open(QIODevice::ReadOnly)) {
        return {Kind::Unreadable,
                QStringLiteral("cannot be opened (%1)").arg(content.errorString())};
    }
    // SQLite would delete the journal of such a file, which may be worth keeping.
    const QByteArray magic("SQLite format 3", 16);
    const QByteArray begin = content.read(magic.size());
    return begin.isEmpty() || begin == magic
               ? DatabaseFault()
               : DatabaseFault::damaged(QStringLiteral("it is not a database"));
}

/// Makes the file where it is missing; what is wrong with it.
DatabaseFault check(const QString& file, const QString& options) {
    DatabaseFault seen = lookAt(file);
    if (seen) {
        return seen;
    }
    const SqliteConnection connection(file, options);
    DatabaseFault fault = connection.openFault();
    if (!fault) {
        fault = connection.checkPagesAndIndexes();
    }
    QString journal;
    if (!fault) {
        fault =
            connection.run(QStringLiteral("PRAGMA journal_mode = WAL"), {},
                           [&journal](const QSqlQuery& row) { journal = row.value(0).toString(); });
    }
    if (!fault && journal != QLatin1String("wal")) {
        qCWarning(lcPlatformData).noquote()
            << "the work database" << file << "has the journal" << journal + ", not WAL";
    }
    return fault;
}

}  // namespace

QString WorkDatabaseFile::nameOf(const QString& login) {
    if (login.isEmpty()) {
        return QStringLiteral("no_login.sqlite");
    }
    // "user_" keeps a login of the name "no_login" apart, "+" occurs in cut names alone.
    QByteArray name = QUrl::toPercentEncoding(login);
    if (name.size() > kLongestName) {
        const QByteArray digest =
            QCryptographicHash::hash(login.toUtf8(), QCryptographicHash::Sha256).toHex();
        name = name.left(kCutName) + '+' + digest.left(32);
    }
    return QStringLiteral("user_%1.sqlite").arg(QString::fromLatin1(name));
}

DatabaseFault WorkDatabaseFile::prepare(const QString& file, const QString& options) {
    const QString folder = QFileInfo(file).absolutePath();
    if (!QDir().mkpath(folder)) {
        return {Kind::Unreadable, QStringLiteral("has no folder, which cannot be made")};
    }
    DatabaseFault fault = check(file, options);
    if (fault.kind == Kind::Damaged) {
        fault = moveAside(file, fault);
        if (!fault) {
            fault = check(file, options);
        }
    }
    return fault;
}
