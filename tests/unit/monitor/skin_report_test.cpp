#include <QtTest>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "skin_report.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kInitState = QStringLiteral("skinInitState");

class RecordingSink final : public ClientInfoSink {
public:
    void collectClientInfo(const QVariantMap& item) override { items.append(item); }

    QList<QVariantMap> items;
};

}  // namespace

class SkinReportTest : public QObject {
    Q_OBJECT

private slots:
    void report_freshInstallation_comesOnce() {
        const ClientWorld world;
        RecordingSink sink;
        QVERIFY(!ZnCore::instance()->settings(kInitState).isValid());
        uploadSkinChangeInfo(sink);
        QCOMPARE(sink.items.size(), 1);
        QVariantMap item = sink.items.first();
        QVERIFY(
            QTime::fromString(item.take(System::timeStamp).toString(), "hh:mm:ss.zzz").isValid());
        const QVariantMap expected{{System::itemType, ClinetInfoUpload::SystemButtomClicked},
                                   {System::itemValue, "ZNApp.Frame.MainFrame"},
                                   {System::itemValueEx, SystemButtonName::skinBtn},
                                   {System::operType, 0},
                                   {Strategy::logTriggerTime, 0}};
        QCOMPARE(item, expected);
        QVERIFY(ZnCore::instance()->settings(kInitState).isValid());
        QVERIFY(!ZnCore::instance()->settings(kInitState).toBool());
        uploadSkinChangeInfo(sink);
        QCOMPARE(sink.items.size(), 1);
    }

    void report_nextStartOfTheInstallation_doesNotCome() {
        const TempHome home;
        RecordingSink sink;
        QString error;
        for (int start = 0; start < 2; ++start) {
            QVERIFY2(LocalPlatform::instance().start(home.options(), &error), qPrintable(error));
            uploadSkinChangeInfo(sink);
            LocalPlatform::instance().close();
        }
        QCOMPARE(sink.items.size(), 1);
    }

    void report_settingSaved_decides_data() {
        QTest::addColumn<QVariant>("saved");
        QTest::addColumn<int>("reports");
        QTest::newRow("true") << QVariant(true) << 1;
        QTest::newRow("false") << QVariant(false) << 0;
        QTest::newRow("text true") << QVariant("true") << 1;
        QTest::newRow("text false") << QVariant("false") << 0;
    }
    void report_settingSaved_decides() {
        QFETCH(QVariant, saved);
        QFETCH(int, reports);
        const ClientWorld world;
        ZnCore::instance()->saveSetting(kInitState, saved);
        RecordingSink sink;
        uploadSkinChangeInfo(sink);
        QCOMPARE(sink.items.size(), reports);
        QVERIFY(!ZnCore::instance()->settings(kInitState).toBool());
    }

    void report_skin_countsAsWhiteInAnyCase_data() {
        QTest::addColumn<QString>("skin");
        QTest::addColumn<int>("operType");
        QTest::newRow("white") << "white" << 1;
        QTest::newRow("White") << "White" << 1;
        QTest::newRow("WHITE") << "WHITE" << 1;
        QTest::newRow("black") << "black" << 0;
        QTest::newRow("longer") << "white2" << 0;
    }
    void report_skin_countsAsWhiteInAnyCase() {
        QFETCH(QString, skin);
        QFETCH(int, operType);
        const ClientWorld world;
        QVERIFY(LocalPlatform::instance().setSkin(skin));
        RecordingSink sink;
        uploadSkinChangeInfo(sink);
        QCOMPARE(sink.items.size(), 1);
        QCOMPARE(sink.items.first().value(System::operType), QVariant(operType));
    }

    void report_call_isLoggedAtDebugLevelWhetherDueOrNot() {
        const ClientWorld world;
        LocalPlatform::instance().setSkin("black");
        const LogCapture log;
        RecordingSink sink;
        uploadSkinChangeInfo(sink);
        uploadSkinChangeInfo(sink);
        const QStringList lines =
            log.texts(QtDebugMsg).filter("ZnBusinessDataManager::uploadSkinChangeInfo");
        QCOMPARE(lines.size(), 2);
        for (const QString& line : lines) {
            QVERIFY2(line.contains("black"), qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(SkinReportTest)
#include "skin_report_test.moc"
