#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

class ZnPresenterClass;

/// How an answer tells what became of its request.
enum class AnswerForm {
    /// System::requestExeStatus as a text, System::textDescription, System::subGroupNumber rows.
    Named,
    /// The same without the rows, which nobody reads: what came of them is no matter.
    NamedStatus,
    /// Messages of the older kind: a number as the status, 0 or none meaning success, the text
    /// under "58", as many rows as the body holds.
    Numbered
};

enum class SendKind { Sync, SyncBlock };

/// One request, as data.
struct ServerRequest {
    QString msgType;     ///< the body's System::msgType, and the envelope's type
    QVariantMap fields;  ///< the header row beside System::msgType
    QList<QVariantMap> rows = {};
    QString envelopeType = {};  ///< where the envelope's type is another one
    SendKind send = SendKind::Sync;
    /// For this request; 0 for the presenter's standing one. It is the presenter's own while the
    /// request is under way, so two threads must not do that at once on one presenter.
    int timeOutSeconds = 0;
    AnswerForm answer = AnswerForm::Named;
};

/// What became of a request.
struct ServerReply {
    enum class Outcome {
        Answered,  ///< a success: header and rows hold the answer
        TimedOut,  ///< no answer came in time
        Failed,    ///< the platform could not send it, there is no presenter, or the success that
                   ///< came does not hold the rows that it tells of; the text says which
        Refused    ///< the server answered with another status than success
    };

    Outcome outcome = Outcome::Failed;
    int code = 0;    ///< what the send returned; after an answer a status that is a number
    QString status;  ///< System::requestExeStatus of the answer, empty when none came
    QString text;    ///< the text of the answer or the failure, empty when it has none
    QVariantMap header;
    QList<QVariantMap> rows;  ///< data rows of a success

    bool isAnswered() const { return outcome == Outcome::Answered; }
};

/// Sends a request and waits for its answer, at most for the time-out; takes no lock and may be
/// called from any thread. A null presenter is a failure with a log line. A time-out of the
/// request's own is the presenter's until the send returns, so concurrent requests of that
/// presenter may meet it.
ServerReply sendToServer(ZnPresenterClass* presenter, const ServerRequest& request);

/// Sends a request and returns; an answer comes to the presenter's ProcResponseMsg. False, with a
/// log line, without a presenter, or when the platform did not take it. Any thread.
bool postToServer(ZnPresenterClass* presenter, const ServerRequest& request);
