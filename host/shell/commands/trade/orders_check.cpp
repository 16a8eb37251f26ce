#include "orders_check.h"

#include <QJsonDocument>
#include <QSet>

#include "exact_json.h"
#include "figures_text.h"
#include "order_cross_check.h"
#include "order_fields.h"
#include "orders_replay.h"
#include "text_table.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

inline const QString kNo = QStringLiteral("false");

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

/// A field of a message's row as text; numbers as decimals.
QString text(const QJsonObject& row, const QString& field) {
    return row.value(field).toVariant().toString();
}

QString jsonText(const QJsonValue& value) {
    return QString::fromUtf8(value.isArray()
                                 ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                                 : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
}

/// Field names of the file that are probably misspelt, sorted.
QStringList unknownFields(const RecordFile& file) {
    QSet<QString> known;
    QSet<QString> unknown;
    for (const FileRecord& record : file.records) {
        for (auto it = record.fields.cbegin(); it != record.fields.cend(); ++it) {
            if (!known.contains(it.key())) {
                (isOrderField(it.key()) ? known : unknown).insert(it.key());
            }
        }
    }
    QStringList names = unknown.values();
    names.sort();
    return names;
}

}  // namespace

OrdersCheck::OrdersCheck(const FacadeLibrary& library, const FacadeAsk& ask,
                         const QMap<QString, QVariantMap>& ticks)
    : m_facade(library, ask), m_ticks(ticks) {}

bool OrdersCheck::isCancel(const QVariantMap& record) {
    return !text(record, Security::orderID).isEmpty() ||
           text(record, Security::entrustType) == EntrustType::CancelOrder;
}

QJsonValue OrdersCheck::ask(const QString& function, const QStringList& arguments) {
    // A file of thousands of orders has few accounts and symbols.
    const QString key = function + QChar(0) + arguments.join(QChar(0));
    const auto known = m_answers.constFind(key);
    if (known != m_answers.constEnd()) {
        return *known;
    }
    QJsonValue answer = m_facade.ask(function, arguments);
    m_answers.insert(key, answer);
    return answer;
}

double OrdersCheck::number(const QString& function, const QStringList& arguments) {
    return ask(function, arguments).toVariant().toDouble();
}

QJsonArray OrdersCheck::buildOrders(const QVector<Checked>& checked) {
    // The first record is the header of the batch.
    QJsonArray list{QJsonObject()};
    for (const Checked& one : checked) {
        if (!one.isCancel) {
            list.append(exactJsonObject(one.record->fields));
        }
    }
    if (list.size() == 1) {
        return {};
    }
    m_orderMessage =
        m_facade.ask(QStringLiteral("NewOrderList"), {jsonText(list), kNo, kNo}).toObject();
    return m_orderMessage.take(QStringLiteral("rows")).toArray();
}

void OrdersCheck::add(Checked& one, const QString& field, const QString& expected,
                      const QString& from) {
    const QString value = text(one.row, field);
    if (value.isEmpty() && expected.isEmpty()) {
        return;
    }
    one.derived.append(
        {field, value,
         OrderCrossCheck::isSameValue(value, expected)
             ? from
             : QStringLiteral("unclear: the record as read gives '%1'").arg(expected)});
}

void OrdersCheck::deriveStation(Checked& one) {
    const QString own = text(one.record->fields, Security::orderStation);
    if (own.isEmpty()) {
        add(one, Security::orderStation,
            ask(QStringLiteral("GetVelmarOrderStation"), {QString()}).toString(),
            QStringLiteral("this machine"));
    } else {
        add(one, Security::orderStation, own, QStringLiteral("record"));
    }
}

void OrdersCheck::deriveAccount(Checked& one) {
    const QVariantMap& order = one.record->fields;
    const QString own = text(order, UserAccount::securityAccount);
    const QString ownExchange = text(order, UserAccount::securityExchange);
    if (!own.isEmpty()) {
        add(one, UserAccount::securityAccount, own, QStringLiteral("record"));
        add(one, UserAccount::securityExchange, ownExchange, QStringLiteral("record"));
        return;
    }
    QString exchange = ownExchange;
    QString from = QStringLiteral("record");
    if (exchange.isEmpty()) {
        const QString symbol = text(order, Security::symbol);
        exchange = ask(QStringLiteral("GetSecurityExchangeListBySymbol"), {symbol})
                       .toArray()
                       .first()
                       .toString();
        from = QStringLiteral("first exchange of %1").arg(symbol);
    }
    if (exchange.isEmpty()) {
        one.derived.append({UserAccount::securityAccount,
                            text(one.row, UserAccount::securityAccount),
                            QStringLiteral("not derived: no exchange is known")});
        return;
    }
    const QString account = text(order, UserAccount::tradingAccount);
    const QString chosen =
        ask(QStringLiteral("GetCurrentSecurityAccountByTradingAndExchange"), {account, exchange})
            .toString();
    if (chosen.isEmpty()) {
        one.derived.append(
            {UserAccount::securityAccount, text(one.row, UserAccount::securityAccount),
             QStringLiteral("account '%1' has no security account at %2").arg(account, exchange)});
    } else {
        add(one, UserAccount::securityAccount, chosen,
            QStringLiteral("chosen for %1 at exchange %2").arg(account, exchange));
    }
    add(one, UserAccount::securityExchange, exchange, from);
}

