#include "price_samples.h"

#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kShares = 2;
constexpr int kFunds = 8;

struct PriceBand {
    double upTo;  // in dollars, the end included
    double spread;
};

// Rules of the Exchange of Hong Kong, Second Schedule, Part A. The bands from 10 to 20 and from 20
// to 50 are those in force since 4 August 2025; they were 0.02 and 0.05 before.
constexpr PriceBand kShareBands[] = {{0.25, 0.001}, {0.5, 0.005}, {10, 0.01}, {20, 0.01},
                                     {50, 0.02},    {100, 0.05},  {200, 0.1}, {500, 0.2},
                                     {1000, 0.5},   {2000, 1},    {5000, 2},  {9995, 5}};

// The same, Part D: exchange-traded products, in force since 1 June 2020.
constexpr PriceBand kFundBands[] = {{1, 0.001},  {5, 0.002}, {10, 0.005}, {20, 0.01},  {100, 0.02},
                                    {200, 0.05}, {500, 0.1}, {1000, 0.2}, {2000, 0.5}, {9999, 1}};

template <size_t N>
QList<QVariantMap> bandRows(const PriceBand (&bands)[N]) {
    QList<QVariantMap> rows;
    for (const PriceBand& band : bands) {
        rows.append(
            {{HKSExchgRate::HKLevelUpPrice, band.upTo}, {HKSExchgRate::HKLevelPrice, band.spread}});
    }
    return rows;
}

/// CageField::controlType.
enum Control { Ratio = 1, Ticks = 2, WiderOfBoth = 3 };

QVariantMap cage(const QString& title, const QStringList& classes, double ratio, int ticks,
                 Control control) {
    return {{QStringLiteral("title"), title},      {CageField::securityType, classes},
            {CageField::buyPercent, ratio},        {CageField::sellPercent, ratio},
            {CageField::buyUnit, ticks},           {CageField::sellUnit, ticks},
            {CageField::controlType, int(control)}};
}

// Trading rules of Shanghai and Shenzhen of February 2023: during continuous trading no further
// than the wider of two percent and ten ticks from the best opposite quote, on the science board
// two percent. Beijing's of November 2021: five percent and ten ticks. Hong Kong connect: nine
// spreads, as brokers tell it; the exchange's own text was not at hand.
QVariantMap cages() {
    return {{QStringLiteral("1"),
             cage(QStringLiteral("沪市（非科创板）和深市（含创业板）股票："),
                  {QStringLiteral("1-2-*"), QStringLiteral("2-2-*")}, 0.02, 10, WiderOfBoth)},
            {QStringLiteral("2"),
             cage(QStringLiteral("科创板股票："), {QStringLiteral("1-2-02200")}, 0.02, 10, Ratio)},
            {QStringLiteral("3"),
             cage(QStringLiteral("港股通股票："),
                  {QStringLiteral("G-2-*"), QStringLiteral("S-2-*")}, 0.02, 9, Ticks)},
            {QStringLiteral("4"), cage(QStringLiteral("北交所股票："), {QStringLiteral("B-2-*")},
                                       0.05, 10, WiderOfBoth)}};
}

QVariantMap function(const QString& title, bool on) {
    return {{QStringLiteral("title"), title},
            {CageField::status, on ? QStringLiteral("1") : QStringLiteral("0")}};
}

QVariantMap functions() {
    return {{QStringLiteral("ETF"), function(QStringLiteral("ETF套利"), true)},
            {QStringLiteral("MultiArbitrage"), function(QStringLiteral("多品种套利"), true)},
            {QStringLiteral("Strategy"), function(QStringLiteral("策略交易"), false)}};
}

QString textOf(const QVariantMap& record) {
    QString error;
    return VelmarUtils::TransMap2Str(record, error);
}

}  // namespace

QString PriceSamples::systemItem(const QString& itemName) {
    if (itemName == SystemItemName::TagPriceCage) {
        return textOf(cages());
    }
    return itemName == SystemItemName::TagPriceCageApply ? textOf(functions()) : QString();
}

QList<QVariantMap> PriceSamples::hongKongRates() {
    return {{{UserAccount::securityExchange, Exchange::hhk},
             {HKSExchgRate::HKSExchgRateBuy, 0.8964},
             {HKSExchgRate::HKSExchgRateSell, 0.9518}},
            {{UserAccount::securityExchange, Exchange::szhk},
             {HKSExchgRate::HKSExchgRateBuy, 0.8961},
             {HKSExchgRate::HKSExchgRateSell, 0.9515}}};
}

QList<QVariantMap> PriceSamples::hongKongPriceUnits(int unitType) {
    if (unitType == kShares) {
        return bandRows(kShareBands);
    }
    return unitType == kFunds ? bandRows(kFundBands) : QList<QVariantMap>();
}
