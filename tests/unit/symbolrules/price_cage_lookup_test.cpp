#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "log_capture.h"
#include "price_fixture.h"
#include "wait_for.h"

namespace {

const QString kConfig = Velmar_MsgType::getSysConfigRequest;

}  // namespace

/// How the cage of a symbol is found and remembered.
class PriceCageLookupTest : public QObject {
    Q_OBJECT

private slots:
    void cageOfSymbol_builtIn_followsTheIndexLevelByLevel_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("cageId");
        QTest::newRow("main board") << "600000.SH"
                                    << "1";
        QTest::newRow("science board") << "688001.SH"
                                       << "2";
        QTest::newRow("Shenzhen") << "000001.SZ"
                                  << "1";
        QTest::newRow("growth board") << "300001.SZ"
                                      << "1";
        QTest::newRow("Hong Kong from Shanghai") << "02001.HK"
                                                 << "3";
        QTest::newRow("Hong Kong from Shenzhen") << "08001.HK"
                                                 << "3";
        // The exchange has neither this type nor "*".
        QTest::newRow("fund") << "510050.SH"
                              << "";
        QTest::newRow("Beijing") << "920001.BJ"
                                 << "";
        QTest::newRow("unknown") << "nothing"
                                 << "";
    }
    void cageOfSymbol_builtIn_followsTheIndexLevelByLevel() {
        QFETCH(QString, symbol);
        QFETCH(QString, cageId);
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const QVariantMap expected = fixture.cage.GetAllCageMap().value(cageId);
        QCOMPARE(expected.isEmpty(), cageId.isEmpty());
        QCOMPARE(fixture.cage.GetCageMapBySymbol(symbol), expected);
    }

    void cageOfSymbol_lookedUpBefore_isRemembered() {
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const QVariantMap mainBoard = fixture.cage.GetAllCageMap().value("1");
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"), mainBoard);
        QVERIFY(fixture.cage.GetCageMapBySymbol("later").isEmpty());
        // Reference data in which the two have changed places.
        const auto share = [](const QString& type) {
            return QVariantMap{{UserAccount::securityExchange, Exchange::sh},
                               {MDCFieldDefine::mdcSecurityType, type},
                               {MDCFieldDefine::mdcSubSecurityType, "02001"}};
        };
        LocalPlatform::Options other;
        other.homeDir = fixture.world.homeDir();
        other.staticDbFile = other.homeDir + "/other.sqlite";
        StaticDbBuilder()
            .reference("security", "later", share(MdcSecurityType::StockType))
            .reference("security", "600000.SH", share(MdcSecurityType::FundType))
            .write(other.staticDbFile);
        QString error;
        QVERIFY2(LocalPlatform::instance().start(other, &error), qPrintable(error));
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"), mainBoard);
        QVERIFY(fixture.cage.GetCageMapBySymbol("later").isEmpty());
        // A cage without earlier look-ups uses the new data.
        PriceCage fresh(fixture.identity, fixture.clock, fixture.sink);
        fresh.initCageMap(nullptr, true);
        QVERIFY(fresh.GetCageMapBySymbol("600000.SH").isEmpty());
        QCOMPARE(fresh.GetCageMapBySymbol("later"), mainBoard);
    }

    void cageOfSymbol_levelThatFails_doesNotFallBackToAHigherWildcard() {
        PriceFixture fixture;
        fixture.world.link().on(
            kConfig,
            ScriptedReply::rows({{{System::itemValue,
                                   R"({"any":{"securityType":["*-*-*"],"controlType":1},)"
                                   R"("own":{"securityType":["1-2-02001"],"controlType":1}})"}}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        const auto cageOf = [&fixture](const QString& symbol) {
            return fixture.cage.GetAllCageMap().key(fixture.cage.GetCageMapBySymbol(symbol));
        };
        QCOMPARE(cageOf("600000.SH"), QString("own"));
        QCOMPARE(cageOf("000001.SZ"), QString("any"));
        QVERIFY(fixture.cage.GetCageMapBySymbol("688001.SH").isEmpty());
        QVERIFY(fixture.cage.GetCageMapBySymbol("510050.SH").isEmpty());
    }

    void cageOfSymbol_manyThreadsAtOnce_agree() {
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const QVariantMap expected = fixture.cage.GetAllCageMap().value("1");
        std::atomic<int> different{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i) {
            threads.emplace_back([&] {
                for (const char* symbol : {"600000.SH", "000001.SZ", "300001.SZ"}) {
                    different += fixture.cage.GetCageMapBySymbol(symbol) == expected ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(different.load(), 0);
    }

    void cageOfSymbol_refreshedMeanwhile_isTheOldOrTheNewOneWhole() {
        const LogCapture quiet;
        PriceFixture fixture;
        const auto take = [&fixture](bool isM) {
            const QString id = isM ? "M" : "N";
            const QString text = QString(R"({"%1":{"securityType":["*-*-*"],"buyUnit":%2,)"
                                         R"("sellUnit":%2,"controlType":2}})")
                                     .arg(id)
                                     .arg(isM ? 3 : 5);
            fixture.world.link().on(kConfig, ScriptedReply::rows({{{System::itemValue, text}}}));
            fixture.cage.initCageMap(fixture.presenter, true);
            return fixture.cage.GetAllCageMap().value(id);
        };
        const QVariantMap m = take(true);
        const QVariantMap n = take(false);
        QVERIFY(!m.isEmpty() && !n.isEmpty() && m != n);
        std::atomic<bool> over{false};
        std::atomic<int> lookUps{0};
        std::atomic<int> other{0};
        const auto lookUp = [&](int thread) {
            // New symbols all the time, so that a refresh meets first look-ups. The second look-up
            // of each finds the remembered id, which must be a cage of the tables in force.
            for (int i = 0; !over; ++i) {
                const QString symbol = QStringLiteral("%1-%2").arg(thread).arg(i);
                for (int turn = 0; turn < 2; ++turn) {
                    const QVariantMap found = fixture.cage.GetCageMapBySymbol(symbol);
                    other += found == m || found == n ? 0 : 1;
                }
                ++lookUps;
            }
        };
        std::thread one(lookUp, 1);
        std::thread two(lookUp, 2);
        for (int round = 0; round < 100; ++round) {
            const int before = lookUps;
            take(round % 2 == 0);
            // The tables of every refresh are read before the next refresh.
            waitFor([&] { return lookUps > before; });
        }
        over = true;
        one.join();
        two.join();
        QCOMPARE(other.load(), 0);
        QVERIFY(lookUps > 0);
        for (const char* symbol : {"1-0", "2-0", "600000.SH"}) {
            QCOMPARE(fixture.cage.GetCageMapBySymbol(symbol), n);
        }
    }
};

QTEST_GUILESS_MAIN(PriceCageLookupTest)
#include "price_cage_lookup_test.moc"
