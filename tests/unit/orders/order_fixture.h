#pragma once

#include <QHash>
#include <QPair>
#include <QStringList>
#include <memory>

#include "client_world.h"
#include "clock.h"
#include "order_messages.h"
#include "security_accounts_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

/// The choice of security accounts as a test defines it; records who was asked for.
class ChosenAccounts final : public SecurityAccountsReader {
public:
    void waitForAccounts() const override {}
    QString fundAccountTypeOf(const QString&) const override { return {}; }
    QStringList securityExchangesOf(const QString&) override { return {}; }
    QString GetCurrentSecurityAccountByTradingAndExchange(const QString& tradingAccount,
                                                          const QString& exchange) override {
        calls.append(tradingAccount + '/' + exchange);
        return chosen.value(calls.last());
    }

    QHash<QString, QString> chosen;  ///< "account/exchange" to security account
    QStringList calls;
};

/// Moves on by a second each time it is read.
class TickingClock final : public Clock {
public:
    QDateTime now() const override {
        m_now = m_now.addSecs(1);
        return m_now;
    }

    static constexpr qint64 kStartMs = 1700000000123;

private:
    mutable QDateTime m_now = QDateTime::fromMSecsSinceEpoch(kStartMs);
};

/// A message taken apart, and deleted.
struct TakenMessage {
    explicit TakenMessage(CMessageCommon* message) {
        const std::unique_ptr<CMessageCommon> owned(message);
        if (!owned) {
            return;
        }
        exists = true;
        type = owned->GetType().toString();
        sourceId = owned->GetSrcid();
        CUnPackMessageCommon unpacker;
        unpacker.SetUnPackMsg(owned->GetMsg(), false);
        header = unpacker.GetRowValue();
        for (int row = 1; unpacker.SetCurrentRow(row); ++row) {
            rows.append(unpacker.GetRowValue());
        }
    }

    QString headerText(const QString& field) const { return header.value(field).toString(); }

    bool exists = false;
    QString type;
    QString sourceId;
    QVariantMap header;
    QList<QVariantMap> rows;
};

/// Order messages over a client world with three symbols: "600000.SH", "000001.SZ" and
/// "02001.HK", which two exchanges list.
struct OrderFixture {
    OrderFixture() : world({}, symbols()) { world.login(); }

    static StaticDbBuilder symbols() {
        StaticDbBuilder data;
        const auto add = [&data](const QString& symbol, const QString& exchanges) {
            data.reference("security", symbol,
                           {{Security::symbol, symbol},
                            {Security::securityID, symbol.section('.', 0, 0)},
                            {UserAccount::securityExchange, exchanges}});
        };
        add("600000.SH", Exchange::sh);
        add("000001.SZ", Exchange::sz);
        add("02001.HK", Exchange::hhk + "," + Exchange::szhk);
        return data;
    }

    static QVariantMap order(const QString& symbol = "600000.SH") {
        return {{Security::symbol, symbol},
                {UserAccount::tradingAccount, "T1"},
                {Security::side, OrderSide::buy},
                {Security::orderQty, 100}};
    }
    static QVariantMap with(QVariantMap record, const QVariantMap& more) {
        for (auto it = more.cbegin(); it != more.cend(); ++it) {
            record.insert(it.key(), it.value());
        }
        return record;
    }

    TakenMessage list(const QList<QVariantMap>& list, bool numericType = false,
                      bool packFlag = false) const {
        return TakenMessage(messages.NewOrderList(list, numericType, packFlag));
    }
    TakenMessage instance(const QList<QVariantMap>& list, const QString& msgType = "type") const {
        return TakenMessage(messages.NewOrderListForInstance(list, msgType));
    }
    TakenMessage cancel(const QVariantMap& order, bool numericType = false) const {
        return TakenMessage(messages.OrderCancelRequest(order, numericType));
    }
    /// The only row of an order that is a batch of its own.
    QVariantMap rowOf(const QVariantMap& order) const { return list({{}, order}).rows.value(0); }
    QVariantMap instanceRowOf(const QVariantMap& order) const {
        return instance({{}, order}).rows.value(0);
    }

    ClientWorld world;
    ChosenAccounts accounts;
    TickingClock clock;
    const OrderMessages messages{accounts, clock};
};