void OrdersCheck::deriveOrder(Checked& one) {
    const QVariantMap& order = one.record->fields;
    const OrderCrossCheck::TimeInForce family = OrderCrossCheck::timeInForceOf(order);
    const auto expected = [&](const QString& field, const QString& derived) {
        return family.isDerived ? derived : text(order, field);
    };
    add(one, Security::timeInForce, expected(Security::timeInForce, family.timeInForce),
        family.reason);
    add(one, Security::maxPriceLevels, expected(Security::maxPriceLevels, family.maxPriceLevels),
        family.reason);
    add(one, Security::minQty, expected(Security::minQty, family.minQty), family.reason);
    if (!family.isDerived && one.derived.isEmpty()) {
        one.derived.append({Security::timeInForce, QString(), family.reason});
    }
    const QString id = text(order, Security::securityID);
    const QString symbol = text(order, Security::symbol);
    if (id.isEmpty()) {
        const QString found = text(one.row, Security::securityID);
        one.derived.append({Security::securityID, found,
                            found.isEmpty() ? QStringLiteral("no id is known for '%1'").arg(symbol)
                                            : QStringLiteral("looked up for %1").arg(symbol)});
    } else {
        add(one, Security::securityID, id, QStringLiteral("record"));
    }
    deriveStation(one);
    const QString instruction = text(order, Instruction::InstructionID);
    if (!instruction.isEmpty()) {
        const QString from = QStringLiteral("instruction of the record");
        add(one, Security::parentOrderID, instruction, from);
        add(one, Security::orderFlowType, orderFlowType::instructionOrder, from);
    }
    deriveAccount(one);
    one.derived.append({Security::transActTime, text(one.row, Security::transActTime),
                        QStringLiteral("time of the message")});
}

void OrdersCheck::buildCancel(Checked& one) {
    const QVariantMap& order = one.record->fields;
    one.message =
        m_facade.ask(QStringLiteral("OrderCancelRequest"), {jsonText(exactJsonObject(order)), kNo})
            .toObject();
    one.row = one.message.value(QLatin1String("header")).toObject();
    for (const QString& field : {System::clientMsgID, Security::orderID, Security::clOrdID,
                                 UserAccount::tradingAccount, UserAccount::securityAccount}) {
        if (!text(order, field).isEmpty()) {
            add(one, field, text(order, field), QStringLiteral("record, as text"));
        }
    }
    deriveStation(one);
    one.derived.append({Security::transActTime, text(one.row, Security::transActTime),
                        QStringLiteral("time of the message")});
    const bool isNamed =
        !text(order, Security::orderID).isEmpty() || !text(order, Security::clOrdID).isEmpty();
    one.rules.append({QStringLiteral("names an order"), isNamed ? Result::Pass : Result::Fail,
                      isNamed ? QString() : QStringLiteral("neither orderID nor clOrdID")});
}

QString OrdersCheck::resultText(Result result) {
    switch (result) {
        case Result::Pass:
            return QStringLiteral("pass");
        case Result::Fail:
            return QStringLiteral("FAIL");
        case Result::Open:
            break;
    }
    return QStringLiteral("open");
}

QStringList OrdersCheck::description(const Checked& one) {
    const QVariantMap& record = one.record->fields;
    const QString account = text(record, UserAccount::tradingAccount);
    if (one.isCancel) {
        return {QStringLiteral("cancel %1").arg(text(record, Security::orderID)).trimmed(),
                account};
    }
    const QString price = text(record, TradeField::orderPrice);
    const QString symbol = text(record, Security::symbol);
    const QString side = text(record, Security::side);
    return {
        symbol.isEmpty() ? QStringLiteral("no symbol") : symbol, account,
        QStringLiteral("%1: %2%3")
            .arg(side.isEmpty() ? QStringLiteral("no side") : QStringLiteral("side %1").arg(side),
                 text(record, Security::orderQty),
                 price.isEmpty() ? QString() : QStringLiteral(" at %1").arg(price))};
}

