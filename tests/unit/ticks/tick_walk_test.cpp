#include "tick_walk.h"

#include <QtTest>
#include <cmath>

#include "vocabulary/tick_fields.h"

namespace {

constexpr int kSeeds = 40;
constexpr int kSteps = 240;

struct Shape {
    const char* name;
    TickWalk::Figures figures;
    double lowest;
    double highest;
};

/// A limit off the grid acts at the next price inside it.
const QVector<Shape>& shapes() {
    static const QVector<Shape> all{
        {"share", {10.0, 0.01, 11.0, 9.0, 100}, 9.0, 11.0},
        {"narrow", {3.335, 0.001, 3.3384, 3.3316, 100}, 3.332, 3.338},
        {"one price", {5.0, 0.01, 5.0, 5.0, 100}, 5.0, 5.0},
        {"no limits", {0.03, 0.01, 0, 0, 1}, 0.01, TickField::kNoUpperLimit},
        {"coarse", {4010.2, 0.2, 4411.3, 3609.1, 1}, 3609.2, 4411.2},
        {"half steps", {100.005, 0.005, 100.1, 99.9, 10}, 99.9, 100.1},
        {"fifty", {71230, 50, 75000, 68000, 5}, 68000, 75000},
    };
    return all;
}

/// A whole day's phases in few steps.
QStringList dayOfPhases() {
    QStringList phases{TickPhase::beforeOpen};
    const auto add = [&phases](const QString& phase, int count) {
        for (int i = 0; i < count; ++i) {
            phases.append(phase);
        }
    };
    add(TickPhase::openingAuction, kSteps / 8);
    add(TickPhase::afterAuction, 2);
    add(TickPhase::continuous, kSteps / 2);
    add(TickPhase::midBreak, 4);
    add(TickPhase::continuous, kSteps / 4);
    add(TickPhase::closingAuction, kSteps / 8);
    add(TickPhase::closed, 2);
    return phases;
}

double number(const QVariantMap& tick, const QString& key) {
    return tick.value(key).toDouble();
}

/// Every price of a tick that is not 0.
QVector<double> pricesOf(const QVariantMap& tick) {
    QVector<double> prices;
    for (auto it = tick.cbegin(); it != tick.cend(); ++it) {
        const bool isPrice = it.key().endsWith("Px") || it.key().endsWith("Price");
        if (isPrice && it.value().toDouble() != 0) {
            prices.append(it.value().toDouble());
        }
    }
    return prices;
}

/// Returns an empty text when the levels of one side follow each other by one step, without gaps.
QString faultOfSide(const QVariantMap& tick, bool buy, double step) {
    const auto& price = buy ? TickField::buyPrice : TickField::sellPrice;
    const auto& qty = buy ? TickField::buyQty : TickField::sellQty;
    for (size_t level = 0; level < TickField::kLevels; ++level) {
        const double here = number(tick, price[level]);
        if ((here > 0) != (tick.value(qty[level]).toLongLong() > 0)) {
            return price[level] + " has a price or a quantity alone";
        }
        const double before = level > 0 ? number(tick, price[level - 1]) : 0;
        const double expected = buy ? before - step : before + step;
        if (level > 0 && here > 0 && std::abs(here - expected) > step / 100) {
            return price[level] + " does not follow the level before it";
        }
    }
    return {};
}

}  // namespace

class TickWalkTest : public QObject {
    Q_OBJECT

private slots:
    void step_anySeed_staysInLimitsAndOnTheGrid_data();
    void step_anySeed_staysInLimitsAndOnTheGrid();
    void step_anySeed_totalsAndExtremesAgree();
    void step_sameSeedAndPhases_givesTheSameTicks();
    void step_otherSeed_givesOtherTicks();
    void step_atALimit_leavesTheOtherSideEmpty();
    void step_inAnAuction_quotesWithoutDeals_andMatchesAfterIt();
    void step_inABreakAndAfterTheClose_movesNothing();
    void step_everyPhase_hasEveryKey();
    void impossibleFigures_areReplaced();
    void pricesOnTheGrid_readLikeDecimals();
};

void TickWalkTest::step_anySeed_staysInLimitsAndOnTheGrid_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < shapes().size(); ++i) {
        QTest::newRow(shapes().at(i).name) << i;
    }
}

