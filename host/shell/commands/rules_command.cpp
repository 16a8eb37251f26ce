#include "rules_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <array>

#include "price_tolerance.h"
#include "rules_texts.h"
#include "static_config.h"
#include "text_table.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

struct RulesCommand::Subject {
    QString symbol;
    QString exchange;
    RulesCrossCheck::Identity identity;
    QJsonObject record;
};

namespace {

constexpr int kHongKongSteps = 3000;
constexpr int kHongKongMax = 99999999;
// Above every limit: the cage cuts it to the limit.
constexpr double kHighPrice = 1e8;

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

/// The value that a call returned in its first output parameter.
QString filledText(const QJsonObject& answer) {
    return answer.value(QLatin1String("out"))
        .toArray()
        .first()
        .toObject()
        .value(QLatin1String("value"))
        .toString();
}

}  // namespace

RulesFacts RulesFacts::ofPlatform(const QString& symbol) {
    RulesFacts facts;
    const CDataBase* const data = CDataBase::GetInstance();
    facts.stepRules = data->GetStaticValuesBySection(QuantitySection::step);
    facts.minRules = data->GetStaticValuesBySection(QuantitySection::min);
    facts.maxRules = data->GetStaticValuesBySection(QuantitySection::max);
    facts.isHongKong = VelmarUtils::isHKTypeSymbol(symbol);
    facts.security = CBusinessDataBase::GetInstance()->GetSecurityDetailsBySymbol(symbol);
    return facts;
}

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
    security.identity.type =
        m_facade.ask(QStringLiteral("GetSecurityTypeBySymbol"), one).toString();
    security.identity.subType =
        m_facade.ask(QStringLiteral("GetSecuritySubTypeBySymbol"), one).toString();
    security.identity.exchanges =
        m_facade.ask(QStringLiteral("GetSecurityExchangeListBySymbol"), one)
            .toVariant()
            .toStringList();
    security.exchange =
        m_facade.ask(QStringLiteral("GetASecurityExchangeBySymbol"), one).toString();
    if (security.exchange.isEmpty()) {
        // Only Shanghai and Shenzhen are an "A" exchange; for the others the cage uses this one.
        security.exchange =
            m_facade.ask(QStringLiteral("GetFirstSecurityExchangeBySymbol"), one).toString();
    }
    return security;
}

/// Codes without their market, and suffixes in other letters, are the usual mistakes.
QStringList RulesCommand::similarSymbols(const QString& symbol) {
    QStringList found;
    const QString code = symbol.section(QLatin1Char('.'), 0, 0).trimmed().toUpper();
    for (const QString& exchange :
         {Exchange::sh, Exchange::sz, Exchange::bj, Exchange::hhk, Exchange::szhk, Exchange::hk,
          Exchange::cffex, Exchange::shf, Exchange::dcz, Exchange::czce, Exchange::sge}) {
        const QString known =
            m_facade.ask(QStringLiteral("GetSymbolBySecurityIDAndExchange"), {code, exchange})
                .toString();
        if (!known.isEmpty() && known != symbol && !found.contains(known)) {
            found.append(known);
        }
    }
    return found;
}

QString RulesCommand::checked(const QString& answered, const QString& expected,
                              const QString& source) const {
    return answered == expected ? source : say(RulesTexts::kUnclear).arg(expected);
}

QString RulesCommand::ruleSource(const Subject& security, const QMap<QString, QString>& rules,
                                 const QString& section, const QString& standard,
                                 QString* expected) const {
    const QString key = RulesCrossCheck::keyOfRule(rules, security.identity);
    if (key.isNull()) {
        *expected = standard;
        return say(RulesTexts::kBuiltIn);
    }
    *expected = QString::number(rules.value(key).toInt());
    if (key == kAny) {
        return say(RulesTexts::kAnySymbol).arg(section);
    }
    return say(key == security.identity.subType ? RulesTexts::kSubType : RulesTexts::kType)
        .arg(section, key);
}

