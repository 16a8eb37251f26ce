#include <QTemporaryDir>
#include <QtTest>

#include "local_platform.h"
#include "log_capture.h"
#include "small_client.h"
#include "test_paths.h"
#include "zncore/zn_core.h"

class ClientStopTest : public QObject {
    Q_OBJECT

private slots:
    void stop_pluginWaitsForAccountsThatNeverLoad_returnsAndKeepsItsSettings() {
        const QTemporaryDir home;
        Client::Options options = smallClient(home);
        options.pluginFiles =
            QStringList(QStringLiteral(VELMAR_BINARY_DIR "/plugins/fixtures/libWaitingPlugin.so"));
        Fault refusal;
        refusal.msgType = "120006";
        refusal.kind = FaultKind::Refusal;
        options.faults->add(refusal);
        const LogCapture log;
        Client client(options, Client::Listener());
        QString error;
        QVERIFY2(client.begin(&error), qPrintable(error));
        QVERIFY2(client.makePluginObject("Waiting", &error), qPrintable(error));
        // Only the fixture's presenter asks for accounts before they are loaded.
        QVERIFY(log.waitFor("GetFundAccountList wait for FundAccountInit"));
        client.stop();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QVERIFY(LocalPlatform::instance().isClosing());
        // The setting that the plug-in object wrote during its shut-down is in the file.
        LocalPlatform::Options again;
        again.homeDir = home.path();
        QVERIFY2(LocalPlatform::instance().start(again, &error), qPrintable(error));
        QCOMPARE(ZnCore::instance()->settings("waitingFixture"), QVariant("saved at the end"));
        LocalPlatform::instance().close();
    }
};

QTEST_GUILESS_MAIN(ClientStopTest)
#include "client_stop_test.moc"
