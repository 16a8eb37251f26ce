#include "risk_command.h"

#include <QJsonArray>
#include <QtTest>

#include "facade_recorder.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const QString kSymbol = QStringLiteral("600001.SH");

class Marks final : public FacadeRecorder {
public:
    Marks() {
        results = {{"IsSymbolInST", true},
                   {"GetScienTechGrowFlagBySymbol", 1},
                   {"IsSymbolBreakingIssuePrice", true},
                   {"IsSymbolBrokenNetPrice", false},
                   {"GetSecurityDetailsBySymbol", QJsonObject{{Security::securityID, "600001"},
                                                              {Security::chineseName, "ST虚"}}}};
    }

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        if (name == "GetSymbolStType") {
            answer->insert("result", "1");
            answer->insert("out", QJsonArray{QJsonObject{{"parameter", 2}, {"value", "小心"}}});
        } else if (name == "GetSymbolBySecurityIDAndExchange") {
            answer->insert("result", arguments.last() == Exchange::sh ? kSymbol : QString("other"));
        } else if (name == "IsSymbolKeyMonitor") {
            // The list is empty before it is loaded.
            answer->insert("result", calls.contains("InitKeyMonitorSymbols"));
        } else {
            FacadeRecorder::reply(name, arguments, answer);
        }
    }
};

QVariantMap notice(const QString& exchange, bool isSt) {
    return {{Security::securityID, "600001"},
            {UserAccount::securityExchange, exchange},
            {Security::STFlag, isSt},
            {Security::riskRemindInfo, "提示"}};
}

}  // namespace

class RiskCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() { m_marks = std::make_unique<Marks>(); }

    void show_symbolWithMarks_hasThemAll() {
        const CommandAnswer answer =
            show(kSymbol, {notice(Exchange::sz, false), notice(Exchange::sh, true)});
        QCOMPARE(answer.lines.first(), QString("600001.SH  ST虚"));
        for (const char* line :
             {"risk warning flag 1 (ST)", "in risk warning yes", "warning for the user 小心",
              "growth flag 1 (listed before the growth tier)", "below issue price yes",
              "below net value no", "key monitor yes", "riskRemindInfo 提示"}) {
            QVERIFY2(simplified(answer).contains(line), line);
        }
        QVERIFY(answer.lines.filter("note ").isEmpty());
        QVERIFY(!answer.isFault);
        const QJsonObject json = answer.json.toObject();
        QCOMPARE(json.value("stFlag").toString(), QString("1"));
        QCOMPARE(json.value("growthFlag").toInt(), 1);
        QVERIFY(json.value("keyMonitor").toBool());
        QCOMPARE(json.value("notice").toObject().value(UserAccount::securityExchange).toString(),
                 Exchange::sh);
    }

    void show_noticeOfAnotherExchange_isNotTheSymbols() {
        const CommandAnswer answer = show(kSymbol, {notice(Exchange::sz, true)});
        QVERIFY(simplified(answer).contains("notice of the server none"));
        QVERIFY(answer.json.toObject().value("notice").isNull());
    }

    void show_noticeThatDiffersFromTheRecord_isNoted() {
        QCOMPARE(show(kSymbol, {notice(Exchange::sh, false)}).lines.filter("differ about").size(),
                 1);
    }

    void show_unknownSymbol_isWrongUsage() {
        m_marks->results.insert("GetSecurityDetailsBySymbol", QJsonObject());
        QCOMPARE(show("NOPE", {}).error, QString("no security is called 'NOPE'"));
    }

    void show_noticesThatWereNotReceived_areAFault() {
        const CommandAnswer answer =
            RiskCommand(m_library, m_marks->function())
                .show(kSymbol, {{{}, "timed out"}, serverTypes(), serverMonitored()});
        QVERIFY(answer.isFault);
        QVERIFY(simplified(answer).contains("notice of the server not received: timed out"));
    }

    void show_listsThatWereNotReceived_areAFault() {
        const CommandAnswer answer = RiskCommand(m_library, m_marks->function())
                                         .show(kSymbol, {{}, {{}, "no types"}, {{}, "no list"}});
        QVERIFY(answer.isFault);
        QVERIFY(simplified(answer).contains("below issue price not received: no types"));
        QVERIFY(simplified(answer).contains("below net value not received: no types"));
        QVERIFY(simplified(answer).contains("key monitor not received: no list"));
    }

    void show_listThatThePluginLacks_isAFault() {
        m_marks->results.insert("IsSymbolBreakingIssuePrice", false);
        const CommandAnswer answer = show(kSymbol, {});
        QVERIFY(answer.isFault);
        QVERIFY(simplified(answer).contains("below issue price no (list of the server: yes)"));
    }

    void interrupt_isReported() {
        m_marks->interruptAfter = 3;
        QVERIFY(show(kSymbol, {}).interrupted);
    }

private:
    CommandAnswer show(const QString& symbol, const QList<QVariantMap>& notices) {
        return RiskCommand(m_library, m_marks->function())
            .show(symbol, {{notices, {}}, serverTypes(), serverMonitored()});
    }
    static RiskCommand::ServerList serverTypes() {
        return {{{{Security::securityID, "600001"},
                  {UserAccount::securityExchange, Exchange::sh},
                  {SymbolRiskType::riskFlagType, SymbolRiskType::BreakingIssuePrice}}},
                {}};
    }
    static RiskCommand::ServerList serverMonitored() {
        return {{{{Security::symbol, kSymbol}}}, {}};
    }
    static QStringList simplified(const CommandAnswer& answer) {
        QStringList lines;
        for (const QString& line : answer.lines) {
            lines.append(line.simplified());
        }
        return lines;
    }

    FacadeLibrary m_library;
    std::unique_ptr<Marks> m_marks;
};

QTEST_GUILESS_MAIN(RiskCommandTest)
#include "risk_command_test.moc"
