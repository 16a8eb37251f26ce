#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <functional>

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
    Numbered,
    /// The named fields; but every data row of the body is read, whatever the send returned and
    /// whatever status and row count the answer has: for callers who take what there is. The
    /// outcome is the same as with Named, except that a wrong row count is no failure.
    NamedAnyStatus,
    /// The text is System::textDescription. Every answer is a success, whatever its status and row
    /// count, and every data row of the body counts.
    RowsAlone
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
    /// presenter's while the request is under way, for the presenter's other requests too; the
    /// standing one is back when the last request with a time-out of its own has ended.
    int timeOutSeconds = 0;
    AnswerForm answer = AnswerForm::Named;
    bool hasSourceId = true;  ///< whether the envelope names the presenter as its source
    /// When set, the header has a System::clientMsgID, and this is called with it before the
    /// request is sent, on the sending thread.
    std::function<void(const QString& clientMsgId)> identified = {};
    /// Whether a failure is logged as a warning; otherwise at debug level, for callers that repeat
    /// the request and log a warning of their own.
    bool warns = true;
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
    /// What the send returned, 2 without a presenter; for a numeric status of an answer, that
    /// number.
    int code = 0;
    QString status;  ///< System::requestExeStatus of the answer, empty without one
    QString text;    ///< the text of the answer or of the failure, may be empty
    QVariantMap header;
    QList<QVariantMap> rows;  ///< data rows of a success; of any answer with NamedAnyStatus

    bool isAnswered() const { return outcome == Outcome::Answered; }
};

/// Sends a request and waits for its answer, at most for the time-out. Any thread, with no leaf
/// lock held. A null presenter is a failure. Every outcome but a success is logged, as a warning
/// unless the request says otherwise; see RequestFailureLog. While a request with a time-out of its
/// own is under way, other requests of that presenter may get the same time-out.
ServerReply sendToServer(ZnPresenterClass* presenter, const ServerRequest& request);

/// The outcome of a request whose send returned `code` with `response`. A pure function; logs
/// nothing. The text of a response that came with a time-out is kept.
ServerReply judgeAnswer(const ServerRequest& request, int code, const QVariant& response);

/// Sends a request and returns; the answer comes to the presenter's ProcResponseMsg. Returns false,
/// with a warning, when the presenter is null or the platform did not take the request. Any thread.
bool postToServer(ZnPresenterClass* presenter, const ServerRequest& request);

/// Checks the answer to a request of postToServer() and logs a warning when its status is another
/// one than success. An answer without a status is not a refusal. Any thread.
void reportRefusedResponse(const QString& msgType, const QVariant& body);
