#pragma once

#include <QDate>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <mutex>

#include "gate_events.h"
#include "host_msg_type.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "server_under_test.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

/// A server made of scripted answers. Any thread.
class ScriptedServer : public ServerUnderTest {
public:
    std::shared_ptr<GatewayLink> makeLink() override {
        auto link = std::make_shared<ScriptedLink>();
        link->on(HostMsgType::securityAccounts, &ScriptedServer::securityAccounts);
        link->on(kTradedDays, &ScriptedServer::tradedDays);
        link->on(Velmar_MsgType::queryHistoryExecutionRequest, &ScriptedServer::deals);
        link->on(Velmar_MsgType::queryTodayNormalFundRequest, &ScriptedServer::funds);
        link->on(Velmar_MsgType::getSysTradeDateByScopeRequest, &ScriptedServer::tradeDays);
        link->on(Quindar_MsgType::subscribeTopicRequest,
                 [this](const QVariant& body) { return subscribe(body); });
        link->on(Quindar_MsgType::getUserProfileDataRequest,
                 [this](const QVariant& body) { return readProfile(body); });
        link->on(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest,
                 [this](const QVariant& body) { return writeProfile(body); });
        link->on(Velmar_MsgType::BusiHeartBeatRequest, &ScriptedServer::heartBeat);
        for (const GateEvent& event : gateEvents()) {
            link->gateState(event.gate, NET_STATE::CONNECTED);
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_topics.clear();
        m_link = link;
        return link;
    }

    void push(const QString& topic, const QVariant& body) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_topics.contains(topic)) {
            m_link->push(topic, body);
        }
    }

    void setGate(const QString& gate, const QString& netState) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        // Subscriptions come through the trade gate here.
        if (gate == NetGateType::TradeGate && netState != NET_STATE::CONNECTED) {
            m_topics.clear();
        }
        m_link->gateState(gate, netState);
    }

