#include "server_answer.h"

#include "data_log.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr int kAnswered = 0;
constexpr int kTimeOut = 1;

/// False with a text when the body doesn't hold what its header tells.
bool dataRows(const QString& msgType, CUnPackMessageCommon& body, QList<QVariantMap>* rows,
              QString* error) {
    const int held = body.GetRowCount() - 1;
    const QVariant number = body.GetValue(System::subGroupNumber, {});
    if (!number.isValid() && held == 0) {
        return true;
    }
    bool isNumber = false;
    const int told = number.toInt(&isNumber);
    if (!isNumber || told < 0) {
        *error = QStringLiteral("the answer to %1 is garbage: it tells of \"%2\" rows")
                     .arg(msgType, number.toString());
        return false;
    }
    if (told > held) {
        *error = QStringLiteral("the answer to %1 is cut short: it tells of %2 rows and holds %3")
                     .arg(msgType)
                     .arg(told)
                     .arg(held);
        return false;
    }
    for (int row = 1; row <= told; ++row) {
        body.SetCurrentRow(row);
        rows->append(body.GetRowValue());
    }
    return true;
}

}  // namespace

ServerAnswer judgeAnswer(const QString& msgType, int sendResult, const QVariant& response) {
    if (sendResult == kTimeOut) {
        return {RequestExeStatus::timeout,
                QStringLiteral("time-out: no answer to %1 came in time").arg(msgType),
                {},
                {}};
    }
    CUnPackMessageCommon body;
    body.SetUnPackMsg(response, false);
    const QString status = body.GetValue(System::requestExeStatus, QString()).toString();
    if (sendResult == kAnswered && status == RequestExeStatus::success) {
        ServerAnswer answer{status, QString(), {}, body.GetRowValue()};
        if (dataRows(msgType, body, &answer.rows, &answer.error)) {
            return answer;
        }
        qCDebug(lcPlatformQuery).noquote() << answer.error;
        return {QString(), answer.error, {}, {}};
    }
    QString text = body.GetValue(System::textDescription, QString()).toString();
    if (text.isEmpty()) {
        text =
            sendResult == kAnswered
                ? QStringLiteral("the server refused %1 without a text (status \"%2\")")
                      .arg(msgType, status)
                : QStringLiteral("%1 could not be sent (result %2)").arg(msgType).arg(sendResult);
    }
    return {sendResult == kAnswered ? status : QString(), text, {}, {}};
}
