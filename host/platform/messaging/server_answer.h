#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

/// What became of a synchronous request.
struct ServerAnswer {
    QString status;           ///< System::requestExeStatus, or what stands for it
    QString error;            ///< empty on success only
    QList<QVariantMap> rows;  ///< empty but on success
    QVariantMap header;       ///< empty but on success
};

/// The one place that tells the outcomes of a synchronous request apart. `sendResult` and
/// `response` are what the send gave.
/// - 1, a time-out: Velmar_Values::RequestExeStatus::timeout, and a text of its own.
/// - other than 0, a failure of the platform: no status, and the body's text.
/// - 0 with another status than success, a refusal: the body's status and text.
/// - 0 and success: rows 1 to System::subGroupNumber. A body that holds fewer, or whose number is
///   none, was cut or mangled on its way: a failure like any other, with a text and no row at all.
///   A number that is missing is one only where there are rows.
/// A failure or refusal without a text gets one.
ServerAnswer judgeAnswer(const QString& msgType, int sendResult, const QVariant& response);