private:
    inline static const QString kDealAccount = QStringLiteral("T000001");
    static constexpr int kRows = 230;
    static constexpr int kTradingAccounts = 4;
    static constexpr int kDaysOfEach = 40;
    static constexpr int kMaxPageSize = 5000;

    static QVariant heartBeat(const QVariant& body) {
        return makeAnswer(body, {}, {{System::msgType, Velmar_MsgType::BusiHeartBeatResponse}});
    }
    static bool knows(const QVariant& user) {
        return user == SampleLogin::user || user == SampleLogin::secondUser;
    }
    static QString positionOf(int row) {
        constexpr int kWidth = 16;
        constexpr int kDecimal = 10;
        return QStringLiteral("%1").arg(row, kWidth, kDecimal, QLatin1Char('0'));
    }

    static QStringList accountsOf(const QVariantMap& request) {
        return request.value(UserAccount::tradingAccount)
            .toString()
            .split(QLatin1Char(','), Qt::SkipEmptyParts);
    }

    static QVariant securityAccounts(const QVariant& body) {
        const QStringList accounts = accountsOf(headerOf(body));
        QMap<int, QVariantMap> rows;
        for (int row = 1; row <= kRows; ++row) {
            const QString account = QStringLiteral("T%1").arg((row + 1) / 2);
            if (accounts.isEmpty() || accounts.contains(account)) {
                rows.insert(row, {{UserAccount::tradingAccount, account},
                                  {UserAccount::securityAccount, QStringLiteral("S%1").arg(row)},
                                  {UserAccount::securityExchange, QStringLiteral("1")},
                                  {UserAccount::isMainAccount, QStringLiteral("1")}});
            }
        }
        return list(body, rows);
    }

    static QVariant deals(const QVariant& body) {
        QMap<int, QVariantMap> rows;
        if (accountsOf(headerOf(body)).contains(kDealAccount)) {
            for (int row = 1; row <= kRows; ++row) {
                rows.insert(row, {{UserAccount::tradingAccount, kDealAccount},
                                  {UserAccount::tradeDate, QStringLiteral("20250303")},
                                  {Security::execID, QString::number(row)}});
            }
        }
        return list(body, rows);
    }

    static QVariant funds(const QVariant& body) {
        QList<QVariantMap> rows;
        for (const QVariantMap& asked : rowsOf(body)) {
            const QString account = asked.value(UserAccount::tradingAccount).toString();
            const bool isKnown = account == kDealAccount;
            rows.append({{UserAccount::tradingAccount, account},
                         {System::requestExeStatus,
                          isKnown ? RequestExeStatus::success : QStringLiteral("1")},
                         {System::textDescription,
                          isKnown ? QString() : QStringLiteral("no such account")}});
        }
        return rows.isEmpty() ? makeRefusal(body, QStringLiteral("no accounts"))
                              : makeAnswer(body, rows);
    }

    static QVariant tradeDays(const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const auto day = [&request](const QString& field) {
            return QDate::fromString(request.value(field).toString(), QStringLiteral("yyyyMMdd"));
        };
        const QDate last = day(SysTradeDate::InitEndDate);
        QList<QVariantMap> rows;
        for (QDate date = day(SysTradeDate::InitStartDate); date <= last; date = date.addDays(1)) {
            if (date.dayOfWeek() < Qt::Saturday) {
                rows.append({{SysTradeDate::TradeDate, date.toString(QStringLiteral("yyyyMMdd"))}});
            }
        }
        return makeAnswer(body, rows);
    }

    /// A day of a request as a number, from any of its forms; `standard` when it is missing, 0 when
    /// it is invalid.
    static int dayOf(const QVariantMap& request, const QString& field, int standard) {
        const QString text = request.value(field).toString();
        if (text.isEmpty()) {
            return standard;
        }
        QDate day = QDate::fromString(text, QStringLiteral("yyyyMMdd"));
        if (!day.isValid()) {
            day = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
        }
        return day.isValid() ? day.toString(QStringLiteral("yyyyMMdd")).toInt() : 0;
    }

    static QVariant tradedDays(const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const QStringList accounts = accountsOf(request);
        constexpr int kNoEnd = 99999999;
        const int first = dayOf(request, System::startDate, 1);
        const int last = dayOf(request, System::endDate, kNoEnd);
        const int only = dayOf(request, System::queryDate, kNoEnd);
        for (const QString& field : {System::startDate, System::endDate, System::queryDate}) {
            if (dayOf(request, field, 1) == 0) {
                return makeRefusal(body, "no such day: " + request.value(field).toString());
            }
        }
        QMap<int, QVariantMap> rows;
        QStringList without = accounts;
        for (int i = 0; i < kTradingAccounts * kDaysOfEach; ++i) {
            const QString account = QStringLiteral("T%1").arg(1 + i / kDaysOfEach);
            const QDate date = QDate(2025, 1, 20).addDays(i % kDaysOfEach);
            const int day = date.toString(QStringLiteral("yyyyMMdd")).toInt();
            const bool isAsked = accounts.isEmpty() || accounts.contains(account);
            if (isAsked && first <= day && day <= last && (only == kNoEnd || only == day)) {
                rows.insert(i + 1, {{UserAccount::tradingAccount, account},
                                    {UserAccount::tradeDate, day},
                                    {System::requestExeStatus, RequestExeStatus::success}});
                without.removeAll(account);
            }
        }
        without.removeDuplicates();
        QList<QVariantMap> refused;
        for (const QString& account : qAsConst(without)) {
            refused.append({{UserAccount::tradingAccount, account},
                            {System::requestExeStatus, QStringLiteral("1")},
                            {System::textDescription, account + " has no rows"}});
        }
        return list(body, rows, refused);
    }

    /// The rows, by their positions, that the request asks for; when it asks for all of them,
    /// followed by `further`.
    static QVariant list(const QVariant& body, QMap<int, QVariantMap> rows,
                         const QList<QVariantMap>& further = {}) {
        const QVariantMap request = headerOf(body);
        if (!knows(request.value(UserAccount::loginUserId))) {
            return makeRefusal(body, QStringLiteral("no such user"));
        }
        QVariantMap header{{System::totalSize, rows.size()}};
        const bool byPosition = request.contains(System::positionStr);
        if (!byPosition && !request.contains(System::pageNo)) {
            return makeAnswer(body, rows.values() + further, header);
        }
        const int count =
            request.value(byPosition ? System::requestNumber : System::pageSize).toInt();
        const QString position = request.value(System::positionStr).toString();
        bool isCursor = position.isEmpty();
        const int after = isCursor ? 0 : position.toInt(&isCursor);
        const int page = request.value(System::pageNo).toInt();
        if (count < 1 || count > kMaxPageSize || (byPosition ? !isCursor : page < 1)) {
            return makeRefusal(body, QStringLiteral("no such page"));
        }
        if (byPosition) {
            while (!rows.isEmpty() && rows.firstKey() <= after) {
                rows.erase(rows.begin());
            }
            const QList<int> positions = rows.keys().mid(0, count);
            header.insert(System::positionStr,
                          positions.isEmpty() ? position : positionOf(positions.last()));
            return makeAnswer(body, rows.values().mid(0, count), header);
        }
        header.insert(System::pageNo, page);
        header.insert(System::pageSize, count);
        return makeAnswer(body, rows.values().mid((page - 1) * count, count), header);
    }

    QVariant subscribe(const QVariant& body) {
        const QVariantMap request = headerOf(body);
        if (request.value(Security::subscriptionRequestType) != SubscribeType::subscribe ||
            !knows(request.value(UserAccount::userID))) {
            return makeRefusal(body, QStringLiteral("no such subscription"));
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_topics.insert(request.value(System::subscriptionTopic).toString());
        return makeAnswer(body, {});
    }

    QVariant readProfile(const QVariant& body) const {
        const QVariantMap request = headerOf(body);
        if (!knows(request.value(UserAccount::userID))) {
            return makeRefusal(body, QStringLiteral("no such user"));
        }
        const QString key = request.value(System::profileKey).toString();
        const bool isFuzzy = request.value(System::fuzzy) == QStringLiteral("1");
        QList<QVariantMap> rows;
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto records = m_profiles.value(request.value(UserAccount::userID).toString());
        for (auto it = records.cbegin(); it != records.cend(); ++it) {
            if (isFuzzy ? it.key().startsWith(key) : it.key() == key) {
                rows.append(it.value());
            }
        }
        return makeAnswer(body, rows);
    }

    QVariant writeProfile(const QVariant& body) {
        const QList<QVariantMap> rows = rowsOf(body);
        if (rows.size() < headerOf(body).value(System::subGroupNumber).toInt()) {
            return makeRefusal(body, QStringLiteral("rows are missing"));
        }
        QList<QVariantMap> statuses;
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (QVariantMap row : rows) {
            row.remove(Security::alterType);
            m_profiles[row.value(UserAccount::userID).toString()].insert(
                row.value(System::profileKey).toString(), row);
            statuses.append({{System::profileKey, row.value(System::profileKey)},
                             {System::requestExeStatus, RequestExeStatus::success}});
        }
        return makeAnswer(body, statuses);
    }

    mutable std::mutex m_mutex;  // guards the members below; held while the link's lock is taken
    std::shared_ptr<ScriptedLink> m_link;
    QSet<QString> m_topics;
    QMap<QString, QMap<QString, QVariantMap>> m_profiles;
};
