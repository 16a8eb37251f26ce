#include "date_runs.h"

#include <rapidcheck.h>

#include <QSet>
#include <QtTest>

#include "log_capture.h"

namespace {

using Runs = QList<QPair<QDate, QDate>>;

const QDate kFirst(2026, 1, 1);

QDate day(int number) {
    return kFirst.addDays(number - 1);
}

}  // namespace

Q_DECLARE_METATYPE(Runs)

class DateRunsTest : public QObject {
    Q_OBJECT

private slots:
    void unqueried_heldDays_splitTheRange_data() {
        QTest::addColumn<QDate>("first");
        QTest::addColumn<QDate>("last");
        QTest::addColumn<QList<QDate>>("held");
        QTest::addColumn<Runs>("runs");
        QTest::newRow("nothing held")
            << day(1) << day(5) << QList<QDate>{} << Runs{{day(1), day(5)}};
        QTest::newRow("one day") << day(1) << day(1) << QList<QDate>{} << Runs{{day(1), day(1)}};
        QTest::newRow("middle held, in any order")
            << day(1) << day(6) << QList<QDate>{day(4), day(3)}
            << Runs{{day(1), day(2)}, {day(5), day(6)}};
        QTest::newRow("ends held")
            << day(1) << day(5) << QList<QDate>{day(1), day(5)} << Runs{{day(2), day(4)}};
        QTest::newRow("all held") << day(1) << day(2) << QList<QDate>{day(1), day(2)} << Runs{};
        QTest::newRow("held outside the range")
            << day(3) << day(4) << QList<QDate>{day(1), day(9), QDate()} << Runs{{day(3), day(4)}};
        QTest::newRow("start after end") << day(5) << day(1) << QList<QDate>{} << Runs{};
        QTest::newRow("no start") << QDate() << day(1) << QList<QDate>{} << Runs{};
        QTest::newRow("no end") << day(1) << QDate() << QList<QDate>{} << Runs{};
    }
    void unqueried_heldDays_splitTheRange() {
        QFETCH(QDate, first);
        QFETCH(QDate, last);
        QFETCH(QList<QDate>, held);
        QFETCH(Runs, runs);
        QCOMPARE(getUnqueriedDateRanges(first, last, held), runs);
        HeldDays days;
        for (const QDate& one : held) {
            days.add(one, one);
        }
        QCOMPARE(days.missingIn(first, last), runs);
    }

    void heldDays_anyChanges_answerLikeASetOfDays() {
        const bool holds = rc::check("held days are a set", [] {
            HeldDays days;
            QSet<QDate> model;
            const auto changes =
                *rc::gen::container<std::vector<std::tuple<int, int, bool>>>(rc::gen::tuple(
                    rc::gen::inRange(1, 40), rc::gen::inRange(-3, 12), rc::gen::arbitrary<bool>()));
            for (const auto& [first, length, adds] : changes) {
                if (adds) {
                    days.add(day(first), day(first + length));
                    for (int number = first; number <= first + length; ++number) {
                        model.insert(day(number));
                    }
                } else {
                    days.remove(day(first));
                    model.remove(day(first));
                }
            }
            for (int number = 0; number <= 55; ++number) {
                RC_ASSERT(days.contains(day(number)) == model.contains(day(number)));
            }
            const QDate first = day(*rc::gen::inRange(1, 50));
            const QDate last = day(*rc::gen::inRange(1, 50));
            RC_ASSERT(days.missingIn(first, last) ==
                      getUnqueriedDateRanges(first, last, model.values()));
            const Runs runs = days.runs();
            for (int i = 1; i < runs.size(); ++i) {
                RC_ASSERT(runs.at(i - 1).second.addDays(1) < runs.at(i).first);
            }
        });
        QVERIFY(holds);
    }

    void heldDays_neighbours_areOneRun() {
        HeldDays days;
        days.add(day(1), day(10));
        days.add(day(21), day(30));
        days.add(day(11), day(20));
        QCOMPARE(days.runs(), (Runs{{day(1), day(30)}}));
        days.remove(day(15));
        QCOMPARE(days.runs(), (Runs{{day(1), day(14)}, {day(16), day(30)}}));
    }

    void heldDays_invalidOrReversed_addNothing() {
        HeldDays days;
        days.add(QDate(), day(1));
        days.add(day(1), QDate());
        days.add(day(2), day(1));
        days.remove(QDate());
        QVERIFY(days.runs().isEmpty());
        QVERIFY(!days.contains(QDate()));
    }

    void range_beyondAHundredYears_isRefusedWithAWarning_data() {
        QTest::addColumn<QDate>("first");
        QTest::addColumn<QDate>("last");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("100 years") << QDate(1926, 1, 1) << QDate(2026, 1, 1) << true;
        QTest::newRow("a day more") << QDate(1926, 1, 1) << QDate(2026, 1, 2) << false;
        QTest::newRow("10,000 years") << QDate(1, 1, 1) << QDate(10001, 1, 1) << false;
        QTest::newRow("reversed") << QDate(2026, 1, 2) << QDate(1926, 1, 1) << true;
        QTest::newRow("invalid") << QDate() << QDate(2026, 1, 1) << true;
    }
    void range_beyondAHundredYears_isRefusedWithAWarning() {
        QFETCH(QDate, first);
        QFETCH(QDate, last);
        QFETCH(bool, allowed);
        const LogCapture log;
        QCOMPARE(isRangeAllowed("GetSomething", first, last), allowed);
        QCOMPARE(log.texts(QtWarningMsg).size(), allowed ? 0 : 1);
        QCOMPARE(log.contains(QtWarningMsg, "GetSomething refuses the range from"), !allowed);
    }
};

QTEST_GUILESS_MAIN(DateRunsTest)
#include "date_runs_test.moc"
