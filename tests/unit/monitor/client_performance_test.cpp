#include "client_performance.h"

#include <QtTest>
#include <limits>

#include "log_capture.h"
#include "performance_fixture.h"
#include "resource_figures.h"
#include "resource_history.h"
#include "vocabulary/constants.h"

namespace {

constexpr int kWeb = 1;
constexpr int kInfo = 2;
constexpr qint64 kMegabyte = 1 << 20;
inline const QString kTag = "VelmarBusinessDataManagerPresenterClass::startClientPerformUpload";

const QStringList& differenceKeys() {
    using namespace ClientPerformItem;
    static const QStringList keys{TradeMsgCount, TradeMsgSize, InfoMsgCount,
                                  InfoMsgSize,   MdcMsgCount,  MdcMsgSize};
    return keys;
}

/// In the order of differenceKeys().
void setTotals(const QVariantList& totals) {
    using namespace ClientPerformItem;
    const QStringList keys{TotalTradeMsgCount, TotalTradeMsgSize, TotalInfoMsgCount,
                           TotalInfoMsgSize,   MdcTotalMsgCount,  MdcTotalMsgSize};
    for (int i = 0; i < keys.size(); ++i) {
        setOnBoard(keys.at(i), totals.at(i));
    }
}

QVariantList differences() {
    QVariantList values;
    for (const QString& key : differenceKeys()) {
        values.append(onBoard(key));
    }
    return values;
}

/// Reports one type once, as client information.
QVariantMap reportedOnce(const QStringList& items, const QStringList& texts = {}) {
    return {{"UploadDst", kInfo}, {"type", performType(items, 0, texts)}};
}

}  // namespace

