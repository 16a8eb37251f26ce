#include "server_answer.h"

#include "row_count.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr int kAnswered = 0;
constexpr int kTimeOut = 1;

/// False with a text when the body does not hold the rows that its header states.
bool takeRows(const QString& msgType, CUnPackMessageCommon& body, QList<QVariantMap>* rows,
              QString* error) {
    const int held = body.GetRowCount() - 1;
    int count = 0;
    switch (readRowCount(body.GetRowValue(), held, &count)) {
        case RowCount::Stated:
            break;
        case RowCount::Missing:
            if (held == 0) {
                break;
            }
            *error = QStringLiteral(
                         "the answer to %1 is garbage: the row count is missing, "
                         "the body holds %2 rows")
                         .arg(msgType)
                         .arg(held);
            return false;
        case RowCount::Invalid:
            *error = QStringLiteral("the answer to %1 is garbage: its row count is \"%2\"")
                         .arg(msgType, body.GetValue(System::subGroupNumber, QString()).toString());
            return false;
        case RowCount::TooLarge:
            *error = QStringLiteral("the answer to %1 is cut short: it states %2 rows and holds %3")
                         .arg(msgType)
                         .arg(count)
                         .arg(held);
            return false;
    }
    for (int row = 1; row <= count; ++row) {
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
        if (takeRows(msgType, body, &answer.rows, &answer.error)) {
            return answer;
        }
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
