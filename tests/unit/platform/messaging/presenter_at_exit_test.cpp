#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>
#include <QtTest>

#include "child_process.h"
#include "living_presenter.h"
#include "local_platform.h"

// Each way to end a process runs in a child process: this program with the name of the way.

namespace {

inline const QString kChildMark = QStringLiteral("--child");

void say(const QString& line) {
    QTextStream(stdout) << line << '\n' << Qt::flush;
}

void sayIfDestroyed(const std::shared_ptr<Trace>& trace, const char* when) {
    say(QStringLiteral("destroyed %1: %2").arg(QLatin1String(when)).arg(trace->destroyed.load()));
}

LivingPresenter* startedPresenter() {
    auto* const presenter = new LivingPresenter;
    presenter->initPresenter();
    return presenter;
}

void quitApplication(QCoreApplication& app) {
    QTimer::singleShot(0, &app, &QCoreApplication::quit);
    app.exec();
}

/// The application quits while the presenter runs `work` in its slot and in its event function.
int quitDuring(QCoreApplication& app, const std::function<void(LivingPresenter*)>& work) {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    std::atomic<int> busy{0};
    presenter->onSlot = presenter->onEvent = [&, presenter] {
        ++busy;
        work(presenter);
    };
    QObject sender;
    QObject::connect(&sender, &QObject::objectNameChanged, presenter, &LivingPresenter::slotWork);
    presenter->initPresenter();
    sender.setObjectName("emits");
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    if (!waitFor([&] { return busy == 2; })) {
        return 1;
    }
    quitApplication(app);
    sayIfDestroyed(trace, "after exec");
    return 0;
}

int childAtQuit(QCoreApplication& app) {
    const std::shared_ptr<Trace> trace = startedPresenter()->trace;
    quitApplication(app);
    sayIfDestroyed(trace, "after exec");
    return 0;
}

int childUnstartedAtQuit(QCoreApplication& app) {
    const std::shared_ptr<Trace> trace = (new LivingPresenter)->trace;
    quitApplication(app);
    sayIfDestroyed(trace, "after exec");
    return 0;
}

int childWaitsAtQuit(QCoreApplication& app) {
    return quitDuring(app, [](LivingPresenter* presenter) { presenter->waitForTheEnd(); });
}

int childRequestAtQuit(QCoreApplication& app) {
    auto link = std::make_unique<ScriptedLink>();
    link->on(kLivingType, ScriptedReply::never());
    LocalPlatform::instance().setLink(std::move(link), nullptr);
    return quitDuring(app, [](LivingPresenter* presenter) { presenter->sendAndKeepTheResult(); });
}

/// Disposes of a presenter while static objects are destroyed, like a plug-in's static object.
struct StaticHolder {
    std::shared_ptr<Trace> trace;

    ~StaticHolder() {
        if (!trace) {
            return;
        }
        sayIfDestroyed(trace, "before static objects");
        auto* const late = new LivingPresenter;
        QVariant response;
        say(QStringLiteral("late send: %1")
                .arg(late->sendRequest_Sync(makeMessage(late, kLivingType), response)));
        const std::shared_ptr<Trace> lateTrace = late->trace;
        late->initPresenter();
        late->deleteLater();
        sayIfDestroyed(lateTrace, "late");
    }
};

StaticHolder& staticHolder() {
    static StaticHolder holder;
    return holder;
}

/// No event loop runs and the platform is not started.
int childWithoutQuit(QCoreApplication&) {
    staticHolder().trace = startedPresenter()->trace;
    return 0;
}

using Child = int (*)(QCoreApplication&);

const QMap<QString, Child>& children() {
    static const QMap<QString, Child> children{{"quit", childAtQuit},
                                               {"unstarted", childUnstartedAtQuit},
                                               {"waits", childWaitsAtQuit},
                                               {"request", childRequestAtQuit},
                                               {"noquit", childWithoutQuit}};
    return children;
}

/// One application object after the other in one process.
int childTwoApplications(int argc, char** argv) {
    for (int i = 0; i < 2; ++i) {
        std::shared_ptr<Trace> trace;
        {
            QCoreApplication app(argc, argv);
            TempHome home;
            LocalPlatform::instance().start(home.options(), nullptr);
            trace = startedPresenter()->trace;
        }
        sayIfDestroyed(trace, "after the application");
    }
    return 0;
}

}  // namespace

class PresenterAtExitTest : public QObject {
    Q_OBJECT

private slots:
    void exit_anyWay_disposesOfPresentersInTime_data();
    void exit_anyWay_disposesOfPresentersInTime();
};

void PresenterAtExitTest::exit_anyWay_disposesOfPresentersInTime_data() {
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("quit") << QStringList{"destroyed after exec: 1"};
    QTest::newRow("unstarted") << QStringList{"destroyed after exec: 1"};
    QTest::newRow("waits") << QStringList{"destroyed after exec: 1"};
    QTest::newRow("request") << QStringList{"destroyed after exec: 1"};
    QTest::newRow("noquit") << QStringList{"destroyed before static objects: 1", "late send: 2",
                                           "destroyed late: 1"};
    QTest::newRow("two applications")
        << QStringList{"destroyed after the application: 1", "destroyed after the application: 1"};
}

void PresenterAtExitTest::exit_anyWay_disposesOfPresentersInTime() {
    QFETCH(QStringList, lines);
    const ChildResult child = runChild(QCoreApplication::applicationFilePath(),
                                       {kChildMark, QString::fromLatin1(QTest::currentDataTag())});
    QVERIFY2(child.succeeded(), qPrintable(child.output));
    QStringList said;
    for (const QString& line : child.output.split('\n')) {
        if (line.startsWith("destroyed") || line.startsWith("late send")) {
            said.append(line);
        }
    }
    QVERIFY2(said == lines, qPrintable(child.output));
}

int main(int argc, char** argv) {
    if (argc == 3 && argv[1] == kChildMark) {
        const QString way = QString::fromLatin1(argv[2]);
        if (way == "two applications") {
            return childTwoApplications(argc, argv);
        }
        QCoreApplication app(argc, argv);
        const Child child = children().value(way);
        return child ? child(app) : 1;
    }
    QCoreApplication app(argc, argv);
    PresenterAtExitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "presenter_at_exit_test.moc"
