#include <QtTest>
#include <thread>

#include "velmarutils/velmar_utils.h"
#include "wait_for.h"

/// An application with the property in which one with windows keeps its skin.
class SkinnedApplication : public QCoreApplication {
    Q_OBJECT
    Q_PROPERTY(QString styleSheet READ styleSheet WRITE setStyleSheet)

public:
    using QCoreApplication::QCoreApplication;

    QString styleSheet() const { return m_styleSheet; }
    void setStyleSheet(const QString& styleSheet) {
        m_styleSheet = styleSheet;
        m_lastThread = QThread::currentThread();
        ++m_applied;
    }
    int applied() const { return m_applied; }
    QThread* lastThread() const { return m_lastThread; }

private:
    QString m_styleSheet = QStringLiteral("dark");
    QThread* m_lastThread = nullptr;
    int m_applied = 0;
};

class SkinTest : public QObject {
    Q_OBJECT

private slots:
    void reset_appliesTheSameSkinAnew() {
        SkinnedApplication& application = skinned();
        const int before = application.applied();
        VelmarUtils::ResetSkin();
        QVERIFY(waitFor([&]() { return application.applied() == before + 1; }));
        QCOMPARE(application.styleSheet(), QString("dark"));
    }

    void resetFromAnotherThread_isAppliedOnTheApplications() {
        SkinnedApplication& application = skinned();
        const int before = application.applied();
        std::thread([]() { VelmarUtils::ResetSkin(); }).join();
        QVERIFY(waitFor([&]() { return application.applied() == before + 1; }));
        QCOMPARE(application.lastThread(), application.thread());
    }

private:
    static SkinnedApplication& skinned() {
        return *static_cast<SkinnedApplication*>(QCoreApplication::instance());
    }
};

int main(int argc, char** argv) {
    // Without an application, or without a skin, the call does nothing.
    VelmarUtils::ResetSkin();
    {
        QCoreApplication plain(argc, argv);
        VelmarUtils::ResetSkin();
        QCoreApplication::processEvents();
    }
    SkinnedApplication application(argc, argv);
    SkinTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "skin_test.moc"
