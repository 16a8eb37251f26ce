#include "process_per_case.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

namespace {

constexpr int kCaseLimitMs = 60000;

/// The private slots without arguments, except the fixtures of the test framework.
QStringList caseNames(const QMetaObject* suite) {
    const QStringList fixtures{"initTestCase", "cleanupTestCase", "init", "cleanup"};
    QStringList names;
    for (int i = QObject::staticMetaObject.methodCount(); i < suite->methodCount(); ++i) {
        const QMetaMethod method = suite->method(i);
        const QString name = QString::fromLatin1(method.name());
        if (method.methodType() == QMetaMethod::Slot && method.access() == QMetaMethod::Private &&
            method.parameterCount() == 0 && !name.endsWith("_data") && !fixtures.contains(name)) {
            names.append(name);
        }
    }
    return names;
}

bool runCase(const QString& program, const QString& name, QTextStream& out) {
    // A case that leaves its world to the end of the process leaves the world's files, too.
    const QTemporaryDir files;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), files.path());
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(program, {name});
    const bool ended = child.waitForStarted() && child.waitForFinished(kCaseLimitMs);
    if (!ended) {
        child.kill();
        child.waitForFinished();
    }
    const bool passed =
        ended && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    out << (passed ? "PASS   : " : "FAIL!  : ") << name;
    if (!passed) {
        out << (ended ? QStringLiteral(" (exit code %1)").arg(child.exitCode())
                      : QStringLiteral(" (still running after %1 s)").arg(kCaseLimitMs / 1000))
            << '\n'
            << child.readAll();
    }
    out << '\n';
    out.flush();
    return passed;
}

}  // namespace

int runEachCaseInItsOwnProcess(QObject* suite, int argc, char** argv) {
    if (argc > 1) {
        return QTest::qExec(suite, argc, argv);
    }
    QTextStream out(stdout);
    const QStringList names = caseNames(suite->metaObject());
    int failed = 0;
    for (const QString& name : names) {
        failed += runCase(QString::fromLocal8Bit(argv[0]), name, out) ? 0 : 1;
    }
    out << "Totals: " << names.size() - failed << " passed, " << failed << " failed\n";
    if (names.isEmpty()) {
        out << "no case found\n";
        return 1;
    }
    return failed;
}
