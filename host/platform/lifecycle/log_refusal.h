#pragma once

#include <QLoggingCategory>
#include <QString>

/// Logs a warning of the form "what: why", puts the same text into `error`, which may be null, and
/// returns false, so that a refusing function ends with `return logRefusal(...)`.
inline bool logRefusal(const QLoggingCategory& category, const QString& what, const QString& why,
                       QString* error) {
    const QString text = QStringLiteral("%1: %2").arg(what, why);
    qCWarning(category).noquote() << text;
    if (error) {
        *error = text;
    }
    return false;
}