void RulesCommand::addQuantities(const Subject& security, const RulesFacts& facts,
                                 TextTable& table) {
    const QStringList one{security.symbol};
    const QString step = number(QStringLiteral("GetQtyStepBySymbol"), one);
    // The lot of the platform's own record counts; redemption codes, new issues and portfolios have
    // details too, but not such a record.
    const double lot = facts.security.value(Security::LotSize).toDouble();
    QString expected = QString::number(RulesCrossCheck::cutOff(lot));
    QString source = say(RulesTexts::kLotSize);
    if (!(lot > kNothing)) {
        source =
            ruleSource(security, facts.stepRules, QuantitySection::step, kDefaultLot, &expected);
    }
    table.addRow({say(RulesTexts::kStep), step, checked(step, expected, source)});

    const QString least = number(QStringLiteral("GetMinQtyPerOrderBySymbol"), one);
    expected = step;
    source = say(RulesTexts::kHongKongStep);
    if (!facts.isHongKong) {
        source = ruleSource(security, facts.minRules, QuantitySection::min, kDefaultLot, &expected);
    }
    table.addRow({say(RulesTexts::kMin), least, checked(least, expected, source)});
    addLargest(security, facts, table);
    table.addRow({say(RulesTexts::kMinSold), number(QStringLiteral("GetMinSoldQtyBySymbol"), one),
                  say(RulesTexts::kSubTypeFixed).arg(security.identity.subType)});
}

void RulesCommand::addLargest(const Subject& security, const RulesFacts& facts, TextTable& table) {
    const QString function = QStringLiteral("GetMaxQtyPerOrderBySymbol");
    const QString most = number(function, {security.symbol, QStringLiteral("{}")});
    if (MdcSubSecurityType::HKSharesTypeList.contains(security.identity.subType)) {
        const qint64 step =
            number(QStringLiteral("GetQtyStepBySymbol"), {security.symbol}).toLongLong();
        const QString expected =
            QString::number(std::min<qint64>(step * kHongKongSteps, kHongKongMax));
        table.addRow(
            {say(RulesTexts::kMax), most, checked(most, expected, say(RulesTexts::kHongKongMax))});
        return;
    }
    QString expected;
    const QString source =
        ruleSource(security, facts.maxRules, QuantitySection::max, kDefaultMax, &expected);
    table.addRow({say(RulesTexts::kMax), most, checked(most, expected, source)});
    for (const auto& condition : RulesCrossCheck::conditionsOf(facts.maxRules, security.identity)) {
        const QString answered = number(function, {security.symbol, jsonOf(condition.fields)});
        const LocalText& text =
            condition.key == security.identity.subType ? RulesTexts::kSubType : RulesTexts::kType;
        table.addRow({say(RulesTexts::kMaxWhen).arg(condition.text), answered,
                      checked(answered, QString::number(condition.qty),
                              say(text).arg(QuantitySection::max, condition.key))});
    }
}

