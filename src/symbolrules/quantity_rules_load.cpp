#include <QStringList>
#include <algorithm>

#include "log.h"
#include "quantity_rules.h"
#include "zndatabase/c_data_base.h"

// The rule tables of the static configuration.

namespace {

constexpr const char* kTag = "ZnBusinessDataManager::initSymbolQtyRules";

QMap<QString, QString> sectionOf(const char* name) {
    return CDataBase::GetInstance()->GetStaticValuesBySection(QLatin1String(name));
}

QMap<QString, int> numbersOf(const char* section) {
    const QMap<QString, QString> rows = sectionOf(section);
    QMap<QString, int> numbers;
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        numbers.insert(row.key(), row.value().toInt());
    }
    return numbers;
}

/// Reads FIELD:VALUE,FIELD:VALUE; a piece without a colon is ignored.
QVariantMap filterOf(const QString& conditions) {
    QVariantMap filter;
    const QStringList pieces = conditions.split(QLatin1Char(','));
    for (const QString& piece : pieces) {
        const QStringList parts = piece.split(QLatin1Char(':'));
        if (parts.size() >= 2) {
            filter.insert(parts.first(), parts.last());
        }
    }
    return filter;
}

/// The entries of a key, for the log.
QString textOf(const QList<QtyRuleEntry>& entries) {
    QString text;
    QDebug stream(&text);
    for (const QtyRuleEntry& entry : entries) {
        stream << entry.filter << entry.qty;
    }
    return text.trimmed();
}

}  // namespace

void QuantityRules::initSymbolQtyRules() {
    m_stepQtyMap = numbersOf("StepQtyRule");
    qCInfo(lcSymbolRules) << kTag << "证券代码数量步长初始化:" << m_stepQtyMap;
    m_minQtyMap = numbersOf("MinQtyRule");
    qCInfo(lcSymbolRules) << kTag << "证券代码最小委托数量初始化:" << m_minQtyMap;
    initMaxQtyRules();
}

void QuantityRules::initMaxQtyRules() {
    m_maxQtyMap.clear();
    const QMap<QString, QString> rows = sectionOf("MaxQtyRule");
    qCInfo(lcSymbolRules) << kTag << "单笔订单委托数量最大值初始化";
    // In the order of the keys: a plain key comes before those that extend it with conditions, and
    // replaces what a smaller key left.
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        const int qty = row.value().toInt();
        takeMaxQtyRule(row.key(), qty);
        qCInfo(lcSymbolRules).noquote()
            << kTag
            << QStringLiteral("读入key：%1，value：%2").arg(row.key(), QString::number(qty));
    }
    for (auto rules = m_maxQtyMap.begin(); rules != m_maxQtyMap.end(); ++rules) {
        std::sort(rules->begin(), rules->end(), [](const QtyRuleEntry& a, const QtyRuleEntry& b) {
            return a.filter.size() > b.filter.size();
        });
    }
    for (auto rules = m_maxQtyMap.cbegin(); rules != m_maxQtyMap.cend(); ++rules) {
        qCInfo(lcSymbolRules).noquote() << kTag << rules.key() << textOf(*rules);
    }
}

void QuantityRules::takeMaxQtyRule(const QString& ruleKey, int qty) {
    const QStringList parts = ruleKey.split(QLatin1Char('_'), Qt::SkipEmptyParts);
    if (parts.isEmpty()) {
        return;
    }
    if (parts.size() == 1) {
        m_maxQtyMap.insert(parts.first(), {{QVariantMap(), qty}});
        return;
    }
    const QVariantMap filter = filterOf(parts.last());
    if (!filter.isEmpty()) {
        m_maxQtyMap[parts.first()].append({filter, qty});
    }
}
