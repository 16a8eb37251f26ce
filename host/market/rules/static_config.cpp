#include "static_config.h"

#include <QSet>

#include "authority_rows.h"
#include "order_status.h"
#include "rule_table.h"
#include "security_boards.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

using Rows = QVector<StaticConfigRow>;

void addLadder(Rows& rows, const QString& section, const PriceLadder& ladder) {
    for (const PriceLadder::Band& band : ladder.bands()) {
        rows.append({section, QString::number(band.upTo), band.spread});
    }
}

bool addQuantityRules(Rows& rows, QString* error) {
    const QString condition = QStringLiteral("condition");
    const QStringList columns{QStringLiteral("name"), QStringLiteral("key"), condition,
                              QStringLiteral("step"), QStringLiteral("min"), QStringLiteral("max"),
                              QStringLiteral("rule")};
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("quantity_rules.csv"), columns, &table, error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        const QString key = table.cell(row, QStringLiteral("key"));
        const QString conditions = table.cell(row, condition);
        if (conditions.isEmpty()) {
            rows.append({QuantitySection::step, key, table.cell(row, QStringLiteral("step"))});
            rows.append({QuantitySection::min, key, table.cell(row, QStringLiteral("min"))});
        }
        const QString maxKey = conditions.isEmpty() ? key : key + QLatin1Char('_') + conditions;
        rows.append({QuantitySection::max, maxKey, table.cell(row, QStringLiteral("max"))});
    }
    return true;
}

bool addOrderStatus(Rows& rows, QString* error) {
    OrderStatusTable states;
    if (!states.load(error)) {
        return false;
    }
    for (const QString& code : states.codes()) {
        rows.append(
            {Constants::ORDERSTATUSSWITCH, code, states.successorsOf(code).join(QLatin1Char('|'))});
    }
    return true;
}

/// The dictionaries of business messages, and the default settings of how a client shows them.
bool addMessageCenter(Rows& rows, QString* error) {
    const QString section = QStringLiteral("section");
    const QString key = QStringLiteral("key");
    const QString value = QStringLiteral("value");
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("message_dictionary.csv"), {section, key, value}, &table,
                         error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        rows.append({table.cell(row, section), table.cell(row, key), table.cell(row, value)});
    }
    rows.append(
        {QStringLiteral("BusiMsgCenter"), QStringLiteral("AlwaysSaveDB"), QStringLiteral("0")});
    return true;
}

void addGateNames(Rows& rows) {
    const QString section = QStringLiteral("NetGateName");
    rows.append({section, NetGateType::TradeGate, QStringLiteral("交易网关")});
    rows.append({section, NetGateType::InfoGate, QStringLiteral("资讯网关")});
    rows.append({section, NetGateType::MarketTcpGate, QStringLiteral("行情网关")});
    rows.append({section, NetGateType::MarketGrpcGate, QStringLiteral("行情查询网关")});
}

void addSymbolPosts(Rows& rows) {
    const QString& section = DictionaryKey::Markert2SymbolPost;
    rows.append({section, Exchange::sh, SymbolPost::sh});
    rows.append({section, Exchange::sz, SymbolPost::sz});
    rows.append({section, Exchange::bj, kBeijingPost});
    rows.append({section, Exchange::hhk, SymbolPost::hk});
    rows.append({section, Exchange::szhk, SymbolPost::hk});
    rows.append({section, Exchange::hk, SymbolPost::hk});
    rows.append({section, Exchange::cffex, SymbolPost::cffex});
    rows.append({section, Exchange::shf, SymbolPost::shf});
    rows.append({section, Exchange::dcz, SymbolPost::dce});
    rows.append({section, Exchange::czce, SymbolPost::czce});
    rows.append({section, Exchange::sge, kGoldPost});
}

void addAuthorityTypes(Rows& rows) {
    for (const auto& type : sampleAuthorityTypes()) {
        rows.append({UserAccount::authType, type.first, type.second});
    }
}

}  // namespace

QString staticConfigFault(const QVector<StaticConfigRow>& rows) {
    QSet<QString> seen;
    for (const StaticConfigRow& row : rows) {
        const QString name = row.section + QLatin1Char(' ') + row.key;
        if (seen.contains(name)) {
            return QStringLiteral("%1: the key occurs twice").arg(name);
        }
        seen.insert(name);
        const bool isQuantity = row.section == QuantitySection::step ||
                                row.section == QuantitySection::min ||
                                row.section == QuantitySection::max;
        bool isNumber = false;
        const int quantity = row.value.toInt(&isNumber);
        if (isQuantity && (!isNumber || quantity <= 0)) {
            return QStringLiteral("%1: \"%2\" is not a quantity above 0").arg(name, row.value);
        }
    }
    return {};
}

bool makeStaticConfig(const MarketRules& rules, QVector<StaticConfigRow>* rows, QString* error) {
    addLadder(*rows, DictionaryKey::HkStockPriceUnitDict, rules.hongKongShares);
    addLadder(*rows, DictionaryKey::HkFundPriceUnitDict, rules.hongKongFunds);
    if (!addQuantityRules(*rows, error) || !addOrderStatus(*rows, error) ||
        !addMessageCenter(*rows, error)) {
        return false;
    }
    addGateNames(*rows);
    addSymbolPosts(*rows);
    addAuthorityTypes(*rows);
    // The largest number of rows of a report.
    rows->append(
        {QStringLiteral("ProductReports"), QStringLiteral("MaxNum"), QStringLiteral("50000")});
    *error = staticConfigFault(*rows);
    return error->isEmpty();
}
