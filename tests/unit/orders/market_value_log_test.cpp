#include <QtTest>

#include "log_capture.h"
#include "market_value_fixture.h"

namespace {

constexpr int kMany = 100000;

double nan() {
    return std::numeric_limits<double>::quiet_NaN();
}

QStringList warnings(const LogCapture& log, const QString& part) {
    return log.texts(QtWarningMsg).filter(part);
}

}  // namespace

/// Bad figures are logged in a number of lines that does not grow with their number.
class MarketValueLogTest : public QObject {
    Q_OBJECT

private slots:
    void rebuild_manyBadRows_isOneLineWithACountAndTheFirst() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        QList<QVariantMap> rows{positionRow("A1", "600000", Exchange::sh, 3, 9.0)};
        rows.reserve(kMany + 1);
        for (int i = 0; i < kMany; ++i) {
            rows.append(positionRow("A1", QString::number(1000000 + i), Exchange::sh, nan(), 9.0));
        }
        const LogCapture log;
        f.rebuild(rows);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        const QString line = log.texts(QtWarningMsg).first();
        QVERIFY2(line.contains("A1 in ?1000000:"), qPrintable(line));
        QVERIFY2(line.contains("100000 rows in all"), qPrintable(line));
    }

    void rebuild_manyBadPrices_isOneLine() {
        MarketValueFixture f;
        QList<QVariantMap> rows;
        for (int i = 0; i < 1000; ++i) {
            const QString id = QString::number(700000 + i);
            f.symbols.add(id + ".SH", Exchange::sh, {});
            f.setPrice(id + ".SH", nan());
            rows.append(positionRow("A1", id, Exchange::sh, 1));
        }
        const LogCapture log;
        f.rebuild(rows);
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.contains("the last price of 700000.SH"));
        QVERIFY(log.contains("1000 symbols in all"));
        f.values.takeTick("700001.SH");
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void updates_afterTheRebuildLoggedThePosition_logNothing() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1e300)});
        const LogCapture log;
        f.tick("600000.SH", 11.0);
        f.push("600000", nan());
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        // The next rebuild reports what is still wrong then.
        f.values.initPosData();
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void pushes_manyOfOnePosition_areOneLine() {
        MarketValueFixture f;
        f.rebuild({});
        const LogCapture log;
        for (int i = 0; i < 1000; ++i) {
            f.push("600000", nan());
        }
        QCOMPARE(warnings(log, "left out of the market value of A1 in 600000.SH").size(), 1);
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void pushes_withoutAccountOrSecurity_areOneLineEach() {
        MarketValueFixture f;
        f.rebuild({});
        const LogCapture log;
        for (int i = 0; i < 1000; ++i) {
            f.values.slotPositionUpdated({});
            f.push({}, 1);
            f.push("600000", 1, 0.0, Exchange::sh, {});
        }
        QCOMPARE(warnings(log, "without account or security").size(), 3);
        QCOMPARE(log.texts(QtWarningMsg).size(), 3);
    }

    void calcMarketValue_notFinite_isOneLinePerSymbol() {
        const MarketValueFixture f;
        QString error = "before";
        const LogCapture log;
        for (int i = 0; i < 1000; ++i) {
            QCOMPARE(f.values.calcMarketValue(error, "600000.SH", 1, nan(), 1.0), 0.0);
            QCOMPARE(f.values.calcMarketValue(error, "600001.SH", 1, nan(), 1.0), 0.0);
        }
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
        QCOMPARE(error, QString("before"));
    }

    void calcMarketValue_manyTextsThatAreNoSymbols_stopBeingLogged() {
        const MarketValueFixture f;
        QString error;
        const LogCapture log;
        for (int i = 0; i < kMany; ++i) {
            f.values.calcMarketValue(error, QString::number(i), 1, nan(), 1.0);
        }
        QCOMPARE(log.texts(QtWarningMsg).size(), 1000);
    }
};

QTEST_GUILESS_MAIN(MarketValueLogTest)
#include "market_value_log_test.moc"
