#include "server_request.h"

#include <cmath>
#include <limits>

#include "log.h"
#include "presenter_time_out.h"
#include "request_failure_log.h"

#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znmsg/c_un_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

using Outcome = ServerReply::Outcome;

constexpr int kTimedOut = 1;
constexpr int kNotSent = 2;
inline const QString kNumberedText = QStringLiteral("58");

/// The envelope with its body. Sending it passes the ownership to the platform.
CMessageCommon* makeMessage(const ZnPresenterClass& presenter, const ServerRequest& request) {
    CPackMessageCommon packer;
    packer.AddRowVaule(request.fields);
    packer.AddVaule(System::msgType, request.msgType);  // a caller's fields cannot replace it
    if (!request.rows.isEmpty()) {
        packer.AddVaule(System::subGroupNumber, request.rows.size());
    }
    if (request.identified) {
        // Reading it creates it.
        request.identified(packer.GetValue(System::clientMsgID).toString());
    }
    for (const QVariantMap& row : request.rows) {
        packer.AddRow();
        packer.AddRowVaule(row);
    }
    auto* const message = new CMessageCommon;
    if (request.hasSourceId) {
        message->SetSrcid(presenter.pluginPid());
    }
    message->SetType(
        QVariant(request.envelopeType.isEmpty() ? request.msgType : request.envelopeType));
    message->SetMsg(packer.GetPackedMsg(false));
    return message;
}

QString textOf(CUnPackMessageCommon& body, AnswerForm form) {
    const QString& field = form == AnswerForm::Numbered ? kNumberedText : System::textDescription;
    return body.GetValue(field, QString()).toString();
}

/// Whether the answer's status means success; a numeric status is stored in `code`.
bool isSuccess(const QString& status, AnswerForm form, int* code) {
    if (form != AnswerForm::Numbered) {
        return status == RequestExeStatus::success;
    }
    bool isNumber = true;
    *code = status.isEmpty() ? 0 : status.toInt(&isNumber);
    if (!isNumber) {
        *code = -1;  // a status that is not a number is a refusal
    }
    return *code == 0;
}

/// The row count of the header; negative when it is not a number, or missing although there are
/// rows.
int rowCountOf(CUnPackMessageCommon& body, int held) {
    const QVariant value = body.GetValue(System::subGroupNumber, {});
    if (!value.isValid()) {
        return held == 0 ? 0 : -1;
    }
    // QVariant would round 1.5, read true as 1 and cut a large number to 32 bits.
    bool isNumber = value.userType() != QMetaType::Bool;
    const double count = isNumber ? value.toDouble(&isNumber) : 0.0;
    const bool isWhole = isNumber && count >= 0 && count <= std::numeric_limits<int>::max() &&
                         count == std::trunc(count);
    return isWhole ? static_cast<int>(count) : -1;
}

void copyRows(CUnPackMessageCommon& body, int count, ServerReply* reply) {
    for (int row = 1; row <= count; ++row) {
        body.SetCurrentRow(row);
        reply->rows.append(body.GetRowValue());
    }
}

/// Copies the rows into the reply. Returns false, with a text in the reply, when the row count is
/// missing or does not fit the rows that the body holds.
bool takeRows(const ServerRequest& request, CUnPackMessageCommon& body, ServerReply* reply) {
    const int held = body.GetRowCount() - 1;
    const int count = request.answer == AnswerForm::Numbered ? held : rowCountOf(body, held);
    if (count < 0 || count > held) {
        const QVariant value = body.GetValue(System::subGroupNumber, {});
        reply->text =
            value.isValid()
                ? QStringLiteral("the answer to %1 holds %2 rows, its row count is \"%3\"")
                      .arg(request.msgType)
                      .arg(held)
                      .arg(value.toString())
                : QStringLiteral("the answer to %1 holds %2 rows, its row count is missing")
                      .arg(request.msgType)
                      .arg(held);
        return false;
    }
    copyRows(body, count, reply);
    return true;
}

