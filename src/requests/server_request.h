#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

class ZnPresenterClass;

/// Which fields of an answer contain its status, its text and its row count.
enum class AnswerForm {
    /// System::requestExeStatus as a text, System::textDescription, System::subGroupNumber.
    Named,
    /// The same fields, but the rows are neither read nor compared with the row count: for callers
    /// who need only the outcome.
    NamedStatus,
    /// Older messages: the status is a number, where 0 or a missing one means success; the text is
    /// under "58"; every data row of the body counts.
    Numbered
};

enum class SendKind { Sync, SyncBlock };

/// One request, as data.
struct ServerRequest {
    QString msgType;     ///< System::msgType of the body, and the envelope's type
    QVariantMap fields;  ///< the header row beside System::msgType
    QList<QVariantMap> rows = {};
    QString envelopeType = {};  ///< the envelope's type where it differs from `msgType`
    SendKind send = SendKind::Sync;
    /// The time-out of this request; 0 for the presenter's standing one. It replaces the
    /// presenter's while the request is under way, so two threads must not use it at once on one
    /// presenter.
    int timeOutSeconds = 0;
    AnswerForm answer = AnswerForm::Named;
};

/// The outcome of a request.
struct ServerReply {
    enum class Outcome {
        Answered,  ///< a success: header and rows hold the answer
        TimedOut,  ///< no answer came in time
        Failed,    ///< the presenter is null, the platform could not send the request, or the
                   ///< answer's row count is missing or wrong; the text says which
        Refused    ///< the server answered with another status than success
    };

    Outcome outcome = Outcome::Failed;
    int code = 0;    ///< what the send returned; for a numeric status of an answer, that number
    QString status;  ///< System::requestExeStatus of the answer, empty without one
    QString text;    ///< the text of the answer or of the failure, may be empty
    QVariantMap header;
    QList<QVariantMap> rows;  ///< data rows of a success

    bool isAnswered() const { return outcome == Outcome::Answered; }
};

/// Sends a request and waits for its answer, at most for the time-out. Any thread, with no leaf
/// lock held. A null presenter is a failure. Every outcome but a success is logged as a warning;
/// see RequestFailureLog. While a request with a time-out of its own is under way, other requests
/// of that presenter may get the same time-out.
ServerReply sendToServer(ZnPresenterClass* presenter, const ServerRequest& request);

/// Sends a request and returns; the answer comes to the presenter's ProcResponseMsg. Returns false,
/// with a warning, when the presenter is null or the platform did not take the request. Any thread.
bool postToServer(ZnPresenterClass* presenter, const ServerRequest& request);

/// Checks the answer to a request of postToServer() and logs a warning when its status is another
/// one than success. An answer without a status is not a refusal. Any thread.
void reportRefusedResponse(const QString& msgType, const QVariant& body);
