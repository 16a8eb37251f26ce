#include "server_request.h"

#include "log.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znmsg/c_un_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kTimedOut = 1;
inline const QString kNumberedText = QStringLiteral("58");

/// Sets a presenter's time-out for the time of one send.
class TimeOutOfOneSend {
public:
    TimeOutOfOneSend(ZnPresenterClass& presenter, int seconds)
        : m_presenter(presenter), m_standing(seconds > 0 ? presenter.getRequestTimeOut() : 0) {
        if (m_standing > 0) {
            m_presenter.setRequestTimeOut(seconds);
        }
    }
    ~TimeOutOfOneSend() {
        if (m_standing > 0) {
            m_presenter.setRequestTimeOut(m_standing);
        }
    }
    Q_DISABLE_COPY(TimeOutOfOneSend)

private:
    ZnPresenterClass& m_presenter;
    const int m_standing;
};

/// The envelope with its body; whoever sends it gives it away.
CMessageCommon* makeMessage(const ZnPresenterClass& presenter, const ServerRequest& request) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, request.msgType);
    packer.AddRowVaule(request.fields);
    if (!request.rows.isEmpty()) {
        packer.AddVaule(System::subGroupNumber, request.rows.size());
    }
    for (const QVariantMap& row : request.rows) {
        packer.AddRow();
        packer.AddRowVaule(row);
    }
    auto* const message = new CMessageCommon;
    message->SetSrcid(presenter.pluginPid());
    message->SetType(
        QVariant(request.envelopeType.isEmpty() ? request.msgType : request.envelopeType));
    message->SetMsg(packer.GetPackedMsg(false));
    return message;
}

QString textOf(CUnPackMessageCommon& body, AnswerForm form) {
    const QString& field = form == AnswerForm::Numbered ? kNumberedText : System::textDescription;
    return body.GetValue(field, QString()).toString();
}

/// Whether the answer's status means success; a numbered one is left in `code`.
bool isSuccess(const QString& status, AnswerForm form, int* code) {
    if (form != AnswerForm::Numbered) {
        return status == RequestExeStatus::success;
    }
    bool isNumber = true;
    *code = status.isEmpty() ? 0 : status.toInt(&isNumber);
    if (!isNumber) {
        *code = -1;  // a status that is no number is no success
    }
    return *code == 0;
}

/// How many rows the header tells of; negative for what is no number. One that is missing is none
/// where there are rows.
int toldRows(CUnPackMessageCommon& body, int held) {
    const QVariant told = body.GetValue(System::subGroupNumber, {});
    if (!told.isValid()) {
        return held == 0 ? 0 : -1;
    }
    bool isNumber = false;
    const int number = told.toInt(&isNumber);
    return isNumber ? number : -1;
}

/// Takes the rows over; false, with a text, when a header tells of more than there are.
bool takeRows(const ServerRequest& request, CUnPackMessageCommon& body, ServerReply* reply) {
    const int held = body.GetRowCount() - 1;
    const int told = request.answer == AnswerForm::Numbered ? held : toldRows(body, held);
    if (told < 0 || told > held) {
        reply->text =
            QStringLiteral("the answer to %1 tells of \"%2\" rows and holds %3")
                .arg(request.msgType, body.GetValue(System::subGroupNumber, QString()).toString())
                .arg(held);
        qCWarning(lcRequests).noquote() << reply->text;
        return false;
    }
    for (int row = 1; row <= told; ++row) {
        body.SetCurrentRow(row);
        reply->rows.append(body.GetRowValue());
    }
    return true;
}

ServerReply judge(const ServerRequest& request, int code, const QVariant& response) {
    ServerReply reply;
    reply.code = code;
    if (code == kTimedOut) {
        reply.outcome = ServerReply::Outcome::TimedOut;
        return reply;
    }
    CUnPackMessageCommon body;
    body.SetUnPackMsg(response, false);
    reply.header = body.GetRowValue();
    reply.text = textOf(body, request.answer);
    if (code != 0) {
        return reply;
    }
    reply.status = body.GetValue(System::requestExeStatus, QString()).toString();
    if (!isSuccess(reply.status, request.answer, &reply.code)) {
        reply.outcome = ServerReply::Outcome::Refused;
        return reply;
    }
    if (request.answer == AnswerForm::NamedStatus || takeRows(request, body, &reply)) {
        reply.outcome = ServerReply::Outcome::Answered;
    }
    return reply;
}

QString logNoPresenter(const ServerRequest& request) {
    QString text = QStringLiteral("%1 needs a presenter to be sent").arg(request.msgType);
    qCWarning(lcRequests).noquote() << text;
    return text;
}

}  // namespace

ServerReply sendToServer(ZnPresenterClass* presenter, const ServerRequest& request) {
    if (!presenter) {
        ServerReply reply;
        reply.text = logNoPresenter(request);
        return reply;
    }
    CMessageCommon* const message = makeMessage(*presenter, request);
    QVariant response;
    int code = 0;
    {
        const TimeOutOfOneSend timeOut(*presenter, request.timeOutSeconds);
        code = request.send == SendKind::SyncBlock
                   ? presenter->sendRequest_Sync_Block(message, response, 0)
                   : presenter->sendRequest_Sync(message, response);
    }
    return judge(request, code, response);
}

bool postToServer(ZnPresenterClass* presenter, const ServerRequest& request) {
    if (!presenter) {
        logNoPresenter(request);
        return false;
    }
    if (presenter->sendRequest_Async(makeMessage(*presenter, request)) != 0) {
        qCWarning(lcRequests).noquote() << request.msgType << "was not taken for sending";
        return false;
    }
    return true;
}
