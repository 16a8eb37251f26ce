#include <QDateTime>
#include <limits>

#include "body_size.h"
#include "log_capture.h"
#include "platform_fixture.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("type.1");
inline const QString kOtherType = QStringLiteral("type.2");
constexpr qint64 kLimit = 4096;
constexpr qint64 kAll = std::numeric_limits<qint64>::max();
constexpr int kAnswer = 0;
constexpr int kFailure = 2;

QString text(int size) {
    return QString(size, QLatin1Char('x'));
}

}  // namespace

class BodyLimitTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void bodySize_texts_countAsUtf8_data();
    void bodySize_texts_countAsUtf8();
    void bodySize_nestedValues_countAll();
    void bodySize_aboveEnough_stopsCounting();
    void limit_standing_takesTenMegabytes();
    void request_aboveTheLimit_isRefusedAndNotSent();
    void answer_aboveTheLimit_isAFailure();
    void asyncAnswer_aboveTheLimit_isDroppedWithOneLine();
    void push_aboveTheLimit_isDroppedAndTheNextOneComes();

private:
    int send(const QVariantMap& fields, QVariant* response) {
        return m_presenter->sendRequest_Sync(makeMessage(m_presenter, kType, fields), *response);
    }

    TempHome m_home;
    ScriptedLink* m_link = nullptr;         // owned by the platform
    ProbePresenter* m_presenter = nullptr;  // disposed of by the platform
};

void BodyLimitTest::init() {
    LocalPlatform::Options options = m_home.options();
    if (qstrcmp(QTest::currentTestFunction(), "limit_standing_takesTenMegabytes") != 0) {
        options.bodyLimit = kLimit;
    }
    QString error;
    QVERIFY2(LocalPlatform::instance().start(options, &error), qPrintable(error));
    auto link = std::make_unique<ScriptedLink>();
    m_link = link.get();
    QVERIFY(LocalPlatform::instance().setLink(std::move(link), &error));
    m_presenter = new ProbePresenter;
    m_presenter->initPresenter();
}

void BodyLimitTest::cleanup() {
    LocalPlatform::instance().close();
}

void BodyLimitTest::bodySize_texts_countAsUtf8_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("ascii") << QStringLiteral("velmar");
    QTest::newRow("two bytes each") << QStringLiteral("\u00e4\u00f6\u03b1");
    QTest::newRow("three bytes each") << QStringLiteral("虚岚资产");
    QTest::newRow("outside the basic plane") << QStringLiteral("\U0001F600a\U00020000");
}

void BodyLimitTest::bodySize_texts_countAsUtf8() {
    QFETCH(QString, text);
    const qint64 frame = bodySize(QString(), kAll);
    QCOMPARE(bodySize(text, kAll) - frame, qint64(text.toUtf8().size()));
}

void BodyLimitTest::bodySize_nestedValues_countAll() {
    const QVariantMap inner{{"text", text(1000)}, {"bytes", QByteArray(1000, 'b')}};
    const QVariantList rows{QVariantMap(),
                            QVariantMap{{"list", QVariantList{inner, inner}},
                                        {"texts", QStringList{text(500), text(500)}},
                                        {"hash", QVariantHash{{"text", text(1000)}}},
                                        {"number", 7},
                                        {"moment", QDateTime::currentDateTimeUtc()}}};
    const qint64 size = bodySize(rows, kAll);
    QVERIFY2(size > 6000 && size < 6300, qPrintable(QString::number(size)));
}

void BodyLimitTest::bodySize_aboveEnough_stopsCounting() {
    QVariantList rows;
    for (int i = 0; i < 1000; ++i) {
        rows.append(QVariantMap{{"text", text(100)}});
    }
    const qint64 size = bodySize(rows, 1000);
    QVERIFY2(size > 1000 && size < 1300, qPrintable(QString::number(size)));
}

void BodyLimitTest::limit_standing_takesTenMegabytes() {
    constexpr int kTenMegabytes = 10 * 1024 * 1024;
    m_link->on(kType, [](const QVariant& body) {
        return makeAnswer(body, {{{"data", headerOf(body).value("data")}}});
    });
    QVariant response;
    QCOMPARE(send({{"data", text(kTenMegabytes)}}, &response), kAnswer);
    QVERIFY(rowsOf(response).first().value("data").toString() == text(kTenMegabytes));
}

void BodyLimitTest::request_aboveTheLimit_isRefusedAndNotSent() {
    m_link->on(kType, ScriptedReply::rows({}));
    QVariant response;
    QCOMPARE(send({{"data", text(int(kLimit))}}, &response), kFailure);
    QVERIFY2(textOf(response).contains("too large") && textOf(response).contains(kType),
             qPrintable(textOf(response)));
    const LogCapture log;
    QCOMPARE(m_presenter->sendRequest_Async(
                 makeMessage(m_presenter, kType, {{"data", text(int(kLimit))}})),
             kFailure);
    QVERIFY(log.contains(QtDebugMsg, "too large"));
    QCOMPARE(m_link->requestCount(), 0);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    QCOMPARE(send({{"data", text(int(kLimit) / 2)}}, &response), kAnswer);
}

void BodyLimitTest::answer_aboveTheLimit_isAFailure() {
    m_link->on(kType, ScriptedReply::rows({{{"data", text(int(kLimit))}}}));
    QVariant response;
    QCOMPARE(send({}, &response), kFailure);
    QVERIFY2(textOf(response).contains("too large"), qPrintable(textOf(response)));
    QVERIFY(rowsOf(response).isEmpty());
}

void BodyLimitTest::asyncAnswer_aboveTheLimit_isDroppedWithOneLine() {
    m_link->on(kType, ScriptedReply::rows({{{"data", text(int(kLimit))}}}));
    m_link->on(kOtherType, ScriptedReply::rows({}));
    const LogCapture log;
    QCOMPARE(m_presenter->sendRequest_Async(makeMessage(m_presenter, kType)), kAnswer);
    QVERIFY(log.waitFor("too large"));
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    m_presenter->sendRequest_Async(makeMessage(m_presenter, kOtherType));
    QVERIFY(m_presenter->log->waitForCount(1));
    QCOMPARE(m_presenter->log->calls().front().type, QVariant(kOtherType));
}

void BodyLimitTest::push_aboveTheLimit_isDroppedAndTheNextOneComes() {
    m_presenter->Sub(m_presenter->pluginPid(), kType, 1);
    const LogCapture log;
    m_link->push(kType, packRows({{"data", text(int(kLimit))}}, {}));
    m_link->push(kType, packRows({{"data", "small"}}, {}));
    QVERIFY(m_presenter->log->waitForCount(1));
    QCOMPARE(headerOf(m_presenter->log->calls().front().body).value("data"), QVariant("small"));
    QVERIFY(log.contains(QtWarningMsg, "push dropped"));
}

QTEST_GUILESS_MAIN(BodyLimitTest)
#include "body_limit_test.moc"
