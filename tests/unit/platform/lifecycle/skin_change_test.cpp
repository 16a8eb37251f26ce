#include <QtTest>
#include <atomic>
#include <thread>

#include "platform_fixture.h"
#include "zncore/zn_core.h"

class SkinChangeTest : public QObject {
    Q_OBJECT

private slots:
    void newSkin_isSaved_andReportedOnTheApplicationsThread() {
        const PlatformFixture platform;
        QStringList reported;
        std::atomic<bool> isOnMain{true};
        QObject context;
        connect(
            ZnCore::instance(), &ZnCore::signalSkinChanged, &context,
            [&](const QString& skin) {
                isOnMain = isOnMain && QThread::currentThread() == qApp->thread();
                reported.append(skin);
            },
            Qt::DirectConnection);
        LocalPlatform::instance().setSkin("dark");
        QCOMPARE(reported, QStringList("dark"));
        QCOMPARE(ZnCore::instance()->getCurrentSkinId(), QString("dark"));
        std::thread([] { LocalPlatform::instance().setSkin("white"); }).join();
        QCOMPARE(ZnCore::instance()->getCurrentSkinId(), QString("white"));
        QTRY_COMPARE(reported, (QStringList{"dark", "white"}));
        QVERIFY(isOnMain);
    }
};

QTEST_GUILESS_MAIN(SkinChangeTest)
#include "skin_change_test.moc"
