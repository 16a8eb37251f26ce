#include "counted_deals.h"

#include <QtTest>
#include <limits>

class CountedDealsTest : public QObject {
    Q_OBJECT

private slots:
    void set_manyHashes_containsThoseAlone() {
        HashSet64 set;
        QVERIFY(!set.contains(7));
        for (quint64 i = 0; i < 5000; ++i) {
            QVERIFY(
                set.insert(i * 1024));  // the low bits, which choose the place, are all the same
        }
        QCOMPARE(set.size(), size_t(5000));
        for (quint64 i = 0; i < 5000; ++i) {
            QVERIFY(set.contains(i * 1024));
            QVERIFY(!set.contains(i * 1024 + 2));
            QVERIFY(!set.insert(i * 1024));
        }
        QCOMPARE(set.size(), size_t(5000));
    }

    void set_extremeHashes_areHeld() {
        HashSet64 set;
        for (const quint64 hash : {quint64(0), std::numeric_limits<quint64>::max()}) {
            QVERIFY(!set.contains(hash));
            QVERIFY(set.insert(hash));
            QVERIFY(set.contains(hash));
        }
        QVERIFY(!set.contains(2));
    }

    void set_manyAtOnce_addsThemToWhatItContains() {
        HashSet64 set;
        QVERIFY(set.insert(5));
        std::vector<quint64> hashes{0, 5};
        for (quint64 i = 100; i < 10000; ++i) {
            hashes.push_back(i * i);
            hashes.push_back(i * i);
        }
        set.insertAll(hashes);
        QCOMPARE(set.size(), size_t(2 + 9900));
        for (const quint64 hash : hashes) {
            QVERIFY(set.contains(hash));
        }
        QVERIFY(!set.contains(101 * 101 + 1));
        set.insertAll({});
        QCOMPARE(set.size(), size_t(2 + 9900));
    }

    void streamed_pastTheLimit_forgetsTheOldestAlone() {
        constexpr quint64 kLatest = 100;
        CountedDeals counted(kLatest);
        counted.addListed({1});
        for (quint64 id = 1000; id < 1000 + 10 * kLatest; ++id) {
            QVERIFY(counted.addStreamed(id));
        }
        for (quint64 id = 1000 + 9 * kLatest; id < 1000 + 10 * kLatest; ++id) {
            QVERIFY(!counted.addStreamed(id));
        }
        QVERIFY(counted.addStreamed(1000));  // long ago
        QVERIFY(!counted.addStreamed(1));    // of the list, which is never forgotten
    }
};

QTEST_GUILESS_MAIN(CountedDealsTest)
#include "counted_deals_test.moc"