class ClientPerformanceTest : public QObject {
    Q_OBJECT

private slots:
    void start_requestsTheConfiguration() {
        PerformanceFixture f;
        f.start({});
        const QList<ScriptedLink::Request> requests =
            f.world.link().requests(Quindar_MsgType::sysConfigRequest);
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.first().header.value(System::itemName).toString(),
                 SystemItemName::TagClientPerformanceCfg);
    }

    void start_withoutAConfiguration_isLoggedAndReportsNothing_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("text");
        QTest::newRow("refused") << "refused"
                                 << "不行";
        QTest::newRow("failed") << "failed"
                                << "断了";
        QTest::newRow("timed out") << "timed out"
                                   << "";
        QTest::newRow("without rows") << "empty"
                                      << "";
    }
    void start_withoutAConfiguration_isLoggedAndReportsNothing() {
        QFETCH(QString, kind);
        QFETCH(QString, text);
        PerformanceFixture f;
        const QMap<QString, ScriptedReply> replies{{"refused", ScriptedReply::refusal(text)},
                                                   {"failed", ScriptedReply::failure(text)},
                                                   {"timed out", ScriptedReply::timeOut()},
                                                   {"empty", ScriptedReply::rows({})}};
        const LogCapture log;
        f.startWith(replies.value(kind));
        const QStringList warnings =
            log.texts(QtWarningMsg).filter(kTag + " 查询终端指标上报配置失败：");
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().contains(text), qPrintable(warnings.first()));
        QVERIFY(!log.contains(QtDebugMsg, kTag));
        QVERIFY(f.periods.isEmpty());
        QCOMPARE(f.forgotten, 0);
        setOnBoard("x", 1);
        f.performance.slotUploadClientPerformance("type");
        QVERIFY(f.sink.items.isEmpty());
        QVERIFY(f.webUploads().isEmpty());
    }

    void start_textThatIsNoRecord_isLoggedAndReportsNothing_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << "";
        QTest::newRow("cut off") << R"({"UploadDst":2,"type":{)";
        QTest::newRow("list") << "[1]";
        // Such a number would be another one after it was read.
        QTest::newRow("period beyond 64 bits") << R"({"type":{"period":99999999999999999999}})";
    }
    void start_textThatIsNoRecord_isLoggedAndReportsNothing() {
        QFETCH(QString, text);
        PerformanceFixture f;
        const LogCapture log;
        f.startText(text);
        QVERIFY(log.contains(QtWarningMsg, kTag + " the configuration cannot be read"));
        QVERIFY(f.periods.isEmpty());
        QVERIFY(f.sink.items.isEmpty());
    }

    void start_logsTheTimersAndTheRoads() {
        PerformanceFixture f;
        const LogCapture log;
        f.start({{"UploadDst", 3}, {"a", performType({}, 7)}, {"b", performType({}, 0)}});
        QVERIFY2(log.contains(QtDebugMsg, kTag + R"( QMap(("a", 1)) 3)"),
                 qPrintable(log.texts(QtDebugMsg).join('\n')));
    }

    void period_ofAType_isThatOfItsTimer_data() {
        QTest::addColumn<QVariant>("period");
        QTest::addColumn<int>("expectedMs");
        QTest::addColumn<bool>("isWarned");
        constexpr int kLargest = std::numeric_limits<int>::max();
        QTest::newRow("one second") << QVariant(1) << 1000 << false;
        QTest::newRow("text") << QVariant("5") << 5000 << false;
        QTest::newRow("word") << QVariant("often") << 60000 << true;
        QTest::newRow("text that is too large") << QVariant("4294967297") << 60000 << true;
        QTest::newRow("missing") << QVariant() << 60000 << true;
        QTest::newRow("milliseconds that are too many") << QVariant(3000000) << kLargest << false;
        QTest::newRow("huge") << QVariant(qint64(99999999999)) << kLargest << false;
        QTest::newRow("beyond 64 bits") << QVariant(1e30) << kLargest << false;
    }
    void period_ofAType_isThatOfItsTimer() {
        QFETCH(QVariant, period);
        QFETCH(int, expectedMs);
        QFETCH(bool, isWarned);
        PerformanceFixture f;
        setOnBoard("x", 1);
        const LogCapture log;
        f.start({{"UploadDst", kInfo}, {"type", performType({"x"}, period)}});
        QCOMPARE(f.periods, (QMap<QString, int>{{"type", expectedMs}}));
        QCOMPARE(f.forgotten, 1);
        QCOMPARE(log.contains(QtWarningMsg, "the period of type is not a number"), isWarned);
        // The first report comes with the first tick of the timer.
        QVERIFY(f.sink.items.isEmpty());
    }

    void period_belowOne_isOneReportAtTheStart_data() {
        QTest::addColumn<QVariant>("period");
        QTest::newRow("zero") << QVariant(0);
        QTest::newRow("negative") << QVariant(-1);
        QTest::newRow("huge negative") << QVariant(qint64(-99999999999));
        QTest::newRow("textual") << QVariant("0");
    }
    void period_belowOne_isOneReportAtTheStart() {
        QFETCH(QVariant, period);
        PerformanceFixture f;
        setOnBoard("x", 1);
        f.start({{"UploadDst", kInfo}, {"type", performType({"x"}, period)}});
        QCOMPARE(f.sink.values(), QStringList("x"));
        QVERIFY(f.periods.isEmpty());
    }

    void types_atTheStart_areTakenByKey_withTheTextsSoFar() {
        PerformanceFixture f;
        setOnBoard("x", "text");
        f.start({{"UploadDst", kInfo},
                 {"b", performType({"x"}, 0, {"x"})},
                 {"a", performType({"x"}, 0)},
                 {"c", performType({"x"}, 0)}});
        QCOMPARE(f.sink.items.size(), 3);
        QVERIFY(f.sink.items.at(0).contains(System::itemValueNum));
        QVERIFY(!f.sink.items.at(1).contains(System::itemValueNum));
        QVERIFY(!f.sink.items.at(2).contains(System::itemValueNum));
    }

    void secondStart_withTypes_replacesTheFirstOnes() {
        PerformanceFixture f;
        setOnBoard("x", "text");
        f.start({{"UploadDst", kInfo}, {"old", performType({"x"}, 9, {"x"})}});
        f.start({{"new", performType({"x"}, 0)}});
        QVERIFY(f.periods.isEmpty());
        QCOMPARE(f.forgotten, 2);
        // The road stays, the texts do not.
        QCOMPARE(f.sink.items.size(), 1);
        QVERIFY(f.sink.items.first().contains(System::itemValueNum));
        f.performance.slotUploadClientPerformance("old");
        QCOMPARE(f.sink.items.size(), 1);
    }

    void secondStart_withTheRoadAlone_keepsTheTypes() {
        PerformanceFixture f;
        setOnBoard("x", 1);
        f.start({{"UploadDst", kInfo}, {"type", performType({"x"}, 9)}});
        f.start({{"UploadDst", kWeb}});
        QCOMPARE(f.forgotten, 1);
        QCOMPARE(f.periods.keys(), QStringList("type"));
        f.performance.slotUploadClientPerformance("type");
        QVERIFY(f.sink.items.isEmpty());
        QCOMPARE(f.webUploads().size(), 1);
    }

    void start_hostBeginsToClose_endsBeforeTheNextType() {
        PerformanceFixture f;
        setOnBoard("x", 1);
        f.sink.onItem = [] { LocalPlatform::instance().beginClose(); };
        f.start({{"UploadDst", kInfo},
                 {"a", performType({"x"}, 0)},
                 {"b", performType({"x"}, 0)},
                 {"c", performType({"x"}, 5)}});
        QCOMPARE(f.sink.items.size(), 1);
        QVERIFY(f.periods.isEmpty());
    }

    void start_withoutPresenter_isLogged() {
        PerformanceFixture f;
        const LogCapture log;
        f.performance.startClientPerformUpload(nullptr, {});
        QVERIFY(log.contains(QtWarningMsg, "查询终端指标上报配置失败："));
    }

    void roads_areTheBitsOfTheDestination_data() {
        QTest::addColumn<QVariant>("destination");
        QTest::addColumn<int>("web");
        QTest::addColumn<int>("items");
        QTest::newRow("missing") << QVariant() << 0 << 0;
        QTest::newRow("0") << QVariant(0) << 0 << 0;
        QTest::newRow("1") << QVariant(1) << 1 << 0;
        QTest::newRow("2") << QVariant(2) << 0 << 2;
        QTest::newRow("3") << QVariant(3) << 1 << 2;
        QTest::newRow("4") << QVariant(4) << 0 << 0;
    }
    void roads_areTheBitsOfTheDestination() {
        QFETCH(QVariant, destination);
        QFETCH(int, web);
        QFETCH(int, items);
        PerformanceFixture f;
        setOnBoard("x", 1);
        setOnBoard("y", 2);
        QVariantMap config{{"type", performType({"x", "y"}, 0)}};
        if (destination.isValid()) {
            config.insert("UploadDst", destination);
        }
        f.start(config);
        QCOMPARE(f.webUploads().size(), web);
        QCOMPARE(f.sink.items.size(), items);
    }

    void webRoad_sendsTheFiguresInOneRecord() {
        PerformanceFixture f;
        setOnBoard("x", 1);
        setOnBoard("y", "text");
        f.start({{"UploadDst", kWeb}, {"type", performType({"y", "x"}, 0)}});
        const QVariantMap upload = f.webUploads().value(0);
        QCOMPARE(upload.value("destination").toString(), QString("box_input"));
        QCOMPARE(upload.value("kind").toString(), QString("null"));
        QCOMPARE(upload.value("first").toString(), QString());
        QCOMPARE(upload.value("second").toString(), QString());
        const QVariantMap values = upload.value("values").toMap();
        QCOMPARE(values.keys(), (QStringList{"x", "y"}));
        QCOMPARE(values.value("x").toInt(), 1);
        QCOMPARE(values.value("y").toString(), QString("text"));
    }

    void infoRoad_sendsAnItemForEachFigure_byKey() {
        PerformanceFixture f;
        setOnBoard("whole", 7);
        setOnBoard("broken", 2.5);
        setOnBoard("text", "fast");
        setOnBoard("unlisted", "slow");
        f.start(reportedOnce({"whole", "unlisted", "text", "broken"}, {"text"}));
        const QString type = ClinetInfoUpload::ClientPerformanceInfo;
        const QList<QVariantMap> expected{
            {{System::itemType, type},
             {System::itemValue, "broken"},
             {System::itemValueEx, 2.5},
             {System::itemValueNum, 2.5}},
            {{System::itemType, type}, {System::itemValue, "text"}, {System::itemValueEx, "fast"}},
            {{System::itemType, type},
             {System::itemValue, "unlisted"},
             {System::itemValueEx, "slow"},
             {System::itemValueNum, 0.0}},
            {{System::itemType, type},
             {System::itemValue, "whole"},
             {System::itemValueEx, 7},
             {System::itemValueNum, 7.0}}};
        QCOMPARE(f.sink.items, expected);
    }

    void infoRoad_extendedValue_keepsItsType() {
        PerformanceFixture f;
        setOnBoard("whole", 7);
        setOnBoard("broken", 2.5);
        setOnBoard("text", "fast");
        f.start(reportedOnce({"whole", "broken", "text"}));
        const auto typeOf = [&f](const QString& key) {
            return f.sink.item(key).value(System::itemValueEx).userType();
        };
        QCOMPARE(typeOf("whole"), int(QMetaType::Int));
        QCOMPARE(typeOf("broken"), int(QMetaType::Double));
        QCOMPARE(typeOf("text"), int(QMetaType::QString));
        QCOMPARE(f.sink.item("whole").value(System::itemValueNum).userType(),
                 int(QMetaType::Double));
    }

    void figure_thatNobodyWrote_isLeftOut() {
        PerformanceFixture f;
        setOnBoard("null", QVariant());
        setOnBoard("null text", QString());
        setOnBoard("empty text", "");
        f.start(reportedOnce({"never", "null", "null text", "empty text"}));
        QCOMPARE(f.sink.values(), QStringList("empty text"));
    }

    void report_withoutFigures_isNotSent() {
        PerformanceFixture f;
        f.start({{"UploadDst", kWeb + kInfo}, {"type", performType({"never"}, 0)}});
        QVERIFY(f.sink.items.isEmpty());
        QVERIFY(f.webUploads().isEmpty());
    }

    void otherType_samplesNothingAndReports() {
        PerformanceFixture f;
        setTotals({1, 2, 3, 4, 5, 6});
        setOnBoard("x", 1);
        f.start(reportedOnce({"x"}));
        QCOMPARE(f.sink.values(), QStringList("x"));
        for (const QString& key :
             {ClientPerformItem::PositionCount, ClientPerformItem::OrderCount,
              ClientPerformItem::LogFileCount, ClientPerformItem::TradeMsgCount}) {
            QVERIFY2(onBoard(key).isNull(), qPrintable(key));
        }
        QVERIFY(f.neighbour->accountsOf(ScriptedNeighbour::Call::PositionCount).isEmpty());
    }

    void cpuUsage_countsThePositionsOfAllAccounts() {
        PerformanceFixture f;
        f.neighbour->setPositions({{{"a", 1}}, {{"a", 2}}});
        f.performance.slotUploadClientPerformance(ClientPerformType::CpuUsage);
        QCOMPARE(onBoard(ClientPerformItem::PositionCount), QVariant(2));
        QCOMPARE(f.neighbour->accountsOf(ScriptedNeighbour::Call::PositionCount),
                 QStringList(QString()));
        QVERIFY(onBoard(ClientPerformItem::OrderCount).isNull());
    }

    void memUsage_countsTheOrdersAndDealsOfAllAccounts() {
        PerformanceFixture f;
        f.neighbour->setOrders({{{"a", 1}}, {{"a", 2}}, {{"a", 3}}});
        f.neighbour->setExecutions({{{"a", 1}}});
        f.performance.slotUploadClientPerformance(ClientPerformType::MemUsage);
        QCOMPARE(onBoard(ClientPerformItem::OrderCount), QVariant(3));
        QCOMPARE(onBoard(ClientPerformItem::DealCount), QVariant(1));
        for (const auto call :
             {ScriptedNeighbour::Call::OrderCount, ScriptedNeighbour::Call::ExecutionCount}) {
            QCOMPARE(f.neighbour->accountsOf(call), QStringList(QString()));
        }
        QVERIFY(onBoard(ClientPerformItem::OrderDbFileSize).isNull());
    }

    void memUsage_orderFile_countsInWholeMegabytes() {
        PerformanceFixture f;
        ZnCore::instance()->saveSetting(Constants::TORVI_ORDER_DBFILE, "orders.db");
        QVERIFY(makeFile(VelmarUtils::GetUserCfgFileDir() + "orders.db", 4 * kMegabyte - 1));
        f.performance.slotUploadClientPerformance(ClientPerformType::MemUsage);
        QCOMPARE(onBoard(ClientPerformItem::OrderDbFileSize).toLongLong(), qint64(3));
    }

    void memUsage_orderFileThatIsNoFile_hasNoSize() {
        PerformanceFixture f;
        ZnCore::instance()->saveSetting(Constants::TORVI_ORDER_DBFILE, "orders.db");
        f.performance.slotUploadClientPerformance(ClientPerformType::MemUsage);
        QVERIFY(onBoard(ClientPerformItem::OrderDbFileSize).isNull());
        QVERIFY(QDir().mkpath(VelmarUtils::GetUserCfgFileDir() + "orders.db"));
        f.performance.slotUploadClientPerformance(ClientPerformType::MemUsage);
        QVERIFY(onBoard(ClientPerformItem::OrderDbFileSize).isNull());
    }

    void diskUsage_freeSpace_goesToTheBoardAndTheMonitor() {
        PerformanceFixture f;
        f.performance.slotUploadClientPerformance(ClientPerformType::DiskUsage);
        const double free = onBoard(ClientPerformItem::RemainDisk).toDouble();
        QVERIFY(free > 0);
        const ResourceHistory& history = ResourceHistory::instance();
        QCOMPARE(history.current(MonitorSlot::remainDisk).toDouble(), free);
        const auto samples = history.samples(MonitorSlot::remainDisk);
        QCOMPARE(samples.size(), 1);
        QCOMPARE(samples.first().value, free);
        QCOMPARE(samples.first().time, f.clock.now());
    }

    void diskUsage_freeSpaceThatIsUnknown_leavesTheValueBefore() {
        PerformanceFixture f;
        setOnBoard(ClientPerformItem::RemainDisk, 50.0);
        QVERIFY(QDir(f.world.homeDir()).removeRecursively());
        f.performance.slotUploadClientPerformance(ClientPerformType::DiskUsage);
        QCOMPARE(onBoard(ClientPerformItem::RemainDisk), QVariant(50.0));
        QVERIFY(ResourceHistory::instance().samples(MonitorSlot::remainDisk).isEmpty());
        QCOMPARE(onBoard(ClientPerformItem::LogFileCount), QVariant(0));
    }

    void diskUsage_countsTheFilesInTheFoldersOfDays() {
        PerformanceFixture f;
        const QString log = f.world.homeDir() + "/log/";
        QVERIFY(makeFile(log + "2026-03-09/a.log", kMegabyte - 1));
        QVERIFY(makeFile(log + "2026-03-10/a.log", 1));
        QVERIFY(makeFile(log + "2026-03-10/b.log", 2 * kMegabyte));
        // None of these is a file in the folder of a day.
        for (const char* other : {"top.log", "2026-3-10/a.log", "2026-02-30/a.log",
                                  "20260310/a.log", "old/a.log", "2026-03-10/more/a.log"}) {
            QVERIFY(makeFile(log + other, 8 * kMegabyte));
        }
        f.performance.slotUploadClientPerformance(ClientPerformType::DiskUsage);
        QCOMPARE(onBoard(ClientPerformItem::LogFileCount), QVariant(3));
        QCOMPARE(onBoard(ClientPerformItem::LogFileSize).toDouble(), 3 * 0.0009765625);
    }

    void diskUsage_withoutALogFolder_countsNothing() {
        PerformanceFixture f;
        f.performance.slotUploadClientPerformance(ClientPerformType::DiskUsage);
        QCOMPARE(onBoard(ClientPerformItem::LogFileCount), QVariant(0));
        QCOMPARE(onBoard(ClientPerformItem::LogFileSize).toDouble(), 0.0);
    }

    void diskUsage_linkInACircle_isNoFile() {
        PerformanceFixture f;
        const QString log = f.world.homeDir() + "/log/";
        QVERIFY(makeFile(log + "2026-03-10/a.log", 1));
        QVERIFY(QFile::link(log + "2026-03-10/loop.log", log + "2026-03-10/loop.log"));
        QVERIFY(QFile::link(log + "2026-03-11", log + "2026-03-11"));
        f.performance.slotUploadClientPerformance(ClientPerformType::DiskUsage);
        QCOMPARE(onBoard(ClientPerformItem::LogFileCount), QVariant(1));
    }

    void netStat_firstReport_carriesTheTotals() {
        PerformanceFixture f;
        const QVariantList totals{1, qint64(5000000000), 3, qint64(4), 5, qint64(6)};
        setTotals(totals);
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(differences(), totals);
    }

    void netStat_unchangedTotals_are0() {
        PerformanceFixture f;
        setTotals({1, 2, 3, 4, 5, 6});
        f.start({{"UploadDst", kInfo},
                 {ClientPerformType::NetStat, performType(differenceKeys(), 30)}});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(f.sink.items.size(), 6);
        f.sink.items.clear();
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(f.sink.items.size(), 6);
        for (const QVariantMap& item : qAsConst(f.sink.items)) {
            QCOMPARE(item.value(System::itemValueNum).toDouble(), 0.0);
            QCOMPARE(item.value(System::itemValueEx).toInt(), 0);
        }
    }

    void netStat_laterReport_carriesWhatCameSince() {
        PerformanceFixture f;
        setTotals({10, 100, 20, 200, 30, 300});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        setTotals({11, 102, 23, 204, 35, 306});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(differences(), (QVariantList{1, qint64(2), 3, qint64(4), 5, qint64(6)}));
    }

    void netStat_totalsThatAreNoNumbers_are0() {
        PerformanceFixture f;
        setTotals({QVariant(), "many", QVariantList{1}, QVariantMap{{"a", 1}}, "", QString()});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(differences(), (QVariantList{0, qint64(0), 0, qint64(0), 0, qint64(0)}));
    }

    void netStat_totalsOfTheHost_countItsMessagesSinceTheStart() {
        PerformanceFixture f;  // has logged in
        const auto total = [] { return onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(); };
        const int before = total();
        QVERIFY(before > 0);
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        const int reported = onBoard(ClientPerformItem::TradeMsgCount).toInt();
        QVERIFY(reported >= before);
        QVERIFY(reported <= total());
    }

    void netStat_counterThatWraps_hasASmallDifference() {
        PerformanceFixture f;
        setTotals(
            {std::numeric_limits<int>::max(), 0, 0, std::numeric_limits<qint64>::max(), 0, 0});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        setTotals(
            {std::numeric_limits<int>::min(), 0, 0, std::numeric_limits<qint64>::min(), 0, 0});
        f.performance.slotUploadClientPerformance(ClientPerformType::NetStat);
        QCOMPARE(onBoard(ClientPerformItem::TradeMsgCount), QVariant(1));
        QCOMPARE(onBoard(ClientPerformItem::InfoMsgSize), QVariant(qint64(1)));
    }
};

QTEST_GUILESS_MAIN(ClientPerformanceTest)
#include "client_performance_test.moc"