void TickWalkTest::step_anySeed_staysInLimitsAndOnTheGrid() {
    QFETCH(int, index);
    const Shape& shape = shapes().at(index);
    const double step = shape.figures.step;
    for (quint32 seed = 0; seed < kSeeds; ++seed) {
        TickWalk walk(seed, shape.figures);
        for (const QString& phase : dayOfPhases()) {
            const QVariantMap tick = walk.step(phase);
            for (const double price : pricesOf(tick)) {
                if (price == TickField::kNoUpperLimit) {
                    continue;
                }
                const double units = price / step;
                QVERIFY2(std::abs(units - std::round(units)) < 1e-6,
                         qPrintable(QString("%1, seed %2").arg(price, 0, 'g', 17).arg(seed)));
                QVERIFY2(price > shape.lowest - step / 100 && price < shape.highest + step / 100,
                         qPrintable(QString("%1, seed %2").arg(price).arg(seed)));
            }
            for (const bool buy : {true, false}) {
                const QString fault = faultOfSide(tick, buy, step);
                QVERIFY2(fault.isEmpty(), qPrintable(fault));
            }
        }
    }
}

void TickWalkTest::step_anySeed_totalsAndExtremesAgree() {
    for (quint32 seed = 0; seed < kSeeds; ++seed) {
        TickWalk walk(seed, shapes().first().figures);
        QVariantMap before = walk.step(TickPhase::beforeOpen);
        double high = 0;
        double low = 1e9;
        for (const QString& phase : dayOfPhases()) {
            const QVariantMap tick = walk.step(phase);
            const double qty =
                number(tick, TickField::totalQty) - number(before, TickField::totalQty);
            const double amount =
                number(tick, TickField::totalAmount) - number(before, TickField::totalAmount);
            QVERIFY(qty >= 0);
            QCOMPARE(std::fmod(qty, 100), 0.0);
            if (qty == 0) {
                QCOMPARE(number(tick, TickField::lastPrice), number(before, TickField::lastPrice));
                QCOMPARE(amount, 0.0);
            } else {
                high = std::max(high, number(tick, TickField::lastPrice));
                low = std::min(low, number(tick, TickField::lastPrice));
                // A closing match may come together with a deal; both lie within two steps.
                QVERIFY(amount >= 9.0 * qty && amount <= 11.0 * qty);
            }
            before = tick;
        }
        QVERIFY(number(before, TickField::highPrice) >= high);
        QVERIFY(number(before, TickField::lowPrice) <= low);
        QVERIFY(number(before, TickField::openPrice) >= number(before, TickField::lowPrice));
        QVERIFY(number(before, TickField::openPrice) <= number(before, TickField::highPrice));
    }
}

void TickWalkTest::step_sameSeedAndPhases_givesTheSameTicks() {
    TickWalk one(7, shapes().first().figures);
    TickWalk other(7, shapes().first().figures);
    for (const QString& phase : dayOfPhases()) {
        QCOMPARE(one.step(phase), other.step(phase));
    }
}

void TickWalkTest::step_otherSeed_givesOtherTicks() {
    TickWalk one(7, shapes().first().figures);
    TickWalk other(8, shapes().first().figures);
    bool differs = false;
    for (int i = 0; i < 20; ++i) {
        differs = one.step(TickPhase::continuous) != other.step(TickPhase::continuous) || differs;
    }
    QVERIFY(differs);
}

void TickWalkTest::step_atALimit_leavesTheOtherSideEmpty() {
    TickWalk walk(1, {10.0, 0.01, 10.01, 9.99, 100});
    bool metUpper = false;
    bool metLower = false;
    for (int i = 0; i < kSteps; ++i) {
        const QVariantMap tick = walk.step(TickPhase::continuous);
        const double last = number(tick, TickField::lastPrice);
        if (last == 10.01) {
            metUpper = true;
            QCOMPARE(number(tick, TickField::sellPrice[0]), 0.0);
            QCOMPARE(number(tick, TickField::buyPrice[0]), 10.01);
        } else if (last == 9.99) {
            metLower = true;
            QCOMPARE(number(tick, TickField::buyPrice[0]), 0.0);
            QCOMPARE(number(tick, TickField::sellPrice[0]), 9.99);
        }
    }
    QVERIFY(metUpper && metLower);
}

