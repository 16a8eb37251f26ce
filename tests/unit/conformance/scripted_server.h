#pragma once

#include <QMap>
#include <QSet>
#include <QStringList>
#include <mutex>

#include "host_msg_type.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "server_under_test.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

/// A server made of scripted answers. Any thread.
class ScriptedServer : public ServerUnderTest {
public:
    std::shared_ptr<GatewayLink> makeLink() override {
        auto link = std::make_shared<ScriptedLink>();
        link->on(HostMsgType::securityAccounts, &ScriptedServer::list);
        link->on(Quindar_MsgType::subscribeTopicRequest,
                 [this](const QVariant& body) { return subscribe(body); });
        link->on(Quindar_MsgType::getUserProfileDataRequest,
                 [this](const QVariant& body) { return readProfile(body); });
        link->on(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest,
                 [this](const QVariant& body) { return writeProfile(body); });
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

private:
    static constexpr int kRows = 230;
    static constexpr int kMaxPageSize = 5000;

    static bool knows(const QVariant& user) {
        return user == SampleLogin::user || user == SampleLogin::secondUser;
    }
    static QString positionOf(int row) {
        constexpr int kWidth = 16;
        constexpr int kDecimal = 10;
        return QStringLiteral("%1").arg(row, kWidth, kDecimal, QLatin1Char('0'));
    }

    /// Row numbers that the request's accounts leave, in order.
    static QList<int> wanted(const QVariantMap& request) {
        const QStringList accounts = request.value(UserAccount::tradingAccount)
                                         .toString()
                                         .split(QLatin1Char(','), Qt::SkipEmptyParts);
        QList<int> rows;
        for (int row = 1; row <= kRows; ++row) {
            if (accounts.isEmpty() || accounts.contains(accountOf(row))) {
                rows.append(row);
            }
        }
        return rows;
    }
    static QString accountOf(int row) { return QStringLiteral("T%1").arg((row + 1) / 2); }
    static QVariantMap record(int row) {
        return {{UserAccount::tradingAccount, accountOf(row)},
                {UserAccount::securityAccount, QStringLiteral("S%1").arg(row)},
                {UserAccount::securityExchange, QStringLiteral("1")},
                {UserAccount::isMainAccount, QStringLiteral("1")}};
    }

    static QVariant list(const QVariant& body) {
        const QVariantMap request = headerOf(body);
        if (!knows(request.value(UserAccount::loginUserId))) {
            return makeRefusal(body, QStringLiteral("no such user"));
        }
        QList<int> rows = wanted(request);
        QVariantMap header{{System::totalSize, rows.size()}};
        const bool byPosition = request.contains(System::positionStr);
        if (byPosition || request.contains(System::pageNo)) {
            const int count =
                request.value(byPosition ? System::requestNumber : System::pageSize).toInt();
            const QString asked = request.value(System::positionStr).toString();
            bool isCursor = asked.isEmpty();
            const int after = isCursor ? 0 : asked.toInt(&isCursor);
            const int page = request.value(System::pageNo).toInt();
            if (count < 1 || count > kMaxPageSize || (byPosition ? !isCursor : page < 1)) {
                return makeRefusal(body, QStringLiteral("no such page"));
            }
            if (byPosition) {
                while (!rows.isEmpty() && rows.first() <= after) {
                    rows.removeFirst();
                }
                rows = rows.mid(0, count);
                header.insert(System::positionStr,
                              rows.isEmpty() ? asked : positionOf(rows.last()));
            } else {
                rows = rows.mid((page - 1) * count, count);
                header.insert(System::pageNo, page);
                header.insert(System::pageSize, count);
            }
        }
        QList<QVariantMap> records;
        for (const int row : qAsConst(rows)) {
            records.append(record(row));
        }
        return makeAnswer(body, records, header);
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

    mutable std::mutex m_mutex;  // guards what follows; inside it the link's own is taken
    std::shared_ptr<ScriptedLink> m_link;
    QSet<QString> m_topics;
    QMap<QString, QMap<QString, QVariantMap>> m_profiles;
};
