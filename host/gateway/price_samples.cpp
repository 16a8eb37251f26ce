#include "price_samples.h"

#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// CageField::controlType.
enum Control { Ratio = 1, Ticks = 2, WiderOfBoth = 3 };

QVariantMap cage(const QString& title, const QStringList& classes, double ratio, int ticks,
                 Control control) {
    return {{QStringLiteral("title"), title},      {CageField::securityType, classes},
            {CageField::buyPercent, ratio},        {CageField::sellPercent, ratio},
            {CageField::buyUnit, ticks},           {CageField::sellUnit, ticks},
            {CageField::controlType, int(control)}};
}

// Trading rules of Shanghai and Shenzhen of February 2023: during continuous trading at most the
// larger of two percent and ten ticks from the best opposite quote, on the science board two
// percent. Beijing's of November 2021: the larger of five percent and ten ticks. Hong Kong connect:
// nine spreads according to brokers; 未能核实 in the exchange's own text.
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
