#include "price_step.h"

#include <rapidcheck.h>

#include <QtTest>
#include <cmath>
#include <functional>
#include <limits>

namespace {

/// A step that an exchange uses.
double anyStep() {
    return *rc::gen::element(0.0001, 0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1.0, 2.0,
                             5.0);
}

/// Prices up to 10,000 with up to four decimals.
double anyPrice() {
    return *rc::gen::inRange(0, 100000000) / 10000.0;
}

// How far a value may lie from a step and still count as on it.
double tolerance(double step) {
    return step * 2e-6 + 1e-9;
}

}  // namespace

class PriceStepTest : public QObject {
    Q_OBJECT

private slots:
    void align_value_givesTheStep_data() {
        QTest::addColumn<double>("value");
        QTest::addColumn<double>("step");
        QTest::addColumn<double>("down");
        QTest::addColumn<double>("up");
        QTest::newRow("between") << 10.004 << 0.01 << 10.00 << 10.01;
        QTest::newRow("on it") << 10.01 << 0.01 << 10.01 << 10.01;
        QTest::newRow("nothing above it") << 10.01 + 5e-11 << 0.01 << 10.01 << 10.01;
        QTest::newRow("nothing below it") << 10.01 - 5e-11 << 0.01 << 10.01 << 10.01;
        QTest::newRow("just above it") << 10.0102 << 0.01 << 10.01 << 10.02;
        QTest::newRow("just below it") << 10.0098 << 0.01 << 10.00 << 10.01;
        QTest::newRow("zero") << 0.0 << 0.01 << 0.0 << 0.0;
        QTest::newRow("below one step") << 0.004 << 0.01 << 0.0 << 0.01;
        QTest::newRow("sum of tenths") << 0.1 + 0.2 << 0.1 << 0.3 << 0.3;
        QTest::newRow("coarse step") << 1234.0 << 5.0 << 1230.0 << 1235.0;
        // Steps below zero are counted towards zero, so both results lie above the value.
        QTest::newRow("negative on it") << -10.01 << 0.01 << -10.01 << -10.01;
        QTest::newRow("negative between") << -10.004 << 0.01 << -10.00 << -9.99;
    }
    void align_value_givesTheStep() {
        QFETCH(double, value);
        QFETCH(double, step);
        QFETCH(double, down);
        QFETCH(double, up);
        QVERIFY(std::abs(alignPriceToStep(value, step, true) - down) < 1e-9);
        QVERIFY(std::abs(alignPriceToStep(value, step, false) - up) < 1e-9);
    }

    void align_moreStepsThanAnInteger_saturates() {
        const int highest = std::numeric_limits<int>::max();
        const int lowest = std::numeric_limits<int>::min();
        QCOMPARE(alignPriceToStep(1e9, 1e-4, true), highest * 1e-4);
        QCOMPARE(alignPriceToStep(1e9, 1e-4, false), (highest + 1.0) * 1e-4);
        QCOMPARE(alignPriceToStep(-1e9, 1e-4, true), lowest * 1e-4);
        QCOMPARE(alignPriceToStep(1e300, 1e-300, true), highest * 1e-300);
    }

    void align_nearAStep_countsAsHavingReachedIt_data() {
        QTest::addColumn<double>("value");
        QTest::addColumn<double>("down");
        QTest::addColumn<double>("up");
        QTest::newRow("a little above") << 10.01 + 5e-9 << 10.01 << 10.02;
        QTest::newRow("a little below") << 10.01 - 5e-9 << 10.01 << 10.02;
        QTest::newRow("a little more below") << 10.01 - 2e-8 << 10.00 << 10.01;
        QTest::newRow("negative, a little beyond") << -10.01 - 5e-9 << -10.01 << -10.00;
        QTest::newRow("negative, a little before") << -10.01 + 5e-9 << -10.01 << -10.00;
    }
    void align_nearAStep_countsAsHavingReachedIt() {
        QFETCH(double, value);
        QFETCH(double, down);
        QFETCH(double, up);
        QCOMPARE(alignPriceToStep(value, 0.01, true), down);
        QCOMPARE(alignPriceToStep(value, 0.01, false), up);
    }