void TickWalkTest::step_inAnAuction_quotesWithoutDeals_andMatchesAfterIt() {
    TickWalk walk(3, shapes().first().figures);
    QVariantMap auction;
    for (int i = 0; i < 10; ++i) {
        auction = walk.step(TickPhase::openingAuction);
        QCOMPARE(number(auction, TickField::buyPrice[0]), number(auction, TickField::sellPrice[0]));
        QCOMPARE(number(auction, TickField::buyPrice[1]), 0.0);
        QCOMPARE(number(auction, TickField::totalQty), 0.0);
        QCOMPARE(number(auction, TickField::lastPrice), 10.0);
        QCOMPARE(number(auction, TickField::openPrice), 0.0);
    }
    const QVariantMap matched = walk.step(TickPhase::afterAuction);
    const double price = number(auction, TickField::buyPrice[0]);
    QCOMPARE(number(matched, TickField::openPrice), price);
    QCOMPARE(number(matched, TickField::lastPrice), price);
    QCOMPARE(matched.value(TickField::dealCount).toInt(), 1);
    QCOMPARE(number(matched, TickField::buyPrice[0]), 0.0);
    walk.step(TickPhase::continuous);
    const QVariantMap closing = walk.step(TickPhase::closingAuction);
    const QVariantMap closed = walk.step(TickPhase::closed);
    QCOMPARE(number(closed, TickField::lastPrice), number(closing, TickField::buyPrice[0]));
    QCOMPARE(number(closed, TickField::openPrice), price);
}

void TickWalkTest::step_inABreakAndAfterTheClose_movesNothing() {
    TickWalk walk(4, shapes().first().figures);
    const QVariantMap deal = walk.step(TickPhase::continuous);
    for (const QString& phase : {TickPhase::midBreak, TickPhase::closed, TickPhase::beforeOpen}) {
        for (int i = 0; i < 5; ++i) {
            const QVariantMap tick = walk.step(phase);
            QCOMPARE(tick.value(TickField::lastPrice), deal.value(TickField::lastPrice));
            QCOMPARE(tick.value(TickField::totalQty), deal.value(TickField::totalQty));
            QCOMPARE(number(tick, TickField::buyPrice[0]) > 0 ||
                         number(tick, TickField::sellPrice[0]) > 0,
                     phase == TickPhase::midBreak);
        }
    }
}

void TickWalkTest::step_everyPhase_hasEveryKey() {
    TickWalk walk(5, shapes().first().figures);
    for (const QString& phase : dayOfPhases()) {
        const QVariantMap tick = walk.step(phase);
        QCOMPARE(tick.size(), 11 + 4 * TickField::kLevels);
        QCOMPARE(tick.value("TradingPhaseCode").toString(), phase);
        for (const char* key : {"LastPx", "PreClosePx", "MaxPx", "MinPx", "OpenPx", "HighPx",
                                "LowPx", "Buy1Price", "Sell5Price"}) {
            QCOMPARE(tick.value(key).userType(), int(QMetaType::Double));
        }
        QCOMPARE(tick.value("Buy5OrderQty").userType(), int(QMetaType::LongLong));
    }
}

void TickWalkTest::impossibleFigures_areReplaced() {
    const double endless = std::numeric_limits<double>::infinity();
    const double none = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {0.0, -1.0, endless, none, 1e300}) {
        for (int i = 0; i < 2; ++i) {
            TickWalk::Figures figures;
            (i == 0 ? figures.previousClose : figures.step) = bad;
            TickWalk walk(1, figures);
            const QVariantMap tick = walk.step(TickPhase::beforeOpen);
            QCOMPARE(number(tick, TickField::previousClose), 10.0);
            QCOMPARE(number(tick, TickField::minPrice), 0.01);
        }
        TickWalk walk(1, {10.0, 0.01, bad, bad, -5});
        const QVariantMap tick = walk.step(TickPhase::continuous);
        QCOMPARE(number(tick, TickField::maxPrice), TickField::kNoUpperLimit);
        QCOMPARE(number(tick, TickField::minPrice), 0.01);
    }
    TickWalk turned(1, {10.0, 0.01, 9.0, 11.0, 100});
    QCOMPARE(number(turned.step(TickPhase::closed), TickField::maxPrice), TickField::kNoUpperLimit);
    // With a close outside the limits, trading takes place inside them.
    TickWalk outside(1, {12.0, 0.01, 11.0, 9.0, 100});
    QCOMPARE(number(outside.step(TickPhase::closed), TickField::lastPrice), 11.0);
}

void TickWalkTest::pricesOnTheGrid_readLikeDecimals() {
    TickWalk walk(9, {10.01, 0.001, 11.011, 9.009, 100});
    for (int i = 0; i < kSteps; ++i) {
        for (const double price : pricesOf(walk.step(TickPhase::continuous))) {
            QCOMPARE(QString::number(price, 'g', 15).toDouble(), price);
            QVERIFY(QString::number(price, 'g', 17).toDouble() ==
                    QString::number(price, 'f', 3).toDouble());
        }
    }
}

QTEST_GUILESS_MAIN(TickWalkTest)
#include "tick_walk_test.moc"
