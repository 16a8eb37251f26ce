#include "application_folder.h"

#include <QCoreApplication>
#include <QtTest>

#include "platform_fixture.h"

/// The platform's side and the plug-in's side of the folder.
class ApplicationFolderTest : public QObject {
    Q_OBJECT

private slots:
    void withoutAPlatform_itIsTheProgramsFolder() {
        QCOMPARE(applicationFolder(), QCoreApplication::applicationDirPath());
    }

    void startedPlatform_makesItTheHome_anewWithEachStart() {
        const TempHome first;
        const TempHome second;
        QString error;
        QVERIFY(LocalPlatform::instance().start(first.options(), &error));
        QCOMPARE(applicationFolder(), first.path());
        // What runs while the platform closes still finds its files.
        LocalPlatform::instance().close();
        QCOMPARE(applicationFolder(), first.path());
        auto options = second.options();
        options.homeDir += "/";
        QVERIFY(LocalPlatform::instance().start(options, &error));
        QCOMPARE(applicationFolder(), second.path());
        LocalPlatform::instance().close();
    }

    void testFixture_hasAFolderOfItsOwn() {
        QString former;
        {
            PlatformFixture platform;
            former = applicationFolder();
            QCOMPARE(former, LocalPlatform::instance().homeDir());
        }
        PlatformFixture platform;
        QVERIFY(applicationFolder() != former);
    }
};

QTEST_GUILESS_MAIN(ApplicationFolderTest)
#include "application_folder_test.moc"
