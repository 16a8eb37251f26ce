#pragma once

#include <QString>
#include <QVariant>
#include <memory>

#include "gateway_link.h"

/// A list that only the suite uses: the days on which accounts of the login traded.
/// Body: UserAccount::loginUserId; UserAccount::tradingAccount, joined with ",", System::startDate,
/// System::endDate and System::queryDate to select rows; a page as for any list. Answer:
/// rows of UserAccount::tradingAccount, UserAccount::tradeDate as a whole number yyyymmdd, and
/// System::requestExeStatus; in the order of the accounts, then of the days. In an answer without
/// pages each requested account without a row gets one with a refusal.
inline const QString kTradedDays = QStringLiteral("suite.tradedDays");

/// A server with a link, as the suite needs it. It knows the logins of SampleLogin and
/// answers HostMsgType::securityAccounts (with at least 200 rows for the first login), kTradedDays
/// (with at least 100 rows of three accounts for it), subscriptions, heartbeats, and the reading
/// and writing of profiles; any other type is refused by name. Its four gates are connected when a
/// link starts.
class ServerUnderTest {
public:
    virtual ~ServerUnderTest() = default;

    /// A new connection; the server outlives it.
    virtual std::shared_ptr<GatewayLink> makeLink() = 0;
    /// Makes the server push to the subscribers of the topic.
    virtual void push(const QString& topic, const QVariant& body) = 0;
    /// Makes the newest link report a gate's state, NetGateType and NET_STATE values.
    virtual void setGate(const QString& gate, const QString& netState) = 0;
};
