#include "database_fault.h"

#include <QFileInfo>
#include <QSqlError>
#include <QStorageInfo>
#include <QStringList>

namespace {

// Result codes of SQLite; the bits above them only refine.
constexpr int kPlainCode = 0xFF;
enum SqliteCode {
    Permission = 3,
    Busy = 5,
    Locked = 6,
    ReadOnly = 8,
    InputOutput = 10,
    Corrupt = 11,
    Full = 13,
    CannotOpen = 14,
    NotADatabase = 26,
};

/// SQLite reports some failures for want of space as plain failures of input and output.
bool isDiskFull(const QString& file) {
    constexpr qint64 kLeastBytes = 64 * 1024;
    const QStorageInfo storage(QFileInfo(file).absolutePath());
    return storage.isValid() && storage.bytesAvailable() < kLeastBytes;
}

/// SQLite's text and that of Qt's driver, which QSqlError::text() joins without a mark.
QString detailOf(const QSqlError& error) {
    QStringList texts{error.driverText().simplified(), error.databaseText().simplified()};
    texts.removeAll(QString());
    return texts.join(QStringLiteral(": "));
}

DatabaseFault::Kind kindOf(int code, const QString& file) {
    using Kind = DatabaseFault::Kind;
    switch (code & kPlainCode) {
        case Busy:
        case Locked:
            return Kind::Busy;
        case Full:
            return Kind::DiskFull;
        case Corrupt:
        case NotADatabase:
            return Kind::Damaged;
        case InputOutput:
        case CannotOpen:
            return isDiskFull(file) ? Kind::DiskFull : Kind::Unreadable;
        case Permission:
        case ReadOnly:
            return Kind::Unreadable;
        default:
            return Kind::Other;
    }
}

}  // namespace

DatabaseFault DatabaseFault::of(const QSqlError& error, const QString& file) {
    const Kind kind = kindOf(error.nativeErrorCode().toInt(), file);
    const QString detail = detailOf(error);
    switch (kind) {
        case Kind::Busy:
            return {kind,
                    QStringLiteral("is in use by another process or thread (%1)").arg(detail)};
        case Kind::DiskFull:
            return {kind, QStringLiteral("cannot be written: the disk is full (%1)").arg(detail)};
        case Kind::Damaged:
            return damaged(detail);
        case Kind::Unreadable:
            return {kind, QStringLiteral("cannot be opened, read or written (%1)").arg(detail)};
        default:
            return {Kind::Other, QStringLiteral("cannot be used (%1)").arg(detail)};
    }
}

DatabaseFault DatabaseFault::damaged(const QString& what) {
    return {Kind::Damaged, QStringLiteral("is damaged (%1)").arg(what.simplified())};
}

QString DatabaseFault::sentence(const QString& file, const QString& repair) const {
    QString advice = repair;
    if (kind == Kind::Busy) {
        advice = QStringLiteral("wait until it is free or end the other process, then try again");
    } else if (kind == Kind::DiskFull) {
        advice = QStringLiteral("free some space there, then try again");
    } else if (kind == Kind::Unreadable) {
        advice = QStringLiteral("check the permissions of the file and of its folder");
    }
    return QStringLiteral("%1 %2; %3").arg(file, text, advice);
}