QString reasonOf(const ServerReply& reply) {
    if (reply.outcome == Outcome::TimedOut) {
        return QStringLiteral("no answer came in time");
    }
    if (!reply.text.isEmpty()) {
        return reply.text;
    }
    return reply.outcome == Outcome::Refused
               ? QStringLiteral("no text, status \"%1\"").arg(reply.status)
               : QStringLiteral("no text, result %1").arg(reply.code);
}

ServerReply withoutPresenter(const ServerRequest& request) {
    ServerReply reply;
    reply.code = kNotSent;
    reply.text = QStringLiteral("%1 needs a presenter to be sent").arg(request.msgType);
    requestFailureLog().report(request.msgType, reply.outcome, reply.text);
    return reply;
}

}  // namespace

ServerReply judgeAnswer(const ServerRequest& request, int code, const QVariant& response) {
    ServerReply reply;
    reply.code = code;
    CUnPackMessageCommon body;
    body.SetUnPackMsg(response, false);
    reply.header = body.GetRowValue();
    if (request.answer == AnswerForm::NamedAnyStatus) {
        copyRows(body, body.GetRowCount() - 1, &reply);
        body.SetCurrentRow(0);
    }
    reply.text = textOf(body, request.answer);
    if (code == kTimedOut) {
        reply.outcome = Outcome::TimedOut;
        return reply;
    }
    if (code != 0) {
        return reply;
    }
    reply.status = body.GetValue(System::requestExeStatus, QString()).toString();
    if (request.answer == AnswerForm::RowsAlone) {
        copyRows(body, body.GetRowCount() - 1, &reply);
        reply.outcome = Outcome::Answered;
        return reply;
    }
    if (!isSuccess(reply.status, request.answer, &reply.code)) {
        reply.outcome = Outcome::Refused;
        return reply;
    }
    const bool rowsAreDone =
        request.answer == AnswerForm::NamedStatus || request.answer == AnswerForm::NamedAnyStatus;
    if (rowsAreDone || takeRows(request, body, &reply)) {
        reply.outcome = Outcome::Answered;
    }
    return reply;
}

ServerReply sendToServer(ZnPresenterClass* presenter, const ServerRequest& request) {
    if (!presenter) {
        return withoutPresenter(request);
    }
    CMessageCommon* const message = makeMessage(*presenter, request);
    QVariant response;
    int code = 0;
    {
        const PresenterTimeOut timeOut(*presenter, request.timeOutSeconds);
        code = request.send == SendKind::SyncBlock
                   ? presenter->sendRequest_Sync_Block(message, response, 0)
                   : presenter->sendRequest_Sync(message, response);
    }
    ServerReply reply = judgeAnswer(request, code, response);
    if (reply.isAnswered()) {
        return reply;
    }
    if (request.warns) {
        requestFailureLog().report(request.msgType, reply.outcome, reasonOf(reply));
    } else {
        qCDebug(lcRequests).noquote()
            << "request" << request.msgType << "did not succeed:" << reasonOf(reply);
    }
    return reply;
}

bool postToServer(ZnPresenterClass* presenter, const ServerRequest& request) {
    if (!presenter) {
        return withoutPresenter(request).isAnswered();
    }
    if (presenter->sendRequest_Async(makeMessage(*presenter, request)) != 0) {
        requestFailureLog().report(request.msgType, Outcome::Failed,
                                   QStringLiteral("the platform did not take it"));
        return false;
    }
    return true;
}

void reportRefusedResponse(const QString& msgType, const QVariant& body) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    ServerReply reply;
    reply.outcome = Outcome::Refused;
    reply.status = unpacker.GetValue(System::requestExeStatus, QString()).toString();
    reply.text = textOf(unpacker, AnswerForm::Named);
    if (reply.status.isEmpty() || isSuccess(reply.status, AnswerForm::Named, &reply.code)) {
        return;
    }
    // The envelope of a subscription has a type of its own; the body's type says what was refused.
    const QString ownType = unpacker.GetValue(System::msgType, QString()).toString();
    requestFailureLog().report(ownType.isEmpty() ? msgType : ownType, reply.outcome,
                               reasonOf(reply));
}
