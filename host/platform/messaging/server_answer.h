#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

/// The outcome of a synchronous request.
struct ServerAnswer {
    QString status;           ///< System::requestExeStatus, or a value in its place
    QString error;            ///< empty on success only
    QList<QVariantMap> rows;  ///< empty unless the request succeeded
    QVariantMap header;       ///< empty unless the request succeeded
};

/// The one place that decides the outcome of a synchronous request. `sendResult` and `response` are
/// what the send returned.
/// - 1, a time-out: Velmar_Values::RequestExeStatus::timeout, and a text of its own.
/// - other than 0, a failure of the platform: no status, and the body's text.
/// - 0 with another status than success, a refusal: the body's status and text.
/// - 0 and success: rows 1 to System::subGroupNumber. A body that holds fewer rows, or whose row
///   count is not a number, was cut or garbled on its way: a failure like any other, with a text
///   and without rows. A missing row count is accepted for a body without rows only.
/// A failure or refusal without a text gets one. Nothing is logged; the caller reports the error.
ServerAnswer judgeAnswer(const QString& msgType, int sendResult, const QVariant& response);
