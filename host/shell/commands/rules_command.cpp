#include "rules_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "static_config.h"
#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

struct RulesCommand::Subject {
    QString symbol;
    QString exchange;
    QString type;
    QString subType;
    QJsonObject record;
};

namespace {

constexpr double kNothing = 1e-10;
constexpr int kHongKongSteps = 3000;
constexpr int kHongKongMax = 99999999;
// Beyond every limit, for asking how far a price is let through.
constexpr double kHighPrice = 1e8;
// A limit of the day as high as that stands for none.
constexpr double kNoLimitFrom = 1e7;

inline const QString kAny = QStringLiteral("*");
inline const QString kDefaultLot = QStringLiteral("100");
inline const QString kDefaultMax = QStringLiteral("1000000");

QString priceText(double price) {
    return QString::number(price, 'g', 12);
}

QString jsonOf(const QVariantMap& record) {
    return QString::fromUtf8(
        QJsonDocument(QJsonObject::fromVariantMap(record)).toJson(QJsonDocument::Compact));
}

/// Cut off to a whole number, and the nearest end when an int cannot hold it.
int cutOff(double value) {
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kMost = std::numeric_limits<int>::max();
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, kLeast, kMost));
}

/// A whole number of a cage as the cage reads it: a number is rounded, a text that is none is 0.
int wholeOf(const QJsonValue& value) {
    return value.isDouble() ? cutOff(std::round(value.toDouble())) : value.toVariant().toInt();
}

/// What a filled parameter came back with, the first one.
QString filledText(const QJsonObject& answer) {
    return answer.value(QLatin1String("out"))
        .toArray()
        .first()
        .toObject()
        .value(QLatin1String("value"))
        .toString();
}

/// The price that a limit is built on, as the cage takes it, and the name of its field.
double basePrice(const QVariantMap& tick, bool isSell, QString* field) {
    const QString& own = isSell ? TickField::buyPrice[0] : TickField::sellPrice[0];
    const QString& other = isSell ? TickField::sellPrice[0] : TickField::buyPrice[0];
    for (const QString& name : {own, other, TickField::lastPrice, TickField::previousClose}) {
        const double price = tick.value(name).toDouble();
        if (price > kNothing) {
            *field = name;
            return price;
        }
    }
    return 0;
}

/// The conditional rows of a key of the largest order: condition to quantity.
QMap<QString, QString> conditionsOf(const QMap<QString, QString>& rules, const QString& key) {
    QMap<QString, QString> found;
    for (auto it = rules.cbegin(); it != rules.cend(); ++it) {
        const QStringList parts = it.key().split(QLatin1Char('_'), Qt::SkipEmptyParts);
        if (parts.size() > 1 && parts.first() == key && parts.last().contains(QLatin1Char(':'))) {
            found.insert(parts.last(), it.value());
        }
    }
    return found;
}

}  // namespace

RulesCommand::RulesCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                           TextLanguage language)
    : m_facade(library, ask), m_language(language) {}

QString RulesCommand::number(const QString& function, const QStringList& arguments) {
    return m_facade.ask(function, arguments).toVariant().toString();
}

RulesCommand::Subject RulesCommand::subjectOf(const QString& symbol) {
    const QStringList one{symbol};
    Subject security;
    security.symbol = symbol;
    security.record = m_facade.ask(QStringLiteral("GetSecurityDetailsBySymbol"), one).toObject();
    security.type = m_facade.ask(QStringLiteral("GetSecurityTypeBySymbol"), one).toString();
    security.subType = m_facade.ask(QStringLiteral("GetSecuritySubTypeBySymbol"), one).toString();
    security.exchange =
        m_facade.ask(QStringLiteral("GetASecurityExchangeBySymbol"), one).toString();
    if (security.exchange.isEmpty()) {
        // Only Shanghai and Shenzhen are an "A" exchange; the cage goes on to this one too.
        security.exchange =
            m_facade.ask(QStringLiteral("GetFirstSecurityExchangeBySymbol"), one).toString();
    }
    return security;
}

QString RulesCommand::told(const QString& answered, const QString& expected,
                           const QString& source) const {
    return answered == expected ? source : say(RulesTexts::kUntold).arg(expected);
}

