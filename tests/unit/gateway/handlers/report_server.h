#pragma once

#include <QDateTime>
#include <QSqlQuery>

#include "host_msg_type.h"
#include "market_server.h"
#include "market_store.h"
#include "vocabulary/velmar_msg_type.h"

/// An amount of yuan in fen, so that sums are exact.
inline qint64 fenOf(const QVariantMap& row, const QString& field) {
    return qRound64(row.value(field).toDouble() * 100);
}

inline bool isSuccess(const QVariantMap& header) {
    return header.value(System::requestExeStatus).toString() == RequestExeStatus::success;
}

/// A server over a small market whose clock is set, with its store and requests that have rows.
class ReportServer : public MarketServer {
public:
    /// Also logs the first user in and sets the clock to the noon of 2026-03-10, a Tuesday.
    bool make(QString* error) {
        if (!MarketServer::make(error)) {
            return false;
        }
        setDay({2026, 3, 10});
        if (!isSuccess(ask(HostMsgType::login, {{UserAccount::loginUserId, SampleLogin::user},
                                                {HostField::password, SampleLogin::password}}))) {
            *error = QStringLiteral("the log-in failed");
            return false;
        }
        store = MarketStore::open(storeFile(), error);
        return store != nullptr;
    }
    void setDay(const QDate& day) const {
        engine->setClock([day] { return QDateTime(day, QTime(12, 0)); });
    }

    /// Sends a row for each account; the header of the answer.
    QVariantMap askAccounts(const QString& msgType, QVariantMap fields,
                            const QStringList& accounts) {
        QList<QVariantMap> requested;
        for (const QString& account : accounts) {
            requested.append({{UserAccount::tradingAccount, account}});
        }
        fields.insert(System::msgType, msgType);
        answer = engine->handle(session, msgType, packRows(fields, requested));
        return headerOf(answer);
    }

    /// The first column of the store's rows.
    QStringList stored(const QString& sql) const {
        QStringList values;
        store->select(sql, {}, [&values](const QSqlQuery& query) {
            values.append(query.value(0).toString());
        });
        return values;
    }
    qint64 storedNumber(const QString& sql) const { return stored(sql).value(0).toLongLong(); }
    /// Those that the first user may see, in the tree's order.
    QStringList accountsOfKind(const QString& kind) const {
        return stored(QStringLiteral("SELECT trading_account FROM trading_account JOIN"
                                     " account_authority USING(trading_account) WHERE user_id ="
                                     " '%1' AND fund_account_type = '%2' ORDER BY seq")
                          .arg(SampleLogin::user, kind));
    }

    std::shared_ptr<const MarketStore> store;
};
