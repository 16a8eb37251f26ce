#include "reference_rows.h"

#include <array>

#include "market_names.h"
#include "reference_field.h"
#include "security_boards.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

QString kindOf(const char* name) {
    return QString::fromLatin1(name);
}

QString text(const QVariantMap& record, const QString& key) {
    return record.value(key).toString();
}

/// The next id but one belongs to nobody, since funds of Shanghai have even ids only.
ReferenceRow etfRow(int number, const QVariantMap& fund) {
    static const std::array<const QString*, 4> codeTypes{
        &EtfCodeType::singleMarket, &EtfCodeType::crossMarket, &EtfCodeType::crossBorder,
        &EtfCodeType::bond};
    static const std::array<const QString*, 3> states{
        &EtfStatus::allow, &EtfStatus::onlyAllowApplyBuy, &EtfStatus::onlyAllowRedemption};
    const QString id = QString::number(text(fund, Security::securityID).toInt() + 1);
    const QString symbol = id + QLatin1Char('.') + SymbolPost::sh;
    QVariantMap record = fund;
    record.insert(Security::symbol, symbol);
    record.insert(Security::securityID, id);
    record.insert(Security::chineseName,
                  text(fund, Security::chineseName) + QStringLiteral("申赎"));
    record.insert(Security::minQty, 1000000);
    record.insert(ReferenceField::fundSymbol, text(fund, Security::symbol));
    record.insert(ReferenceField::etfCodeType, *codeTypes[static_cast<size_t>(number) % 4]);
    record.insert(ReferenceField::etfStatus, *states[static_cast<size_t>(number) % 3]);
    return {kindOf("etf"), symbol, record};
}

ReferenceRow bondRow(int number, const QVariantMap& bond) {
    QVariantMap record{
        {Security::symbol, text(bond, Security::symbol)},
        {Security::securityID, text(bond, Security::securityID)},
        {UserAccount::securityExchange, text(bond, UserAccount::securityExchange)},
        {ReferenceField::accruedInterest, (number % 40) / 20.0},
    };
    return {kindOf("bond"), text(bond, Security::symbol), record};
}

/// The multiplier of gold counts kilograms, the unit of trade counts grams.
ReferenceRow goldRow(const QVariantMap& gold) {
    constexpr int kGramsPerKilogram = 1000;
    QVariantMap record = gold;
    record.insert(GoldTrade::TradeUnitQty,
                  gold.value(Security::contractMultiplier).toInt() * kGramsPerKilogram);
    return {kindOf("gold"), text(gold, Security::symbol), record};
}

ReferenceRow newStockRow(int number) {
    const bool shanghai = number % 2 == 0;
    const QString id =
        QString::number((shanghai ? kNewSharesShanghai : kNewSharesShenzhen) + number);
    const QString symbol = id + QLatin1Char('.') + (shanghai ? SymbolPost::sh : SymbolPost::sz);
    const QString name = MarketNames::company(number * kCompanyTurns + kCompanyTurns - 1);
    const QVariantMap record{
        {Security::symbol, symbol},
        {Security::securityID, id},
        {Security::chineseName, name},
        {NewStock::securityName, name},
        {UserAccount::securityExchange, shanghai ? Exchange::sh : Exchange::sz},
        {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType},
        {MDCFieldDefine::mdcSubSecurityType, MdcSubSecurityType::Asharenewsharesbid},
        {ReferenceField::subscribeId,
         QString::number((shanghai ? 732901 : kNewSharesShenzhen) + number)},
        {ReferenceField::issuePrice, 8.5 + number},
    };
    return {kindOf("newstock"), symbol, record};
}

/// What an account may subscribe of new shares, per exchange.
ReferenceRow quotaRow(int number, const QString& tradingAccount, const QString& exchange) {
    const QVariantMap record{
        {UserAccount::tradingAccount, tradingAccount},
        {UserAccount::securityExchange, exchange},
        {ReferenceField::quotaQty, 1000 * (number % 20 + 1)},
    };
    return {kindOf("quota"), tradingAccount + QLatin1Char('|') + exchange, record};
}

/// A basket for securities lending, under a symbol of its own.
ReferenceRow rqtRow(int number, const QVariantMap& security) {
    const QString id = QStringLiteral("R%1").arg(number + 1, 5, 10, QLatin1Char('0'));
    const QString symbol = id + QLatin1Char('.') + SymbolPost::sh;
    const QVariantMap record{
        {Security::symbol, symbol},
        {Security::securityID, id},
        {Security::chineseName, text(security, Security::chineseName) + QStringLiteral("组合券")},
        {UserAccount::securityExchange, text(security, UserAccount::securityExchange)},
        {MDCFieldDefine::mdcSecurityType, text(security, MDCFieldDefine::mdcSecurityType)},
        {MDCFieldDefine::mdcSubSecurityType, text(security, MDCFieldDefine::mdcSubSecurityType)},
    };
    return {kindOf("rqt"), symbol, record};
}

ReferenceRow settingRow(const QString& name, const QString& value) {
    return {kindOf("setting"), name, {{System::itemName, name}, {System::itemValue, value}}};
}

void addSecurityRows(const QList<QVariantMap>& securities, const MarketStop& stop,
                     QList<ReferenceRow>& rows) {
    constexpr int kBaskets = 5;
    int etfs = 0;
    int bonds = 0;
    int baskets = 0;
    for (const QVariantMap& one : securities) {
        if (stop.isSetAt(rows.size())) {
            return;
        }
        rows.append({kindOf("security"), text(one, Security::symbol), one});
        const QString type = text(one, MDCFieldDefine::mdcSecurityType);
        const QString subType = text(one, MDCFieldDefine::mdcSubSecurityType);
        const bool shanghai = text(one, UserAccount::securityExchange) == Exchange::sh;
        if (subType == MdcSubSecurityType::TradingopenindexfundETF && shanghai) {
            rows.append(etfRow(etfs++, one));
        } else if (type == MdcSecurityType::BondType &&
                   !MdcSubSecurityType::BondRepurchaseTypeList.contains(subType)) {
            rows.append(bondRow(bonds++, one));
        } else if (type == MdcSecurityType::SpotType) {
            rows.append(goldRow(one));
        } else if (type == MdcSecurityType::StockType && shanghai && baskets < kBaskets) {
            rows.append(rqtRow(baskets++, one));
        }
    }
}

}  // namespace

QList<ReferenceRow> makeReferenceRows(const QList<QVariantMap>& securities, const AccountTree& tree,
                                      const MarketStop& stop) {
    constexpr int kNewStocks = 8;
    QList<ReferenceRow> rows;
    addSecurityRows(securities, stop, rows);
    for (int number = 0; number < kNewStocks; ++number) {
        rows.append(newStockRow(number));
    }
    int number = 0;
    for (const AccountTree::TradingAccount& account : tree.accounts) {
        if (account.binding.fundAccountType == FundAccountType::Cash) {
            rows.append(quotaRow(number++, account.account, Exchange::sh));
            rows.append(quotaRow(number++, account.account, Exchange::sz));
        }
    }
    rows.append(settingRow(SystemSetting::SysMultiTimeOutCount, QStringLiteral("5")));
    rows.append(settingRow(SystemSetting::SysMultiTimeOutHandle, QStringLiteral("0")));
    return rows;
}