QString RulesCommand::ruleSource(const Subject& security, const QMap<QString, QString>& rules,
                                 const QString& section, QString* expected) const {
    struct Level {
        QString key;
        RulesText text;
    };
    for (const Level& level :
         {Level{security.subType, RulesTexts::kSubType}, Level{security.type, RulesTexts::kType},
          Level{kAny, RulesTexts::kAnySymbol}}) {
        const auto found = rules.constFind(level.key);
        if (found != rules.cend()) {
            *expected = QString::number(found->toInt());
            const QString text = say(level.text).arg(section);
            return level.key == kAny ? text : text.arg(level.key);
        }
    }
    *expected = kDefaultLot;
    return say(RulesTexts::kBuiltIn);
}

void RulesCommand::addQuantities(const Subject& security, const RulesFacts& facts,
                                 TextTable& table) {
    const QStringList one{security.symbol};
    const QString step = number(QStringLiteral("GetQtyStepBySymbol"), one);
    // Redemption codes, new issues and portfolios have details too, but no lot that counts.
    const double lot = facts.security.value(Security::LotSize).toDouble();
    QString expected = QString::number(cutOff(lot));
    QString source = say(RulesTexts::kLotSize);
    if (!(lot > kNothing)) {
        source = ruleSource(security, facts.stepRules, QuantitySection::step, &expected);
    }
    table.addRow({say(RulesTexts::kStep), step, told(step, expected, source)});

    const QString least = number(QStringLiteral("GetMinQtyPerOrderBySymbol"), one);
    expected = step;
    source = say(RulesTexts::kHongKongStep);
    if (!facts.isHongKong) {
        source = ruleSource(security, facts.minRules, QuantitySection::min, &expected);
    }
    table.addRow({say(RulesTexts::kMin), least, told(least, expected, source)});
    addLargest(security, facts, table);
    table.addRow({say(RulesTexts::kMinSold), number(QStringLiteral("GetMinSoldQtyBySymbol"), one),
                  say(RulesTexts::kSubTypeFixed).arg(security.subType)});
}

void RulesCommand::addLargest(const Subject& security, const RulesFacts& facts, TextTable& table) {
    const QString function = QStringLiteral("GetMaxQtyPerOrderBySymbol");
    const QString most = number(function, {security.symbol, QStringLiteral("{}")});
    if (MdcSubSecurityType::HKSharesTypeList.contains(security.subType)) {
        const qint64 step =
            number(QStringLiteral("GetQtyStepBySymbol"), {security.symbol}).toLongLong();
        const QString expected =
            QString::number(std::min<qint64>(step * kHongKongSteps, kHongKongMax));
        table.addRow(
            {say(RulesTexts::kMax), most, told(most, expected, say(RulesTexts::kHongKongMax))});
        return;
    }
    QString expected;
    QString source = ruleSource(security, facts.maxRules, QuantitySection::max, &expected);
    if (source == say(RulesTexts::kBuiltIn)) {
        expected = kDefaultMax;
    }
    table.addRow({say(RulesTexts::kMax), most, told(most, expected, source)});
    // The conditions of the sub-type go before those of the type.
    for (const QString& key : {security.subType, security.type}) {
        const QMap<QString, QString> conditions = conditionsOf(facts.maxRules, key);
        for (auto it = conditions.cbegin(); it != conditions.cend(); ++it) {
            QVariantMap order;
            const QStringList pieces = it.key().split(QLatin1Char(','));
            for (const QString& piece : pieces) {
                order.insert(piece.section(QLatin1Char(':'), 0, 0),
                             piece.section(QLatin1Char(':'), -1));
            }
            const QString answered = number(function, {security.symbol, jsonOf(order)});
            const RulesText& text =
                key == security.subType ? RulesTexts::kSubType : RulesTexts::kType;
            // A row of the sub-type without conditions goes before every row of the type.
            table.addRow({say(RulesTexts::kMaxWhen).arg(it.key()), answered,
                          told(answered, QString::number(it.value().toInt()),
                               say(text).arg(QuantitySection::max, key))});
        }
        if (facts.maxRules.contains(key)) {
            return;
        }
    }
}

