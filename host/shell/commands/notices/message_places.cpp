#include "message_places.h"

#include "client.h"
#include "interrupt_watch.h"
#include "server_engine.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"
#include "znmsg/c_pack_message_common.h"

namespace {

/// The writer thread looks at its lists once a second.
constexpr int kTries = 15;
constexpr int kPauseMs = 200;

QString user() {
    return CBusinessDataBase::GetInstance()->GetLoginAccount();
}

}  // namespace

QList<BusiMessage> messagesOfTable() {
    QList<BusiMessage> messages;
    ZnSqlQuery query;
    if (!query.prepare(QStringLiteral("SELECT * FROM BUSI_MSG_CENTER"))) {
        return messages;
    }
    const QList<QVariant> rows = CDBWorkInfoManager::getInstance()->executeQuery(query);
    for (const QVariant& row : rows) {
        messages.append(BusiMessage::ofTableRow(row.toMap()));
    }
    return messages;
}

MessagePlacesCheck::MessagePlacesCheck(Client& client, const FacadeAsk& ask)
    : m_client(client), m_facade(client.facade(), ask) {}

bool MessagePlacesCheck::compare(MessageCheck* check, QString* error) {
    MessagePlaces places;
    ServerEngine* const server = m_client.server();
    if (!server) {
        *error = QStringLiteral("the client has no server");
        return false;
    }
    // A query of a client would count as the delivery of what it returns.
    if (!server->messagesOf(user(), MessageCentre::Extent::Kept, &places.server, error)) {
        *error = QStringLiteral("the server's messages cannot be read: %1").arg(*error);
        return false;
    }
    places.memory = BusiMessage::ofAnswer(m_facade.ask(QStringLiteral("GetAllBusiMsgList"), {}));
    places.table = messagesOfTable();
    *check = checkMessages(places, QDate::currentDate(), [this](const QString& account) {
        return m_facade
            .ask(QStringLiteral("GetAccountInfoByTradingAccount"),
                 {account, QStringLiteral("false")})
            .toObject()
            .value(UserAccount::tradingAccount)
            .toString()
            .isEmpty();
    });
    if (m_facade.interrupted()) {
        *error = QStringLiteral("interrupted");
        return false;
    }
    return true;
}

bool MessagePlacesCheck::settled(MessageCheck* check, QString* error) {
    if (!compare(check, error)) {
        return false;
    }
    for (int i = 0; i < kTries && !check->agrees() && !InterruptWatch::hasCome(); ++i) {
        m_client.gate().waitUntil(&InterruptWatch::hasCome, kPauseMs);
        if (!compare(check, error)) {
            return false;
        }
    }
    return true;
}

bool MessagePlacesCheck::lacksMessages(MessageCheck* check, QString* error) {
    bool isRead = compare(check, error);
    for (int i = 0; i < kTries && isRead && check->lacking > 0 && !InterruptWatch::hasCome(); ++i) {
        m_client.gate().waitUntil(&InterruptWatch::hasCome, kPauseMs);
        isRead = compare(check, error);
    }
    return isRead && check->lacking > 0;
}

int MessagePlacesCheck::pushAgain(const QList<QVariantMap>& serverRows) {
    ServerEngine* const server = m_client.server();
    int pushed = 0;
    for (const QVariantMap& row : serverRows) {
        CPackMessageCommon packer;
        packer.AddRowVaule(pushedRow(row));
        const bool isSent = server && server->push(Velmar_MsgType::MessageCenterPushMsg,
                                                   packer.GetPackedMsg(false), user()) > 0;
        pushed += isSent ? 1 : 0;
    }
    return pushed;
}

CommandAnswer MessagePlacesCheck::answer(bool repair, int columns) {
    CommandAnswer failed;
    MessageCheck check;
    QString error;
    int pushedAgain = -1;
    bool isKnown = settled(&check, &error);
    if (isKnown && repair) {
        pushedAgain = pushAgain(check.missing);
        isKnown = pushedAgain == 0 || settled(&check, &error);
    }
    failed.interrupted = m_facade.interrupted() || InterruptWatch::hasCome();
    if (!isKnown || failed.interrupted) {
        failed.isFault = true;
        failed.lines.append(error);
        failed.json = QJsonObject{{QStringLiteral("error"), error}};
        return failed;
    }
    return messageCheckAnswer(check, pushedAgain, columns);
}
