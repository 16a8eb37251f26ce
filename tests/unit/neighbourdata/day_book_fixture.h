#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include "day_book.h"
#include "log_capture.h"
#include "order_status.h"
#include "platform_fixture.h"
#include "static_db_builder.h"
#include "trade_fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znmsg/c_un_pack_message_common.h"

/// A security of every kind, for the accounts below.
inline StaticDbBuilder dayBookSecurities() {
    const auto security = [](const QString& symbol, const QString& exchange, const QString& type,
                             const QVariantMap& more = {}) {
        QVariantMap record{{Security::symbol, symbol},
                           {Security::securityID, symbol.section('.', 0, 0)},
                           {UserAccount::securityExchange, exchange},
                           {MDCFieldDefine::mdcSecurityType, type}};
        for (auto it = more.cbegin(); it != more.cend(); ++it) {
            record.insert(it.key(), it.value());
        }
        return record;
    };
    const QVariantMap gold =
        security("AU01.SGE", Exchange::sge, MdcSecurityType::SpotType,
                 {{Security::contractMultiplier, 1}, {GoldTrade::TradeUnitQty, 1000}});
    StaticDbBuilder data;
    for (const QVariantMap& one :
         {security("600000.SH", Exchange::sh, MdcSecurityType::StockType),
          security("000001.SZ", Exchange::sz, MdcSecurityType::StockType),
          security("113001.SH", Exchange::sh, MdcSecurityType::BondType),
          security("IF2601.CFE", Exchange::cffex, MdcSecurityType::FuturesType,
                   {{Security::contractMultiplier, 300}}),
          security("10000001.SH", Exchange::sh, MdcSecurityType::OptionType,
                   {{Security::contractMultiplier, 10000}}),
          security("00700.HK", Exchange::hhk, MdcSecurityType::StockType), gold}) {
        data.reference("security", one.value(Security::symbol).toString(), one);
    }
    data.section(DictionaryKey::Markert2SymbolPost,
                 {{Exchange::sh, SymbolPost::sh}, {Exchange::sz, SymbolPost::sz}});
    return data;
}

/// An opening with an account of every kind ("C1" and "C2" cash, "M1" margin, "F1" futures, "O1"
/// options, "G1" gold), one that the login may only look at ("V1") and a frozen one ("Z1"). All
/// have a million; C1 holds 1,000 pieces of 600000.SH at 10.00.
inline DayOpening dayBookOpening() {
    const QMap<QString, QString> shares{
        {Exchange::sh, "SH-"}, {Exchange::sz, "SZ-"}, {Exchange::hhk, "HK-"}};
    DayOpening opening;
    const auto add = [&opening](const QString& account, const QString& kind,
                                QMap<QString, QString> accounts) {
        for (QString& one : accounts) {
            one += account;
        }
        opening.accounts.append({account, kind, account != "V1", account == "Z1", accounts, 1e6});
    };
    add("C1", FundAccountType::Cash, shares);
    add("C2", FundAccountType::Cash, shares);
    add("M1", FundAccountType::Credit, shares);
    add("F1", FundAccountType::Future, {{Exchange::cffex, "CF-"}});
    add("O1", FundAccountType::Option, {{Exchange::sh, "OP-"}});
    add("G1", FundAccountType::Metal, {{Exchange::sge, "AU-"}});
    add("V1", FundAccountType::Cash, shares);
    add("Z1", FundAccountType::Cash, shares);
    opening.positions.append({"C1", "600000", Exchange::sh, "SH-C1", 1000, 10.0});
    return opening;
}

inline QVariantMap dealRecord(const QString& account, const QString& symbol, const QString& side,
                              const QVariant& quantity, const QVariant& price,
                              const QVariantMap& more = {}) {
    QVariantMap record{{UserAccount::tradingAccount, account},
                       {Security::symbol, symbol},
                       {Security::side, side},
                       {Security::lastQty, quantity},
                       {TradeField::dealPrice, price}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return record;
}

inline QVariantMap orderRecord(const QString& account, const QString& symbol, const QString& id,
                               const QVariant& quantity, const QVariantMap& more = {}) {
    QVariantMap record{{UserAccount::tradingAccount, account},
                       {Security::symbol, symbol},
                       {Security::orderID, id},
                       {Security::side, OrderSide::buy},
                       {Security::orderQty, quantity}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return record;
}

/// A loaded book over a local platform.
struct DayBookFixture {
    explicit DayBookFixture(const std::function<void(DayOpening&)>& change = {})
        : platform([this](LocalPlatform::Options& options) {
              options.staticDbFile = QDir(dir.path()).filePath("static.sqlite");
              dayBookSecurities().write(options.staticDbFile);
          }) {
        opening = dayBookOpening();
        if (change) {
            change(opening);
        }
        book = std::make_unique<DayBook>([this](DayOpening* out, QString* text) {
            *text = failure;
            *out = opening;
            return failure.isEmpty();
        });
    }

    void load() {
        if (!book->load(&error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
    }
    bool deal(const QString& account, const QString& symbol, const QString& side,
              const QVariant& quantity, const QVariant& price, const QVariantMap& more = {}) {
        return book->putDeal(dealRecord(account, symbol, side, quantity, price, more), &error);
    }
    QVariantMap position(const QString& account, const QString& symbol) const {
        const auto rows =
            book->positions({{UserAccount::tradingAccount, account}, {Security::symbol, symbol}});
        return rows.size() == 1 ? rows.first() : QVariantMap();
    }
    double quantity(const QString& account, const QString& symbol) const {
        return position(account, symbol).value(Security::nominalQty, -1).toDouble();
    }
    double cost(const QString& account, const QString& symbol) const {
        return position(account, symbol).value(Security::omsAverageCost, -1).toDouble();
    }
    QVariantMap order(const QString& id) const {
        const auto rows = book->orders({{Security::orderID, id}}, 0, -1, nullptr);
        return rows.size() == 1 ? rows.first() : QVariantMap();
    }

    QTemporaryDir dir;
    PlatformFixture platform;
    DayOpening opening;
    QString failure;
    QString error;
    std::unique_ptr<DayBook> book;
};