void RulesCommand::addPrices(const Subject& security, const QVariantMap& tick, TextTable& table) {
    QString field;
    const QString price = priceText(basePrice(tick, false, &field));
    const QString side = SideUnion::normalBuy;
    table.addRow(
        {say(RulesTexts::kPriceUnit),
         number(QStringLiteral("GetPriceUnitStringBySymbol"), {security.symbol, price, side}),
         say(RulesTexts::kAtPrice).arg(price)});
    table.addRow({say(RulesTexts::kPrecision),
                  number(QStringLiteral("GetPricePrecisionBySymbol"), {security.symbol, side}),
                  QString()});
    table.addRow({say(RulesTexts::kDispFactor),
                  number(QStringLiteral("GetDispFactorBySymbol"), {security.symbol}), QString()});
}

QVariantMap RulesCommand::tickOf(const Subject& security, const RulesFacts& facts) const {
    if (!facts.tick.isEmpty()) {
        return facts.tick;
    }
    QVariantMap tick{{TickField::symbol, security.symbol},
                     {TickField::phase, TickPhase::continuous}};
    for (const QString& name :
         {TickField::previousClose, TickField::maxPrice, TickField::minPrice}) {
        if (security.record.contains(name)) {
            tick.insert(name, security.record.value(name).toVariant());
        }
    }
    return tick;
}

/// Cage and entry of the index that the symbol falls under, wildcards taken level by level.
QString RulesCommand::classOf(const Subject& security) {
    QJsonValue entry = m_facade.ask(QStringLiteral("GetCageIndexMap"), {});
    QStringList keys;
    for (const QString& key : {security.exchange, security.type, security.subType}) {
        const QJsonObject level = entry.toObject();
        keys.append(level.contains(key) ? key : kAny);
        entry = level.value(keys.last());
    }
    return say(RulesTexts::kCageClass).arg(entry.toString(), keys.join(QLatin1Char('-')));
}

void RulesCommand::addFigures(const QJsonObject& cage, TextTable& table) const {
    struct Side {
        RulesText text;
        QString share;
        QString units;
        QString standardShare;
        QString standardUnits;
    };
    const auto figures = [&cage](const QString& share, const QString& units) {
        return QStringLiteral("%1, %2").arg(priceText(cage.value(share).toVariant().toDouble()),
                                            QString::number(wholeOf(cage.value(units))));
    };
    for (const Side& side :
         {Side{RulesTexts::kBuyFigures, CageField::userBuyPercent, CageField::userBuyUnit,
               CageField::buyPercent, CageField::buyUnit},
          Side{RulesTexts::kSellFigures, CageField::userSellPercent, CageField::userSellUnit,
               CageField::sellPercent, CageField::sellUnit}}) {
        const QString own = figures(side.share, side.units);
        QString source = say(RulesTexts::kFiguresAlone);
        if (cage.contains(side.standardShare)) {
            const QString standard = figures(side.standardShare, side.standardUnits);
            source = own == standard ? say(RulesTexts::kStandardFigures)
                                     : say(RulesTexts::kUserFigures).arg(standard);
        }
        table.addRow({say(side.text), own, source});
    }
    static const std::array<RulesText, 3> kinds{
        RulesTexts::kControlShare, RulesTexts::kControlUnits, RulesTexts::kControlWider};
    const int kind = wholeOf(cage.value(CageField::controlType));
    const bool known = kind >= 1 && kind <= static_cast<int>(kinds.size());
    table.addRow(
        {say(RulesTexts::kControl), QString::number(kind),
         say(known ? kinds.at(static_cast<size_t>(kind - 1)) : RulesTexts::kControlOther)});
}

void RulesCommand::addLimit(const QVariantMap& tick, bool isSell, TextTable& table) {
    QVariantMap bare = tick;
    // The limits of the day would hide the cage's own.
    bare.remove(TickField::maxPrice);
    bare.remove(TickField::minPrice);
    bare.insert(TickField::phase, TickPhase::continuous);
    const QString limit = priceText(
        m_facade
            .ask(QStringLiteral("CheckCagePrice"),
                 {isSell ? QStringLiteral("0") : QString::number(kHighPrice, 'f', 0), jsonOf(bare),
                  isSell ? QStringLiteral("true") : QStringLiteral("false")})
            .toDouble());
    QString field;
    const QString base = priceText(basePrice(tick, isSell, &field));
    table.addRow(
        {say(isSell ? RulesTexts::kSellLimit : RulesTexts::kBuyLimit), limit,
         field.isEmpty() ? say(RulesTexts::kNoBase) : say(RulesTexts::kBase).arg(base, field)});
}

