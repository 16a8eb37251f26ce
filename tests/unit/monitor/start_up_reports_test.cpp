#include "start_up_reports.h"

#include <QtTest>

#include "data_stores.h"
#include "log_capture.h"
#include "performance_fixture.h"
#include "vocabulary/constants.h"
#include "vocabulary/names.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"
#include "zndatabase/c_data_base.h"

namespace {

inline const QString kHide = Constants::PLUGIN_VIEWCUSTOMHIDESTYLE;
inline const QString kHideNow = Constants::PLUGIN_VIEWCURRENTCUSTOMHIDESTYLE;

QVariantMap itemOf(const QString& type, const QVariant& value, const QVariant& valueEx) {
    return {{System::itemType, type}, {System::itemValue, value}, {System::itemValueEx, valueEx}};
}

QVariantMap columnItem(const QString& text) {
    return itemOf(ClinetInfoUpload::BusinessMessage, "PlatformTableColumnVisible", text);
}

void noteErrors(const QMap<QString, int>& errors) {
    for (auto error = errors.cbegin(); error != errors.cend(); ++error) {
        DataStores::staticDatabase().noteError(error.key(), *error);
    }
}

bool writeSmallScreenFile(const QByteArray& content) {
    QFile file(VelmarUtils::GetDefaultUserCfgFileDir() + "ignoreSmallScreen.ini");
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

}  // namespace

class StartUpReportsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_sink = RecordedItems(); }

    void threads_areAnItemAndOnTheBoard() {
        const ClientWorld world;
        reportThreadNum(m_sink);
        QCOMPARE(m_sink.items.size(), 1);
        const QVariant threads = m_sink.items.first().value(System::itemValueEx);
        QVERIFY(threads.toInt() >= 1);
        QCOMPARE(m_sink.items.first(),
                 itemOf(ClinetInfoUpload::ClientThreadNum, "ThreadNum", threads));
        QCOMPARE(onBoard(ClientPerformItem::ThreadNum), threads);
    }

    void staticErrors_none_areLoggedAndNotReported() {
        const ClientWorld world;
        const LogCapture log;
        sendStaticDbErrorInfo(m_sink);
        QCOMPARE(log.count(QtDebugMsg, "没有新增的产品数据库错误"), 1);
        QVERIFY(m_sink.items.isEmpty());
    }

    void staticErrors_areTheTextOfARecord() {
        const ClientWorld world;
        noteErrors({{"b", 2}, {"a", 1}});
        sendStaticDbErrorInfo(m_sink);
        const QList<QVariantMap> expected{itemOf(ClinetInfoUpload::ClientErrorInfo,
                                                 ClientErrorType::StaticInfoDbError,
                                                 R"({"a":"1","b":"2"})")};
        QCOMPARE(m_sink.items, expected);
    }

    void staticErrors_commaAndQuoteInAText_arriveAsAWordAndNotAtAll() {
        const ClientWorld world;
        noteErrors({{R"(row "x", "y", 错)", 1}});
        sendStaticDbErrorInfo(m_sink);
        QCOMPARE(m_sink.items.value(0).value(System::itemValueEx).toString(),
                 QString(R"({"row xcomma ycomma 错":"1"})"));
    }

    void staticErrors_areReportedOnce() {
        const ClientWorld world;
        noteErrors({{"a", 1}});
        sendStaticDbErrorInfo(m_sink);
        sendStaticDbErrorInfo(m_sink);
        QCOMPARE(m_sink.items.size(), 1);
        noteErrors({{"a", 1}});
        sendStaticDbErrorInfo(m_sink);
        QCOMPARE(m_sink.items.size(), 2);
        QCOMPARE(m_sink.items.at(0), m_sink.items.at(1));
    }

    void staticErrors_ofRowsThatCannotBeUsed_haveTheirNumber() {
        const ClientWorld world({}, StaticDbBuilder()
                                        .referenceText("bond", "one", "{")
                                        .referenceText("bond", "two", "[1]"));
        QVERIFY(ZnBondDataMgr::instance().load());
        sendStaticDbErrorInfo(m_sink);
        QCOMPARE(m_sink.items.value(0).value(System::itemValueEx).toString(),
                 QString(R"({"a reference row of kind bond cannot be used":"2"})"));
    }

    void staticErrors_thatHaveNoTextForm_areLogged() {
        const ClientWorld world;
        noteErrors({{QString(QChar(0xD800)), 1}});
        const LogCapture log;
        sendStaticDbErrorInfo(m_sink);
        QVERIFY(log.contains(QtWarningMsg, "the errors of the static database are not reported"));
        QVERIFY(m_sink.items.isEmpty());
    }

    void load_ofAStaticDatabase_isReportedWithItsRecords() {
        const ClientWorld world({}, StaticDbBuilder()
                                        .section("Dict", {{"a", "1"}, {"b", "2"}})
                                        .reference("bond", "one", {{"a", 1}})
                                        .referenceText("bond", "two", "{"));
        QVERIFY(ZnBondDataMgr::instance().load());
        reportLocalStaticDb(m_sink);
        QVariantMap expected = itemOf(ClinetInfoUpload::ClientErrorInfo,
                                      ClientErrorType::StaticInfoDbError, "load success");
        expected.insert(System::operType, 3);
        QCOMPARE(m_sink.items, QList<QVariantMap>{expected});
    }

    void load_withoutRecords_isNotReported() {
        {
            const ClientWorld world;
            reportLocalStaticDb(m_sink);
        }
        const ClientWorld world({}, StaticDbBuilder());
        reportLocalStaticDb(m_sink);
        QVERIFY(m_sink.items.isEmpty());
    }

    void smallScreen_isReportedWhenTheUserChoseIt_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isReported");
        QTest::newRow("true") << QByteArray("[General]\nIgnoreSmallScreen=true\n") << true;
        QTest::newRow("1") << QByteArray("IgnoreSmallScreen=1\n") << true;
        QTest::newRow("false") << QByteArray("[General]\nIgnoreSmallScreen=false\n") << false;
        QTest::newRow("0") << QByteArray("IgnoreSmallScreen=0\n") << false;
        QTest::newRow("another key") << QByteArray("IgnoreLargeScreen=true\n") << false;
        QTest::newRow("another group") << QByteArray("[a]\nIgnoreSmallScreen=true\n") << false;
        QTest::newRow("no value") << QByteArray("IgnoreSmallScreen\n") << false;
        QTest::newRow("broken line, then true")
            << QByteArray("[[[\x01\xff\n=\nIgnoreLarge\n[General]\nIgnoreSmallScreen=true\n")
            << true;
        QTest::newRow("no text") << QByteArray("\x00\xff\xfe\x80", 4) << false;
        QTest::newRow("empty") << QByteArray() << false;
    }
    void smallScreen_isReportedWhenTheUserChoseIt() {
        QFETCH(QByteArray, content);
        QFETCH(bool, isReported);
        const ClientWorld world;
        QVERIFY(writeSmallScreenFile(content));
        reportSmallScreen(m_sink);
        QCOMPARE(m_sink.items.size(), isReported ? 1 : 0);
    }

    void smallScreen_item_hasTheBool() {
        const ClientWorld world;
        QVERIFY(writeSmallScreenFile("IgnoreSmallScreen=true\n"));
        reportSmallScreen(m_sink);
        const QVariantMap expected =
            itemOf(ClinetInfoUpload::BusinessMessage, "IgnoreSmallScreen", true);
        QCOMPARE(m_sink.items, QList<QVariantMap>{expected});
    }

    void smallScreen_withoutAFile_isNotReported() {
        const ClientWorld world;
        reportSmallScreen(m_sink);
        const QString file = VelmarUtils::GetDefaultUserCfgFileDir() + "ignoreSmallScreen.ini";
        QVERIFY(!QFile::exists(file));
        QVERIFY(QDir().mkpath(file));
        reportSmallScreen(m_sink);
        QVERIFY(QDir().rmdir(file));
        QVERIFY(QFile::link(file, file));
        reportSmallScreen(m_sink);
        QVERIFY(m_sink.items.isEmpty());
    }

    void columns_ofBothKinds_areReportedByKey() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(kHide + "/orders", "1|2");
        ZnCore::instance()->saveSetting(kHideNow + "/deals", 7);
        ZnCore::instance()->saveSetting("PLUGIN_VIEW/other", "1");
        ZnCore::instance()->saveSetting("Group/" + kHide, "1");
        reportColumns(m_sink);
        const QList<QVariantMap> expected{columnItem(kHideNow + "/deals/7"),
                                          columnItem(kHide + "/orders/1|2")};
        QCOMPARE(m_sink.items, expected);
    }

    void columns_keyOfOnePart_isNotReported() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(kHide, "1");
        reportColumns(m_sink);
        QVERIFY(m_sink.items.isEmpty());
    }

    void columns_longerName_countsAsOneOfTheKind() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(kHide + "2/orders", "1");
        reportColumns(m_sink);
        QCOMPARE(m_sink.items, QList<QVariantMap>{columnItem(kHide + "2/orders/1")});
    }

    void columns_keyOfThreeParts_hasTheValueOfTheFirstAndTheLast() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(kHide + "/left/orders", "whole");
        reportColumns(m_sink);
        QCOMPARE(m_sink.items, QList<QVariantMap>{columnItem(kHide + "/left/orders/")});
        m_sink.items.clear();
        ZnCore::instance()->saveSetting(kHide + "/orders", "short");
        reportColumns(m_sink);
        const QList<QVariantMap> expected{columnItem(kHide + "/left/orders/short"),
                                          columnItem(kHide + "/orders/short")};
        QCOMPARE(m_sink.items, expected);
    }

    void columns_ofTheSystemSettings_areReportedUnlessTheUserSavedOthers() {
        const ClientWorld world(
            {}, StaticDbBuilder()
                    .reference("setting", kHide + "/deals", {{System::itemValue, "system"}})
                    .reference("setting", kHide + "/orders", {{System::itemValue, "system"}}));
        QVERIFY(ZnSystemSettingDataMgr::instance().init());
        ZnCore::instance()->saveSetting(kHide + "/orders", "user");
        reportColumns(m_sink);
        const QList<QVariantMap> expected{columnItem(kHide + "/deals/system"),
                                          columnItem(kHide + "/orders/user")};
        QCOMPARE(m_sink.items, expected);
    }

    void login_isReportedWithTheChoiceAndTheBoard_data() {
        QTest::addColumn<QVariant>("choice");
        QTest::addColumn<QVariant>("board");
        QTest::addColumn<int>("number");
        QTest::addColumn<int>("operType");
        QTest::newRow("never chosen") << QVariant() << QVariant() << 0 << 0;
        QTest::newRow("automatic") << QVariant(true) << QVariant(2) << 1 << 2;
        QTest::newRow("automatic, a text") << QVariant("true") << QVariant("3") << 1 << 3;
        QTest::newRow("by password") << QVariant(false) << QVariant(1) << 0 << 1;
        QTest::newRow("board without a number") << QVariant(true) << QVariant("x") << 1 << 0;
    }
    void login_isReportedWithTheChoiceAndTheBoard() {
        QFETCH(QVariant, choice);
        QFETCH(QVariant, board);
        QFETCH(int, number);
        QFETCH(int, operType);
        const ClientWorld world;
        if (choice.isValid()) {
            ZnCore::instance()->saveSetting(AutoLoginSetting::AutoLogin, choice,
                                            "AutoLoginSetting");
        }
        setOnBoard(AutoLoginSetting::AutoLogin, board);
        reportLogin(m_sink);
        const QList<QVariantMap> expected{{{System::itemType, ClinetInfoUpload::UserOperRecord},
                                           {System::itemValue, AutoLoginSetting::AutoLogin},
                                           {System::itemValueNum, number},
                                           {System::operType, operType}}};
        QCOMPARE(m_sink.items, expected);
    }

private:
    RecordedItems m_sink;
};

QTEST_GUILESS_MAIN(StartUpReportsTest)
#include "start_up_reports_test.moc"
