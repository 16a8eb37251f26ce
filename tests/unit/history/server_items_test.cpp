#include "server_items.h"

#include <QtTest>
#include <atomic>

#include "log_capture.h"
#include "server_item_fixture.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kConfig = Velmar_MsgType::getSysConfigRequest;
inline const QString kAnnual = Velmar_MsgType::getAnnualReportRequest;
inline const QString kAnnouncementTag = "ZnBusinessDataManager::GetSystemAnnoucement ";
inline const QString kAnnualTag = "ZnBusinessDataManager::GetAnnualReport ";

struct ServerItemsFixture : ServerItemFixture {
    ServerItems items;
};

/// How a request fails, and the end of the text that the log or the error output gets.
void addFailures() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("end");
    QTest::newRow("refused") << "refused"
                             << "不行";
    QTest::newRow("refused without a text") << "silent"
                                            << "";
    QTest::newRow("failed") << "failed"
                            << "断了";
    QTest::newRow("wrong rows") << "wrong rows"
                                << "its row count is \"7\"";
    QTest::newRow("no presenter") << "no presenter"
                                  << "needs a presenter to be sent";
}

ScriptedReply failureOf(const QString& kind) {
    const QMap<QString, ScriptedReply> replies{{"refused", ScriptedReply::refusal("不行")},
                                               {"silent", ScriptedReply::refusal({}, "")},
                                               {"failed", ScriptedReply::failure("断了")},
                                               {"wrong rows", answerWithoutItsRows()}};
    return replies.value(kind);
}

ScriptedReply valueReply(const QString& value) {
    return ScriptedReply::rows({{{System::itemValue, value}}, {{System::itemValue, "other"}}});
}

}  // namespace

class ServerItemsTest : public QObject {
    Q_OBJECT

private slots:
    void announcement_isTheDescriptionOfTheFirstRow() {
        ServerItemsFixture f;
        f.link().on(kConfig, ScriptedReply::rows({{{System::itemDesp, "停机维护"}},
                                                  {{System::itemDesp, "other"}}}));
        QCOMPARE(f.items.GetSystemAnnoucement(f.presenter, true), QString("停机维护"));
        QVariantMap expected{{System::itemName, SystemItemName::TagAnnoucement},
                             {System::itemValue, "1"},
                             {System::msgType, kConfig}};
        QCOMPARE(f.link().lastRequest().header, expected);
        QCOMPARE(f.items.GetSystemAnnoucement(f.presenter, false), QString("停机维护"));
        expected.remove(System::itemValue);
        QCOMPARE(f.link().lastRequest().header, expected);
        QCOMPARE(f.link().requestCount(), 2);
    }

    void announcement_answerWithoutRows_isEmptyAndNotTheHeader() {
        ServerItemsFixture f;
        const LogCapture log;
        f.link().on(kConfig, ScriptedReply::rows({}, {{System::itemDesp, "header"}}));
        QCOMPARE(f.items.GetSystemAnnoucement(f.presenter, false), QString());
        QVERIFY(!log.contains(kAnnouncementTag.trimmed()));
    }

