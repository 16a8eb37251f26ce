#include <QtTest>
#include <thread>

#include "child_process.h"
#include "fake_clock.h"
#include "log_capture.h"

/// Checks what the other tests rely on in the test kit.
class TestkitTest : public QObject {
    Q_OBJECT

private slots:
    void capture_recordsLevelCategoryAndText() {
        const LogCapture log;
        const QLoggingCategory category("velmar.kit");
        qCInfo(category) << "one" << 1;
        qWarning("two");
        QCOMPARE(log.lines().size(), size_t(2));
        QCOMPARE(log.lines().at(0).type, QtInfoMsg);
        QCOMPARE(log.lines().at(0).category, QString("velmar.kit"));
        QCOMPARE(log.count(QtInfoMsg, "one 1"), 1);
        QCOMPARE(log.count(QtWarningMsg, "one 1"), 0);
        QCOMPARE(log.count(QtInfoMsg, "one"), 0);
        QVERIFY(log.contains("tw"));
        QVERIFY(!log.contains("three"));
        QVERIFY(!log.contains(QtInfoMsg, "tw"));
        QCOMPARE(log.texts(), QStringList({"one 1", "two"}));
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"two"});
    }

    void captures_nest() {
        LogCapture outer;
        qInfo("a");
        {
            const LogCapture inner;
            qInfo("b");
            QCOMPARE(inner.texts(), QStringList{"b"});
        }
        qInfo("c");
        QCOMPARE(outer.texts(), QStringList({"a", "b", "c"}));
        outer.clear();
        QVERIFY(outer.texts().isEmpty());
    }

    void lastCapture_givesTheHandlerBack() {
        static QStringList seen;
        const QtMessageHandler own = [](QtMsgType, const QMessageLogContext&, const QString& text) {
            seen.append(text);
        };
        const QtMessageHandler before = qInstallMessageHandler(own);
        {
            const LogCapture log;
            qInfo("captured");
        }
        qInfo("after");
        qInstallMessageHandler(before);
        QCOMPARE(seen, QStringList{"after"});
    }

    void wait_endsWithTheLineOrTheLimit() {
        const LogCapture log;
        std::thread other([]() { qInfo("here it is"); });
        const bool came = log.waitFor("it is");
        other.join();
        QVERIFY(came);
        QVERIFY(!log.waitFor("never", 1));
    }

    void fakeClock_standsUntilMoved() {
        std::function<QDateTime()> function;
        const QDateTime start(QDate(2024, 1, 1), QTime(0, 0));
        {
            FakeClock clock(start);
            function = clock.function();
            QCOMPARE(function(), start);
            clock.advance(1500);
        }
        QCOMPARE(function(), start.addMSecs(1500));
    }

    void child_result_saysHowItEnded() {
        const QString self = QCoreApplication::applicationFilePath();
        const ChildResult good = runChild(self, {"--exit", "0"}, {{"VELMAR_KIT_TEXT", "hello"}});
        QVERIFY(good.succeeded());
        QCOMPARE(good.output, QString("hello\n"));
        const ChildResult bad = runChild(self, {"--exit", "3"});
        QVERIFY(bad.started && !bad.succeeded());
        QCOMPARE(bad.exitCode, 3);
        const ChildResult slow = runChild(self, {"--hang"}, {}, 200);
        QVERIFY(slow.timedOut && !slow.succeeded());
        const ChildResult none = runChild(self + ".none");
        QVERIFY(!none.started && !none.succeeded());
        QVERIFY(!none.output.isEmpty());
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QStringLiteral("--exit")) {
        QTextStream(stdout) << qEnvironmentVariable("VELMAR_KIT_TEXT") << '\n';
        return arguments.value(2).toInt();
    }
    if (arguments.value(1) == QStringLiteral("--hang")) {
        return QCoreApplication::exec();
    }
    TestkitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "testkit_test.moc"
