#include <rapidcheck.h>

#include <QtTest>
#include <cmath>
#include <limits>
#include <thread>

#include "client_world.h"
#include "log_capture.h"
#include "order_arbitration.h"
#include "status_table.h"
#include "vocabulary/fields.h"

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

QVariantMap report(const QString& id, const QString& status, const QVariant& cum = {},
                   const QVariant& cancelled = {}) {
    QVariantMap order{{Security::orderID, id}, {Security::orderStatus, status}};
    if (cum.isValid()) {
        order.insert(Security::cumQty, cum);
    }
    if (cancelled.isValid()) {
        order.insert(Security::cancelledQty, cancelled);
    }
    return order;
}

QString quantityLine(const QString& oldCum, const QString& newCum, const QString& oldCancelled,
                     const QString& newCancelled) {
    return QString(
               "same status, oldCumQty = %1, newCumQty = %2, oldCancelQty = %3, newCancelQty = %4")
        .arg(oldCum, newCum, oldCancelled, newCancelled);
}

}  // namespace

class OrderArbitrationTest : public QObject {
    Q_OBJECT

private slots:
    void init() { open({{"A", "A|B"}, {"B", "B"}, {"gap", "A||B"}, {"none", ""}}); }
    void cleanup() { m_world.reset(); }

    void update_identity_mustBeSetAndEqual_data() {
        QTest::addColumn<QVariant>("oldId");
        QTest::addColumn<QVariant>("newId");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("both empty") << QVariant("") << QVariant("") << false;
        QTest::newRow("both missing") << QVariant() << QVariant() << false;
        QTest::newRow("old empty") << QVariant("") << QVariant("O1") << false;
        QTest::newRow("new empty") << QVariant("O1") << QVariant("") << false;
        QTest::newRow("different") << QVariant("O1") << QVariant("O2") << false;
        QTest::newRow("other case") << QVariant("O1") << QVariant("o1") << false;
        QTest::newRow("equal") << QVariant("O1") << QVariant("O1") << true;
        QTest::newRow("number and text") << QVariant(17) << QVariant("17") << true;
    }
    void update_identity_mustBeSetAndEqual() {
        QFETCH(QVariant, oldId);
        QFETCH(QVariant, newId);
        QVariantMap stored = report("", "A", 1);
        QVariantMap incoming = report("", "A", 2);
        stored.insert(Security::orderID, oldId);
        incoming.insert(Security::orderID, newId);
        const LogCapture log;
        QTEST(canOrderUpdate(stored, incoming), "accepted");
        QCOMPARE(log.texts(), QStringList());
        QVERIFY(!canOrderUpdate({}, {}));
    }

    void update_statusChange_mustBeListed_data() {
        QTest::addColumn<QString>("oldStatus");
        QTest::addColumn<QString>("newStatus");
        QTest::addColumn<bool>("accepted");
        const auto add = [](const QString& oldStatus, const QString& newStatus, bool accepted) {
            QTest::newRow(qPrintable('"' + oldStatus + "\" to \"" + newStatus + '"'))
                << oldStatus << newStatus << accepted;
        };
        add("A", "A", true);
        add("A", "B", true);
        add("B", "A", false);
        add("A", "", false);
        add("A", "A|B", false);
        add("A", "b", false);
        add("A", "a", false);
        add("a", "A", false);
        add("B", "B", true);
        // An empty part of the list admits the empty status, and so does an empty list.
        add("gap", "", true);
        add("gap", "A", true);
        add("gap", "B", true);
        add("gap", "gap", false);
        add("none", "", true);
        add("none", "none", false);
        add("none", "A", false);
        add("unknown", "", true);
        add("unknown", "A", false);
        add("unknown", "unknown", false);
        add("", "", true);
        add("", "A", false);
    }
    void update_statusChange_mustBeListed() {
        QFETCH(QString, oldStatus);
        QFETCH(QString, newStatus);
        QFETCH(bool, accepted);
        const LogCapture log;
        QCOMPARE(canOrderUpdate(report("O1", oldStatus, 1), report("O1", newStatus, 2)), accepted);
        const QString line = QString("oldStatus = %1, newStatus = %2").arg(oldStatus, newStatus);
        QCOMPARE(log.texts(), accepted ? QStringList() : QStringList{line});
        QCOMPARE(log.count(QtDebugMsg, line), accepted ? 0 : 1);
    }

