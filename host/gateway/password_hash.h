#pragma once

#include <QCryptographicHash>
#include <QString>

/// The hash of salt and password that the store keeps beside the salt, in hexadecimal digits.
inline QString passwordHash(const QString& salt, const QString& password) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(salt.toUtf8());
    hash.addData(password.toUtf8());
    return QString::fromLatin1(hash.result().toHex());
}
