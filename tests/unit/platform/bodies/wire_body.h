#pragma once

#include <QtTest>

#include "packed_body_wire.h"

inline QByteArray encoded(const QVariant& body) {
    QByteArray bytes;
    QString error;
    if (!PackedBodyWire::encode(body, &bytes, &error)) {
        qFatal("not encoded: %s", qPrintable(error));
    }
    return bytes;
}

/// A body of a header and one row that holds the value.
inline QVariant bodyWith(const QVariant& value) {
    return QVariantList{QVariantMap{{"head", 1}}, QVariantMap{{"value", value}}};
}

/// The error of decoding; checks that the result is invalid.
inline QString refusalOf(const QByteArray& bytes, const PackedBodyWire::Limits& limits = {}) {
    QVariant body("before");
    QString error("before");
    if (PackedBodyWire::decode(bytes, &body, &error, limits) || body.isValid()) {
        return "decoded all the same";
    }
    return error;
}
