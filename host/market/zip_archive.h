#pragma once

#include <QByteArray>
#include <QString>

/// A zip archive with one file, not compressed, dated 1980-01-01, so that equal contents give equal
/// bytes. The name is plain ASCII.
QByteArray zipOf(const QString& name, const QByteArray& content);