void RulesCommand::addPrices(const Subject& security, const QVariantMap& tick, TextTable& table) {
    QString field;
    const QString price = priceText(RulesCrossCheck::basePrice(tick, false, &field));
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

/// The cage and the entry of the index that leads to it: at each level the wildcard stands in for
/// a missing key.
QString RulesCommand::classOf(const Subject& security, const QJsonObject& cage) {
    QJsonValue entry = m_facade.ask(QStringLiteral("GetCageIndexMap"), {});
    QStringList keys;
    for (const QString& key :
         {security.exchange, security.identity.type, security.identity.subType}) {
        const QJsonObject level = entry.toObject();
        keys.append(level.contains(key) ? key : kAny);
        entry = level.value(keys.last());
    }
    const QString id = entry.toString();
    const QString text = say(RulesTexts::kCageClass).arg(id, keys.join(QLatin1Char('-')));
    const QJsonObject all = m_facade.ask(QStringLiteral("GetAllCageMap"), {}).toObject();
    return all.value(id).toObject() == cage ? text : say(RulesTexts::kUnclear).arg(text);
}

void RulesCommand::addFigures(const QJsonObject& cage, TextTable& table) const {
    struct Side {
        LocalText text;
        QString share;
        QString units;
        QString standardShare;
        QString standardUnits;
    };
    const auto figures = [this, &cage](const QString& share, const QString& units) {
        constexpr double kPercent = 100;
        return say(RulesTexts::kFigures)
            .arg(priceText(cage.value(share).toVariant().toDouble() * kPercent),
                 QString::number(RulesCrossCheck::wholeOf(cage.value(units))));
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
    static const std::array<LocalText, 3> kinds{
        RulesTexts::kControlShare, RulesTexts::kControlUnits, RulesTexts::kControlWider};
    const int kind = RulesCrossCheck::wholeOf(cage.value(CageField::controlType));
    const bool known = kind >= 1 && kind <= static_cast<int>(kinds.size());
    table.addRow({say(RulesTexts::kControl),
                  say(known ? kinds.at(static_cast<size_t>(kind - 1)) : RulesTexts::kControlOther),
                  QStringLiteral("%1 %2").arg(CageField::controlType, QString::number(kind))});
}

/// Returns the unit.
double RulesCommand::addCageUnit(const Subject& security, const QVariantMap& tick,
                                 TextTable& table) {
    const int decimals =
        number(QStringLiteral("GetPricePrecisionBySymbol"), {security.symbol, QString()}).toInt();
    const double unit = RulesCrossCheck::cageUnit(decimals);
    QString field;
    const QString price = priceText(RulesCrossCheck::basePrice(tick, false, &field));
    const QString ofOrders = number(QStringLiteral("GetPriceUnitStringBySymbol"),
                                    {security.symbol, price, SideUnion::normalBuy});
    table.addRow({say(RulesTexts::kCageUnit), priceText(unit),
                  say(RulesTexts::kCageDecimals).arg(QString::number(decimals), ofOrders, price)});
    return unit;
}

void RulesCommand::addLimit(const QJsonObject& cage, const QVariantMap& tick, double unit,
                            bool isSell, TextTable& table) {
    QVariantMap bare = tick;
    // The limits of the day would hide the cage's own.
    bare.remove(TickField::maxPrice);
    bare.remove(TickField::minPrice);
    bare.insert(TickField::phase, TickPhase::continuous);
    const double limit =
        m_facade
            .ask(QStringLiteral("CheckCagePrice"),
                 {isSell ? QStringLiteral("0") : QString::number(kHighPrice, 'f', 0), jsonOf(bare),
                  isSell ? QStringLiteral("true") : QStringLiteral("false")})
            .toDouble();
    QString field;
    const double base = RulesCrossCheck::basePrice(tick, isSell, &field);
    QString source = say(RulesTexts::kNoBase);
    if (!field.isEmpty()) {
        const double expected = RulesCrossCheck::cageLimit(cage, base, unit, isSell);
        source = RulesCrossCheck::isSamePrice(limit, expected, unit)
                     ? say(RulesTexts::kBase).arg(priceText(base), field)
                     : say(RulesTexts::kUnclear).arg(priceText(expected));
    }
    table.addRow(
        {say(isSell ? RulesTexts::kSellLimit : RulesTexts::kBuyLimit), priceText(limit), source});
}

void RulesCommand::addCage(const Subject& security, const QVariantMap& tick, TextTable& table) {
    const QJsonObject cage =
        m_facade.ask(QStringLiteral("GetCageMapBySymbol"), {security.symbol}).toObject();
    if (cage.isEmpty()) {
        table.addRow({say(RulesTexts::kCage), QString(), say(RulesTexts::kNoCage)});
    } else {
        table.addRow({say(RulesTexts::kCage), cage.value(QLatin1String("title")).toString(),
                      classOf(security, cage)});
        addFigures(cage, table);
        const double unit = addCageUnit(security, tick, table);
        addLimit(cage, tick, unit, false, table);
        addLimit(cage, tick, unit, true, table);
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
                  most <= TickField::kHighestLimit ? QString() : say(RulesTexts::kNoUpperLimit)});
}

CommandAnswer RulesCommand::explain(const QString& symbol, const RulesFacts& facts, int columns) {
    CommandAnswer answer;
    const Subject security = subjectOf(symbol);
    if (!m_facade.interrupted() && security.record.isEmpty()) {
        const QStringList similar = similarSymbols(symbol);
        answer.error = say(RulesTexts::kUnknown).arg(symbol);
        if (!similar.isEmpty()) {
            answer.error += say(RulesTexts::kDidYouMean).arg(similar.join(QStringLiteral(", ")));
        }
        answer.interrupted = m_facade.interrupted();
        return answer;
    }
    const QVariantMap tick = tickOf(security, facts);
    const QString phase = tick.value(TickField::phase).toString();
    TextTable table({say(RulesTexts::kItem), say(RulesTexts::kValue), say(RulesTexts::kSource)});
    addQuantities(security, facts, table);
    addPrices(security, tick, table);
    const QJsonObject cageState =
        m_facade.call(QStringLiteral("IsUserCageInfoInited"), {QString()});
    const bool isCageLoaded = cageState.value(QLatin1String("result")).toBool();
    if (isCageLoaded) {
        addCage(security, tick, table);
    }
    addDayLimits(tick, table);
    answer.lines = QStringList{
        harmlessText(QStringLiteral("%1  %2").arg(
            symbol, security.record.value(Security::chineseName).toString())),
        say(RulesTexts::kIdentity)
            .arg(security.exchange, security.identity.type, security.identity.subType),
        facts.tick.isEmpty()
            ? say(RulesTexts::kTickOfRecord)
            : say(RulesTexts::kTickOfFeed)
                  .arg(tick.value(TickField::time).toDateTime().toString(Qt::ISODate), phase)};
    if (!isCageLoaded) {
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