QJsonObject OrdersCheck::asJson(const Checked& one) {
    QJsonArray derived;
    for (const Derived& field : one.derived) {
        derived.append(QJsonObject{{QStringLiteral("field"), field.field},
                                   {QStringLiteral("value"), field.value},
                                   {QStringLiteral("from"), field.from}});
    }
    QJsonArray rules;
    for (const Rule& rule : one.rules) {
        rules.append(QJsonObject{{QStringLiteral("rule"), rule.name},
                                 {QStringLiteral("result"), resultText(rule.result).toLower()},
                                 {QStringLiteral("detail"), rule.detail}});
    }
    QJsonObject json{
        {QStringLiteral("line"), one.record->line},
        {QStringLiteral("kind"), one.isCancel ? QStringLiteral("cancel") : QStringLiteral("order")},
        {QStringLiteral("record"), exactJsonObject(one.record->fields)},
        {QStringLiteral("derived"), derived},
        {QStringLiteral("rules"), rules}};
    json.insert(one.isCancel ? QStringLiteral("message") : QStringLiteral("row"),
                one.isCancel ? one.message : one.row);
    return json;
}

void OrdersCheck::addTo(CommandAnswer& answer, const QVector<Checked>& checked, int columns) const {
    TextTable table({QStringLiteral("Line"), QStringLiteral("Record"), QStringLiteral("Field"),
                     QStringLiteral("Value"), QStringLiteral("From"), QStringLiteral("Rule"),
                     QStringLiteral("Result"), QStringLiteral("Detail")});
    QJsonArray records;
    int failing = 0;
    for (const Checked& one : checked) {
        const QStringList about = description(one);
        const int rows = qMax(about.size(), qMax(one.derived.size(), one.rules.size()));
        bool hasFailed = false;
        for (int row = 0; row < rows; ++row) {
            const Derived field = one.derived.value(row);
            const bool hasRule = row < one.rules.size();
            const Rule rule = one.rules.value(row);
            hasFailed = hasFailed || (hasRule && rule.result == Result::Fail);
            table.addRow({QString::number(one.record->line), about.value(row), field.field,
                          field.value, field.from, rule.name,
                          hasRule ? resultText(rule.result) : QString(), rule.detail});
        }
        failing += hasFailed ? 1 : 0;
        records.append(asJson(one));
    }
    answer.lines = table.lines(columns);
    if (!m_orderMessage.isEmpty()) {
        answer.lines.append(
            harmlessText(QStringLiteral("orders: message %1, header %2")
                             .arg(m_orderMessage.value(QLatin1String("type")).toString(),
                                  jsonText(m_orderMessage.value(QLatin1String("header"))))));
    }
    answer.lines.append(QStringLiteral("%1, %2 with a rule that fails")
                            .arg(countText(checked.size(), "record"))
                            .arg(failing));
    answer.json = QJsonObject{{QStringLiteral("orders"), m_orderMessage},
                              {QStringLiteral("records"), records}};
    answer.isFault = failing > 0;
}

CommandAnswer OrdersCheck::check(const RecordFile& file, bool allCancel, int columns) {
    QVector<Checked> checked;
    for (const FileRecord& record : file.records) {
        Checked one;
        one.record = &record;
        one.isCancel = allCancel || isCancel(record.fields);
        checked.append(one);
    }
    const QJsonArray rows = buildOrders(checked);
    int next = 0;
    for (Checked& one : checked) {
        if (m_facade.interrupted()) {
            break;
        }
        if (one.isCancel) {
            buildCancel(one);
        } else {
            one.row = rows.at(next++).toObject();
            deriveOrder(one);
            addOrderRules(one);
        }
        addAccountRules(one);
    }
    CommandAnswer answer;
    addTo(answer, checked, columns);
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    const QStringList unknown = unknownFields(file);
    if (!unknown.isEmpty()) {
        answer.lines.append(harmlessText(QStringLiteral("fields that no order has: %1")
                                             .arg(unknown.join(QStringLiteral(", ")))));
    }
    answer.lines += faultLines(file);
    QJsonObject json = answer.json.toObject();
    json.insert(QStringLiteral("faults"), faultsAsJson(file));
    json.insert(QStringLiteral("unknownFields"), QJsonArray::fromStringList(unknown));
    answer.json = json;
    answer.isFault = answer.isFault || !isUsable(file) || !m_facade.absent().isEmpty();
    answer.interrupted = m_facade.interrupted();
    return answer;
}
