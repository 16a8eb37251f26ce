#include "securities.h"

#include <QDate>
#include <algorithm>
#include <array>

#include "market_random.h"
#include "quote_fields.h"
#include "security_boards.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

using Boards = QVector<SecurityBoard>;

// Prices of gold are per gram.
constexpr int kKilogramsOfGoldContract = 1;

/// Takes the excess from the first boards, down to their least, and the rest from the last boards.
void takeAway(const Boards& boards, int excess, QVector<int>& counts) {
    for (int i = 0; i < boards.size() && excess > 0; ++i) {
        const int less = std::clamp(counts.at(i) - boards.at(i).least, 0, excess);
        counts[i] -= less;
        excess -= less;
    }
    for (int i = boards.size() - 1; i >= 0 && excess > 0; --i) {
        const int less = std::min(counts.at(i), excess);
        counts[i] -= less;
        excess -= less;
    }
}

/// The number of securities of each board: its share of the count, between its least and its limit.
/// The rest goes to the first boards that have ids left.
QVector<int> countsOf(const Boards& boards, int count) {
    QVector<int> counts;
    int left = count;
    for (const SecurityBoard& one : boards) {
        const auto share = static_cast<int>(qint64(count) * one.share / kStandardSymbols);
        counts.append(std::min(std::max(one.least, share), one.limit));
        left -= counts.last();
    }
    takeAway(boards, -left, counts);
    for (int i = 0; i < boards.size() && left > 0; ++i) {
        const int more = std::min(left, boards.at(i).limit - counts.at(i));
        counts[i] += more;
        left -= more;
    }
    return counts;
}

/// Marks some shares of the mainland as under risk warning or about to be delisted.
void addRiskMarks(int index, QVariantMap& record) {
    const QString name = record.value(Security::chineseName).toString();
    record.insert(Security::STFlag, StFlag::Normal);
    if (index % 37 == 11) {
        record.insert(Security::STFlag, StFlag::IsST);
        record.insert(Security::chineseName, QStringLiteral("ST") + name);
    } else if (index % 37 == 23) {
        record.insert(Security::STFlag, StFlag::IsStarST);
        record.insert(Security::chineseName, QStringLiteral("*ST") + name);
        record.insert(Security::delistFlag, true);
        record.insert(Security::delistDate, QStringLiteral("20261230"));
    }
}

/// Marks companies of the science board that make no profit yet: listed before the first day of the
/// growth tier or since, every other one of the latter with the server's flag.
void addGrowthMark(int index, QVariantMap& record) {
    if (index % 8 != 3) {
        return;
    }
    record.insert(Security::chineseName,
                  record.value(Security::chineseName).toString() + QStringLiteral("-U"));
    const bool late = index / 8 % 2 == 1;
    record.insert(Security::ListingDate,
                  late ? QStringLiteral("20250801") : QStringLiteral("20240710"));
    if (late && index / 16 % 2 == 1) {
        record.insert(Security::ScienTechGrowFlag, true);
    }
}

/// The lot of securities that have their own; the others follow the rules of their board.
void addUnits(const SecurityBoard& of, MarketRandom& random, QVariantMap& record) {
    static const std::array<int, 5> hongKongLots{100, 200, 500, 1000, 2000};
    if (of.post == SymbolPost::hk) {
        record.insert(Security::LotSize,
                      hongKongLots[static_cast<size_t>(random.below(hongKongLots.size()))]);
    } else if (of.type == MdcSecurityType::OptionType) {
        record.insert(Security::LotSize, 1);
        record.insert(Security::contractMultiplier, 10000);
    } else if (of.type == MdcSecurityType::FuturesType) {
        record.insert(Security::LotSize, 1);
        record.insert(Security::contractMultiplier, of.exchange == Exchange::cffex ? 300 : 5);
    } else if (of.type == MdcSecurityType::SpotType) {
        record.insert(Security::LotSize, 1);
        record.insert(Security::contractMultiplier, kKilogramsOfGoldContract);
    }
}

/// A random previous close in the board's range, and the fields that depend on it.
void addQuote(const SecurityBoard& of, const MarketRules& rules, MarketRandom& random,
              QVariantMap& record) {
    constexpr int kSteps = 10000;
    const double raw =
        of.lowPrice + (of.highPrice - of.lowPrice) * random.below(kSteps) / double(kSteps);
    const PriceLadder& ladder =
        of.type == MdcSecurityType::FundType ? rules.hongKongFunds : rules.hongKongShares;
    const double tick = of.tick > 0 ? of.tick : ladder.spreadAt(raw);
    // Counted in ten-thousandths, so that the price is the double nearest to the decimal.
    const qint64 tickUnits = qRound64(tick * 10000);
    const qint64 closeUnits = std::max<qint64>(1, qRound64(raw * 10000) / tickUnits) * tickUnits;
    const double close = static_cast<double>(closeUnits) / 10000;
    const DayLimits limits =
        dayLimits(close,
                  rules.priceLimits.percentOf(of.exchange, of.subType,
                                              record.value(Security::STFlag).toString()),
                  tick);
    record.insert(QuoteField::previousClose, close);
    record.insert(QuoteField::maxPrice, limits.max);
    record.insert(QuoteField::minPrice, limits.min);
    record.insert(QuoteField::priceTick, tick);
}

QVariantMap securityOf(const SecurityBoard& of, int index, const MarketRules& rules,
                       MarketRandom& random) {
    const QString id = of.securityId(index);
    const QDate listed = QDate(1995, 1, 1).addDays(random.below(31 * 365 - 20));
    QVariantMap record{
        {Security::symbol, id + QLatin1Char('.') + of.post},
        {Security::securityID, id},
        {Security::securityIDSource, SecurityIDSource::securityID},
        {Security::chineseName, of.name(index)},
        {Security::ListingDate, listed.toString(DateTimeFormatString::TRANS_DATE_FROMAT)},
        {UserAccount::securityExchange, of.exchange},
        {MDCFieldDefine::mdcSecurityType, of.type},
        {MDCFieldDefine::mdcSubSecurityType, of.subType},
        {System::deleteFlag, of.subType == BoardKind::mainBoard && index == 50},
    };
    addUnits(of, random, record);
    if (of.type == MdcSecurityType::StockType && of.post != SymbolPost::hk) {
        addRiskMarks(index, record);
    }
    if (of.subType == MdcSubSecurityType::ScienTechInnovateBoard) {
        addGrowthMark(index, record);
    }
    addQuote(of, rules, random, record);
    return record;
}

}  // namespace

QList<QVariantMap> makeSecurities(quint32 seed, int count, const MarketRules& rules,
                                  const MarketStop& stop) {
    const Boards boards = securityBoards();
    const QVector<int> counts = countsOf(boards, count);
    MarketRandom random(seed + 1);
    QList<QVariantMap> records;
    records.reserve(count);
    for (int i = 0; i < boards.size(); ++i) {
        for (int index = 0; index < counts.at(i) && !stop.isSetAt(index); ++index) {
            records.append(securityOf(boards.at(i), index, rules, random));
        }
    }
    return records;
}
