#pragma once

#include <QCryptographicHash>
#include <QString>

/// How the store keeps a password: the salt, and this hash of both in hexadecimal digits.
inline QString passwordHash(const QString& salt, const QString& password) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(salt.toUtf8());
    hash.addData(password.toUtf8());
    return QString::fromLatin1(hash.result().toHex());
}