void RulesCommand::addCage(const Subject& security, const QVariantMap& tick, TextTable& table) {
    const QJsonObject cage =
        m_facade.ask(QStringLiteral("GetCageMapBySymbol"), {security.symbol}).toObject();
    if (cage.isEmpty()) {
        table.addRow({say(RulesTexts::kCage), QString(), say(RulesTexts::kNoCage)});
    } else {
        table.addRow({say(RulesTexts::kCage), cage.value(QLatin1String("title")).toString(),
                      classOf(security)});
        addFigures(cage, table);
        addLimit(tick, false, table);
        addLimit(tick, true, table);
    }
    const QJsonObject tables = m_facade.call(QStringLiteral("IsGetUserCageInfo"), {});
    const QString notice = filledText(tables).simplified();
    table.addRow({say(RulesTexts::kTables), QString(),
                  notice.isEmpty() ? say(RulesTexts::kTablesUser) : notice});
    const QJsonObject switches = m_facade.ask(QStringLiteral("GetCageApplyMap"), {}).toObject();
    QStringList on;
    for (auto it = switches.begin(); it != switches.end(); ++it) {
        if (m_facade.ask(QStringLiteral("IsCageApply"), {it.key()}).toBool()) {
            on.append(it.key());
        }
    }
    table.addRow({say(RulesTexts::kSwitches), QString(),
                  on.isEmpty() ? say(RulesTexts::kNowhere) : on.join(QStringLiteral(", "))});
}

void RulesCommand::addDayLimits(const QVariantMap& tick, TextTable& table) const {
    const double least = tick.value(TickField::minPrice).toDouble();
    const double most = tick.value(TickField::maxPrice).toDouble();
    table.addRow({say(RulesTexts::kDayLimits),
                  QStringLiteral("%1 - %2").arg(priceText(least), priceText(most)),
                  most < kNoLimitFrom ? QString() : say(RulesTexts::kNoUpperLimit)});
}

RulesAnswer RulesCommand::explain(const QString& symbol, const RulesFacts& facts, int columns) {
    RulesAnswer answer;
    const Subject security = subjectOf(symbol);
    if (!m_facade.interrupted() && security.record.isEmpty()) {
        answer.error = say(RulesTexts::kUnknown).arg(symbol);
        return answer;
    }
    const QVariantMap tick = tickOf(security, facts);
    const QString phase = tick.value(TickField::phase).toString();
    TextTable table({say(RulesTexts::kItem), say(RulesTexts::kValue), say(RulesTexts::kSource)});
    addQuantities(security, facts, table);
    addPrices(security, tick, table);
    const QJsonObject cageState =
        m_facade.call(QStringLiteral("IsUserCageInfoInited"), {QString()});
    const bool cageStands = cageState.value(QLatin1String("result")).toBool();
    if (cageStands) {
        addCage(security, tick, table);
    }
    addDayLimits(tick, table);
    answer.lines = QStringList{
        QStringLiteral("%1  %2").arg(symbol,
                                     security.record.value(Security::chineseName).toString()),
        say(RulesTexts::kIdentity).arg(security.exchange, security.type, security.subType),
        facts.tick.isEmpty()
            ? say(RulesTexts::kTickOfRecord)
            : say(RulesTexts::kTickOfFeed)
                  .arg(tick.value(TickField::time).toDateTime().toString(Qt::ISODate), phase)};
    if (!cageStands) {
        answer.lines.append(say(RulesTexts::kCageUnread).arg(facts.cageWaitSeconds));
    } else if (phase != TickPhase::continuous) {
        answer.lines.append(say(RulesTexts::kNotContinuous));
    }
    answer.lines.append(filledText(cageState).isEmpty() ? QString() : filledText(cageState));
    answer.lines += table.lines(columns);
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(say(RulesTexts::kAbsent).arg(function));
    }
    answer.interrupted = m_facade.interrupted();
    return answer;
}
