#include <QMap>
#include <QtTest>
#include <atomic>
#include <cstdio>
#include <thread>

#include "child_process.h"
#include "client_world.h"
#include "facade_function.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

// Compares the reach of each function in the table with what the function does when it is the first
// one called in a process; so each is called in a child process of its own.

namespace {

inline const QString kAsk = QStringLiteral("--ask");
inline const QString kAskWithPlugin = QStringLiteral("--ask-with-plugin");

const FacadeFunction& functionAt(int index) {
    int count = 0;
    return velmarFacadeFunctions(&count)[index];
}

int functionCount() {
    int count = 0;
    velmarFacadeFunctions(&count);
    return count;
}

/// "QMap<QString, QString>, bool" to its two types.
QStringList splitTypes(const QString& text) {
    QStringList types{QString()};
    int depth = 0;
    for (const QChar letter : text) {
        depth += letter == '<' ? 1 : letter == '>' ? -1 : 0;
        if (letter == ',' && depth == 0) {
            types.append(QString());
        } else {
            types.last() += letter;
        }
    }
    for (QString& type : types) {
        type = type.trimmed();
    }
    types.removeAll(QString());
    return types;
}

/// A text that is a value of the type: true, zero, or empty.
QString plainValue(const QString& type) {
    static const QMap<QString, QString> values{
        {"bool", "true"},        {"QString", ""},
        {"QStringList", "[]"},   {"tagUserAccountInfo", "{}"},
        {"QDate", "2026-01-05"}, {"QTime", "09:30:00"}};
    if (values.contains(type)) {
        return values.value(type);
    }
    if (type.startsWith("QList<")) {
        return QStringLiteral("[]");
    }
    return type.startsWith("QMap<") || type == "QVariantMap" ? QStringLiteral("{}")
                                                             : QStringLiteral("0");
}

/// Arguments for a function: plain values; flags are true, so functions wait if they can.
QStringList argumentsOf(const FacadeFunction& function) {
    if (QLatin1String(function.name) == QLatin1String("CheckOrderMatchSuperEtf")) {
        // For other sides the function does not look at the account.
        return {QString(), QString(), SideUnion::financingBuy};
    }
    if (QByteArray(function.name).startsWith("NewOrderList")) {
        // They look for a security account when an order has an exchange and none of its own.
        const QString list =
            QStringLiteral(R"([{}, {"%1": "1"}])").arg(UserAccount::securityExchange);
        return function.parameterList().size() == 3 ? QStringList{list, "true", "true"}
                                                    : QStringList{list, "type"};
    }
    const QString signature = function.signature();
    const int open = signature.indexOf('(');
    QStringList arguments;
    for (const QString& type : splitTypes(signature.mid(open + 1).chopped(1))) {
        if (!type.endsWith('&') && !type.endsWith('*')) {
            arguments.append(plainValue(type));
        }
    }
    return arguments;
}

/// In a child: calls the functions one after the other, before any log-in, until one waits for the
/// accounts, and prints the number of presenters after each.
int askInThisProcess(const QStringList& indices, bool withPlugin) {
    const ClientWorld world;
    if (withPlugin) {
        InitVelmarBusinessManagePlugin();
    }
    const LogCapture log;
    for (const QString& index : indices) {
        const FacadeFunction& function = functionAt(index.toInt());
        std::atomic<bool> returned{false};
        std::thread caller([&] {
            function.call(argumentsOf(function));
            returned = true;
        });
        const auto waits = [&log] {
            return log.contains("GetFundAccountList wait for FundAccountInit");
        };
        const bool done = waitFor([&] { return returned || waits(); });
        const int presenters = LocalPlatform::instance().presenterCount();
        const bool waited = waits();
        if (waited || !done) {
            LocalPlatform::instance().close();
        }
        caller.join();
        const char* const end = waited ? "waits" : done ? "returns" : "hangs";
        std::printf("said: %s %s %d\n", qPrintable(index), end, presenters);
        if (waited || !done) {
            break;
        }
    }
    return 0;
}

/// What a child prints about each function: "waits 1" for one that waits and brought the plug-in
/// up.
QMap<int, QString> askInAChild(const QString& how, const QList<int>& indices) {
    QStringList texts;
    for (const int index : indices) {
        texts.append(QString::number(index));
    }
    const ChildResult child =
        runChild(QCoreApplication::applicationFilePath(), {how, texts.join(',')});
    QMap<int, QString> said;
    for (const QString& line : child.output.split('\n')) {
        const QStringList words = line.split(' ');
        if (words.size() == 4 && words.first() == "said:") {
            said.insert(words.at(1).toInt(), words.at(2) + ' ' + words.at(3));
        }
    }
    if (!child.succeeded()) {
        qWarning().noquote() << child.output;
        said.clear();
    }
    return said;
}

/// Whether a function waits only when the plug-in is up already.
bool waitsWithPluginAlone(unsigned reach) {
    return (reach & FacadeWaits) && (reach & FacadePresenter) && !(reach & FacadeFirstLoad);
}

QString expectedFirst(unsigned reach) {
    const bool waits = (reach & FacadeWaits) && !waitsWithPluginAlone(reach);
    return QStringLiteral("%1 %2").arg(waits ? "waits" : "returns",
                                       reach & FacadeFirstLoad ? "1" : "0");
}

template <class Fits>
void addFunctions(Fits fits) {
    QTest::addColumn<int>("index");
    for (int i = 0; i < functionCount(); ++i) {
        if (fits(functionAt(i).reach)) {
            QTest::newRow(qPrintable(functionAt(i).signature())) << i;
        }
    }
}

}  // namespace

class FacadeReachTest : public QObject {
    Q_OBJECT

private slots:
    void arguments_everyFunction_fit() {
        QCOMPARE(functionCount(), 151);
        for (int i = 0; i < functionCount(); ++i) {
            int score = 0;
            QVERIFY2(functionAt(i).fits(argumentsOf(functionAt(i)), &score),
                     qPrintable(functionAt(i).signature()));
        }
    }

    void firstCall_functionOfReach_bringsThePluginUpAndWaits_data() {
        addFunctions([](unsigned reach) { return reach & (FacadeFirstLoad | FacadeWaits); });
    }
    void firstCall_functionOfReach_bringsThePluginUpAndWaits() {
        QFETCH(int, index);
        QCOMPARE(askInAChild(kAsk, {index}).value(index), expectedFirst(functionAt(index).reach));
    }

    void firstCalls_allOtherFunctions_bringNothingUpAndReturn() {
        QList<int> plain;
        for (int i = 0; i < functionCount(); ++i) {
            if (!(functionAt(i).reach & (FacadeFirstLoad | FacadeWaits))) {
                plain.append(i);
            }
        }
        QVERIFY(plain.size() > 10);
        const QMap<int, QString> said = askInAChild(kAsk, plain);
        for (const int index : plain) {
            QVERIFY2(said.value(index) == "returns 0", qPrintable(functionAt(index).signature()));
        }
    }

    void call_presenterNeededAndThere_waits_data() { addFunctions(waitsWithPluginAlone); }
    void call_presenterNeededAndThere_waits() {
        QFETCH(int, index);
        QCOMPARE(askInAChild(kAskWithPlugin, {index}).value(index), QString("waits 1"));
    }
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1).startsWith(kAsk)) {
        return askInThisProcess(arguments.at(2).split(','), arguments.at(1) == kAskWithPlugin);
    }
    FacadeReachTest suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "facade_reach_test.moc"