    void announcement_failure_isLoggedAtInfoLevel_data() { addFailures(); }
    void announcement_failure_isLoggedAtInfoLevel() {
        QFETCH(QString, kind);
        QFETCH(QString, end);
        ServerItemsFixture f;
        const LogCapture log;
        f.link().on(kConfig, failureOf(kind));
        QCOMPARE(f.items.GetSystemAnnoucement(kind == "no presenter" ? nullptr : f.presenter.data(),
                                              false),
                 QString());
        const QStringList lines =
            log.texts(QtInfoMsg).filter(kAnnouncementTag + "查询系统公告失败，失败原因：");
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().endsWith(end), qPrintable(lines.first()));
    }

    void announcement_timeOut_hasATextOfItsOwn() {
        ServerItemsFixture f;
        const LogCapture log;
        f.link().on(kConfig, ScriptedReply::timeOut());
        QCOMPARE(f.items.GetSystemAnnoucement(f.presenter, true), QString());
        QCOMPARE(log.count(QtInfoMsg, kAnnouncementTag + "查询系统公告超时"), 1);
    }

    void annualReport_isTheFirstRow() {
        ServerItemsFixture f;
        const QVariantMap report{{"totalProfit", 12.5}, {"tradeDays", 240}};
        f.link().on(kAnnual, ScriptedReply::rows({report, {{"other", 1}}}));
        QString error = "old";
        QCOMPARE(f.items.GetAnnualReport(f.presenter, error), report);
        QCOMPARE(error, QString());
        const QVariantMap expected{{UserAccount::userID, "tester"}, {System::msgType, kAnnual}};
        QCOMPARE(f.link().lastRequest().header, expected);
        f.link().on(kAnnual, ScriptedReply::rows({}, {{"header", 1}}));
        error = "old";
        QCOMPARE(f.items.GetAnnualReport(f.presenter, error), QVariantMap());
        QCOMPARE(error, QString());
    }

    void annualReport_failure_isTheErrorText_data() { addFailures(); }
    void annualReport_failure_isTheErrorText() {
        QFETCH(QString, kind);
        QFETCH(QString, end);
        ServerItemsFixture f;
        const LogCapture log;
        f.link().on(kAnnual, failureOf(kind));
        QString error = "old";
        QVERIFY(
            f.items.GetAnnualReport(kind == "no presenter" ? nullptr : f.presenter.data(), error)
                .isEmpty());
        QVERIFY2(error.startsWith("查询年度报告失败：") && error.endsWith(end), qPrintable(error));
        QCOMPARE(log.count(QtDebugMsg, kAnnualTag + error), 1);
    }

    void annualReport_timeOut_hasATextOfItsOwn() {
        ServerItemsFixture f;
        const LogCapture log;
        f.link().on(kAnnual, ScriptedReply::timeOut());
        QString error;
        QVERIFY(f.items.GetAnnualReport(f.presenter, error).isEmpty());
        QCOMPARE(error, QString("查询年度报告超时。"));
        QCOMPARE(log.count(QtDebugMsg, kAnnualTag + error), 1);
    }

    void configValue_isRequestedOnceAndHeldByItsName() {
        ServerItemsFixture f;
        f.link().on(kConfig, valueReply("a"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("a"));
        const QVariantMap expected{
            {UserAccount::userID, "tester"}, {System::itemName, "one"}, {System::msgType, kConfig}};
        QCOMPARE(f.link().lastRequest().header, expected);
        f.link().on(kConfig, valueReply("b"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("a"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "two"), QString("b"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("a"));
        QCOMPARE(f.link().requestCount(), 2);
    }

    void configValue_empty_isRequestedByEachCall() {
        ServerItemsFixture f;
        f.link().on(kConfig, valueReply({}));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        f.link().on(kConfig, ScriptedReply::rows({}, {{System::itemValue, "header"}}));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        f.link().on(kConfig, valueReply("late"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("late"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("late"));
        QCOMPARE(f.link().requestCount(), 3);
    }

    void configValue_failure_isLoggedOnlyForAnAnswer() {
        ServerItemsFixture f;
        LogCapture log;
        f.link().on(kConfig, ScriptedReply::refusal("不行"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::getSysConfigValue query failed  one 不行"),
                 1);
        f.link().on(kConfig, answerWithoutItsRows());
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        QCOMPARE(log.texts(QtDebugMsg).filter("query failed ").size(), 2);
        log.clear();
        f.link().on(kConfig, ScriptedReply::timeOut());
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        f.link().on(kConfig, ScriptedReply::failure("断了"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString());
        QVERIFY(!log.contains("query failed "));
        // A failure is not held.
        f.link().on(kConfig, valueReply("a"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("a"));
    }

    void configValue_withoutPresenter_isEmptyEvenWhenHeld() {
        ServerItemsFixture f;
        f.link().on(kConfig, valueReply("a"));
        QCOMPARE(f.items.getSysConfigValue(f.presenter, "one"), QString("a"));
        const LogCapture log;
        QCOMPARE(f.items.getSysConfigValue(nullptr, "one"), QString());
        QVERIFY(log.texts().isEmpty());
    }

    void configValue_manyThreads_getTheSameValues() {
        ServerItemsFixture f;
        f.link().on(kConfig, [](const QVariant& body) {
            const QString name = headerOf(body).value(System::itemName).toString();
            return makeAnswer(body, {{{System::itemValue, "value of " + name}}});
        });
        std::atomic<int> wrong{0};
        runOnThreads(16, [&](int thread) {
            for (int n = 0; n < 40; ++n) {
                const QString name = QStringLiteral("item%1").arg((n + thread) % 10);
                wrong += f.items.getSysConfigValue(f.presenter, name) == "value of " + name ? 0 : 1;
            }
        });
        QCOMPARE(wrong, 0);
        const int requests = f.link().requestCount(kConfig);
        QVERIFY(requests >= 10 && requests <= 16 * 10);
        for (int i = 0; i < 10; ++i) {
            f.items.getSysConfigValue(f.presenter, QStringLiteral("item%1").arg(i));
        }
        QCOMPARE(f.link().requestCount(kConfig), requests);
    }
};

QTEST_GUILESS_MAIN(ServerItemsTest)
#include "server_items_test.moc"