    void update_statusAsNumber_readsAsItsText() {
        open({{"1", "1|2"}});
        const auto reportOf = [](const QVariant& status, int dealt) {
            return QVariantMap{{Security::orderID, "O1"},
                               {Security::orderStatus, status},
                               {Security::cumQty, dealt}};
        };
        QVERIFY(canOrderUpdate(reportOf(1, 100), reportOf("1", 200)));
        QVERIFY(canOrderUpdate(reportOf("1", 100), reportOf(2, 200)));
        // A number and its text are the same status.
        QVERIFY(!canOrderUpdate(reportOf(1, 100), reportOf("1", 100)));
        QVERIFY(!canOrderUpdate(reportOf(2, 100), reportOf(1, 200)));
    }

    void update_noStatusTable_isRefused() {
        open({});
        QVERIFY(!canOrderUpdate(report("O1", "A", 1), report("O1", "A", 2)));
        QVERIFY(!canOrderUpdate(report("O1", "", 1), report("O1", "A", 2)));
        QVERIFY(canOrderUpdate(report("O1", "A", 1), report("O1", "", 2)));
    }

    void update_missingStatus_readsAsEmpty() {
        QVERIFY(canOrderUpdate({{Security::orderID, "O1"}},
                               {{Security::orderID, "O1"}, {Security::cumQty, 1}}));
        QVERIFY(!canOrderUpdate({{Security::orderID, "O1"}}, {{Security::orderID, "O1"}}));
    }

    void update_quantities_decide_data() {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QVariantMap>("incoming");
        QTest::addColumn<QString>("line");
        const auto add = [](const char* name, const QVariantMap& stored,
                            const QVariantMap& incoming, const QString& line = {}) {
            QTest::newRow(name) << stored << incoming << line;
        };
        const auto a = [](const QVariant& cum, const QVariant& cancelled = {}) {
            return report("O1", "A", cum, cancelled);
        };
        const auto b = [](const QVariant& cum, const QVariant& cancelled = {}) {
            return report("O1", "B", cum, cancelled);
        };
        add("same status, dealt on", a(100), a(200));
        add("same status, cancelled on", a(100, 0), a(100, 50));
        add("same status, nothing new", a(100, 0), a(100, 0), quantityLine("100", "100", "0", "0"));
        add("same status, no quantities", a({}), a({}), quantityLine("0", "0", "0", "0"));
        add("same status, within the tolerance", a(100), a(100.00000000001),
            quantityLine("100", "100.00000000001", "0", "0"));
        add("same status, beyond the tolerance", a(100), a(100.000000001));
        add("same status, one grows and one shrinks", a(100, 50), a(200, 40),
            quantityLine("100", "200", "50", "40"));
        add("same status, backwards", a(100), a(50), quantityLine("100", "50", "0", "0"));
        add("other status, quantities unchanged", a(100, 20), b(100, 20));
        add("other status, dealt on", a(100), b(200));
        add("other status, backwards", a(100), b(50), quantityLine("100", "50", "0", "0"));
        add("other status, cancel backwards", a(100, 50), b(100, 49),
            quantityLine("100", "100", "50", "49"));
        add("other status, one grows and one shrinks", a(100, 0), b(50, 50),
            quantityLine("100", "50", "0", "50"));
        add("other status, shrinks within the tolerance", a(100), b(99.99999999999));
        add("other status, shrinks beyond the tolerance", a(100), b(99.999999999),
            quantityLine("100", "99.999999999", "0", "0"));
        add("other status, quantities missing", a(100, 20), b({}),
            quantityLine("100", "0", "20", "0"));
        add("texts of numbers", a("100", "0"), a("200", "0"));
        add("texts that are no numbers", a("一百"), b("x", "y"));
        add("text that is no number after a quantity", a(100), a("一百"),
            quantityLine("100", "0", "0", "0"));
        add("large quantities", a(1e9), a(1000000001.0));
        add("large, nothing new", a(1000000), a(1000000),
            quantityLine("1000000", "1000000", "0", "0"));
        add("1e300", a(100), a(1e300));
        add("after 1e300", a(1e300), a(100), quantityLine("1e+300", "100", "0", "0"));
        add("negative and back", a(-5), a(0));
        add("stored quantity that is not a number", a(kNan), a(100));
        add("stored quantity that is infinite", a(kInfinity), a(100),
            quantityLine("inf", "100", "0", "0"));
        add("stored quantity that is infinite, other status", a(100, kInfinity), b(200, 100),
            quantityLine("100", "200", "inf", "100"));
        add("other fields", report("O1", "A", 1),
            {{Security::orderID, "O1"},
             {Security::orderStatus, "A"},
             {Security::cumQty, 2},
             {Security::orderQty, kNan},
             {"own", QVariantList{1}}});
    }
    void update_quantities_decide() {
        QFETCH(QVariantMap, stored);
        QFETCH(QVariantMap, incoming);
        QFETCH(QString, line);
        const LogCapture log;
        QCOMPARE(canOrderUpdate(stored, incoming), line.isEmpty());
        QCOMPARE(log.texts(QtDebugMsg), line.isEmpty() ? QStringList() : QStringList{line});
        QCOMPARE(log.texts(), log.texts(QtDebugMsg));
    }