    void align_decimalStep_givesTheDoubleNearestToTheDecimal_data() {
        QTest::addColumn<int>("stepUnits");  // of the last decimal
        QTest::addColumn<int>("decimals");
        QTest::addColumn<bool>("asPower");
        for (int decimals = 0; decimals <= 6; ++decimals) {
            for (const int units : {1, 2, 5}) {
                if (units == 1 || decimals > 0) {
                    QTest::addRow("%d, %d decimals", units, decimals) << units << decimals << false;
                }
            }
            QTest::addRow("power %d", decimals) << 1 << decimals << true;
        }
        for (const int units : {2, 3, 5, 10}) {
            QTest::addRow("whole %d", units) << units << 0 << false;
        }
    }
    void align_decimalStep_givesTheDoubleNearestToTheDecimal() {
        QFETCH(int, stepUnits);
        QFETCH(int, decimals);
        QFETCH(bool, asPower);
        // The parser of decimal texts rounds to the nearest double.
        const auto nearest = [decimals](qint64 units) {
            return QStringLiteral("%1e-%2").arg(units).arg(decimals).toDouble();
        };
        const double step = asPower ? std::pow(0.1, decimals) : nearest(stepUnits);
        // Prices up to 100,000: beyond them the error of a product exceeds 1e-10.
        const int counts = static_cast<int>(std::min(1e8, 1e5 / step));
        QVERIFY(rc::check("every step is exact", [&] {
            const qint64 count = *rc::gen::inRange(0, counts);
            const double exact = nearest(count * stepUnits);
            const double next = nearest((count + 1) * stepUnits);
            const double inside = exact + (next - exact) * 0.4;
            const auto same = [](double left, double right) {
                return std::equal_to<double>()(left, right);
            };
            for (const bool down : {true, false}) {
                RC_ASSERT(same(alignPriceToStep(exact, step, down), exact));
                RC_ASSERT(same(alignPriceToStep(inside, step, down), down ? exact : next));
                // The inexact product of a count and a step is where prices come from.
                RC_ASSERT(
                    same(alignPriceToStep(static_cast<double>(count) * step, step, down), exact));
            }
        }));
    }

    void align_stepThatDividesNoUnit_givesTheProduct() {
        QCOMPARE(alignPriceToStep(10.0, 0.3, true), 33 * 0.3);
        QCOMPARE(alignPriceToStep(10.0, 0.3, false), 34 * 0.3);
    }

    void align_noNumberOrNoStep_givesTheValueBack() {
        const double infinity = std::numeric_limits<double>::infinity();
        const double none = std::numeric_limits<double>::quiet_NaN();
        for (const bool down : {true, false}) {
            QVERIFY(std::isnan(alignPriceToStep(none, 0.01, down)));
            QCOMPARE(alignPriceToStep(infinity, 0.01, down), infinity);
            QCOMPARE(alignPriceToStep(-infinity, 0.01, down), -infinity);
            QCOMPARE(alignPriceToStep(10.0, 0.0, down), 10.0);
            QCOMPARE(alignPriceToStep(10.0, -0.01, down), 10.0);
            QCOMPARE(alignPriceToStep(10.0, none, down), 10.0);
            QCOMPARE(alignPriceToStep(10.0, infinity, down), 10.0);
        }
    }

    void align_anyPrice_isOnAStepAndStaysThere() {
        QVERIFY(rc::check("aligned twice is aligned once", [] {
            const double step = anyStep();
            const bool down = *rc::gen::arbitrary<bool>();
            const double once = alignPriceToStep(anyPrice(), step, down);
            RC_ASSERT(std::abs(std::remainder(once, step)) < 1e-8);
            RC_ASSERT(std::equal_to<double>()(alignPriceToStep(once, step, down), once));
            RC_ASSERT(std::equal_to<double>()(alignPriceToStep(once, step, !down), once));
        }));
    }

    void align_anyPrice_movesLessThanAStepInItsDirection() {
        QVERIFY(rc::check("down is below, up is above, both within a step", [] {
            const double step = anyStep();
            const double price = anyPrice();
            const double down = alignPriceToStep(price, step, true);
            const double up = alignPriceToStep(price, step, false);
            RC_ASSERT(down <= price + tolerance(step));
            RC_ASSERT(price - down < step + tolerance(step));
            RC_ASSERT(up >= price - tolerance(step));
            RC_ASSERT(up - price < step + tolerance(step));
        }));
    }

    void align_twoPrices_keepTheirOrder() {
        QVERIFY(rc::check("a higher price is never aligned lower", [] {
            const double step = anyStep();
            const bool down = *rc::gen::arbitrary<bool>();
            const double left = anyPrice();
            const double right = anyPrice();
            const double low = alignPriceToStep(std::min(left, right), step, down);
            const double high = alignPriceToStep(std::max(left, right), step, down);
            RC_ASSERT(low <= high + 1e-9);
        }));
    }
};

QTEST_APPLESS_MAIN(PriceStepTest)
#include "price_step_test.moc"