    void update_newQuantityNotFinite_isRefused_data() {
        QTest::addColumn<QVariant>("quantity");
        QTest::newRow("nan") << QVariant(kNan);
        QTest::newRow("infinite") << QVariant(kInfinity);
        QTest::newRow("minus infinite") << QVariant(-kInfinity);
        QTest::newRow("nan text") << QVariant("nan");
        QTest::newRow("infinite text") << QVariant("inf");
    }
    void update_newQuantityNotFinite_isRefused() {
        QFETCH(QVariant, quantity);
        for (const QVariantMap& incoming :
             {report("O1", "A", quantity, 5), report("O1", "A", 500, quantity),
              report("O1", "B", quantity, 5), report("O1", "B", 500, quantity)}) {
            const LogCapture log;
            QVERIFY(!canOrderUpdate(report("O1", "A", 100, 0), incoming));
            QCOMPARE(log.texts(QtDebugMsg).size(), 1);
            QVERIFY(log.contains("order O1: not a finite quantity, newCumQty = "));
            // Not a number stays out of a record that has none, too.
            QVERIFY(!canOrderUpdate(report("O1", "A", kNan, kNan), incoming));
        }
    }

    void update_logLines_areOfTheOrdersCategory() {
        const LogCapture log;
        canOrderUpdate(report("O1", "A", 100), report("O1", "A", 100));
        canOrderUpdate(report("O1", "B", 100), report("O1", "A", 100));
        QCOMPARE(log.lines().size(), size_t(2));
        for (const LogCapture::Line& line : log.lines()) {
            QCOMPARE(line.category, QString("velmar.orders"));
        }
    }

    void update_manyThreads_answerAlike() {
        std::vector<std::thread> threads;
        std::atomic<int> wrong{0};
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&wrong, t] {
                for (int i = 0; i < 2000; ++i) {
                    const bool grows = (i + t) % 2 == 0;
                    const bool accepted =
                        canOrderUpdate(report("O1", "A", 100), report("O1", "A", grows ? 101 : 99));
                    wrong += accepted == grows ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(wrong.load(), 0);
    }

    void update_anyTwoReports_followTheRule() {
        const StatusTable table{{"A", "A|B"}, {"B", "A|C"}, {"C", ""}};
        open(table);
        const bool holds =
            rc::check("accepted exactly when nothing shrinks and something changes", [&table] {
                const auto status = [] {
                    return QString::fromStdString(
                        *rc::gen::element<std::string>("A", "B", "C", "D", ""));
                };
                const auto quantity = [] { return *rc::gen::element(0.0, 1e-11, 0.5, 100.0, 1e9); };
                const QString from = status();
                const QString to = status();
                const double cum = quantity();
                const double cancelled = quantity();
                const double newCum = quantity();
                const double newCancelled = quantity();
                const bool listed = table.value(from).split('|').contains(to);
                const bool shrinks = cum - newCum > 1e-10 || cancelled - newCancelled > 1e-10;
                const bool grows = newCum - cum > 1e-10 || newCancelled - cancelled > 1e-10;
                RC_ASSERT(canOrderUpdate(report("O1", from, cum, cancelled),
                                         report("O1", to, newCum, newCancelled)) ==
                          (listed && !shrinks && (grows || from != to)));
            });
        QVERIFY(holds);
    }

private:
    void open(const StatusTable& table) {
        m_world.reset();
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), statusData(table));
    }

    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(OrderArbitrationTest)
#include "order_arbitration_test.moc"
