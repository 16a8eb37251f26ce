#include "monitor_exports.h"

#include <QtTest>

#include "prometheus_lines.h"
#include "trade_gate_figures.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

MonitorFigures someFigures() {
    MonitorFigures figures = tradeGateFigures(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    figures.beatsOnTheirWay = 1;
    figures.infoBatches = 7;
    figures.resources = {{ClientPerformItem::ClientCpuUsage, 2.5},
                         {ClientPerformItem::TotalCpuUsage, 40},
                         {ClientPerformItem::ClientMemUsage, 100},
                         {ClientPerformItem::RemainDisk, 2},
                         {ClientPerformItem::ThreadNum, 25}};
    return figures;
}

QStringList cellsOf(const QByteArray& line) {
    return QString::fromUtf8(line.chopped(1)).split(',');
}

}  // namespace

class MonitorExportsTest : public QObject {
    Q_OBJECT

private slots:
    void prometheusText_isReadByAParser_inBaseUnits() {
        PrometheusLines lines;
        QVERIFY2(lines.read(prometheusText(someFigures())), qPrintable(lines.error()));
        const QMap<QString, double> expected{
            {R"(velmar_gate_up{gate="TradeGate"})", 1},
            {R"(velmar_gate_up{gate="InfoGate"})", 0},
            {R"(velmar_gate_delay_seconds{gate="TradeGate"})", 0.012},
            {R"(velmar_gate_delay_mean_seconds{gate="TradeGate"})", 0.0105},
            {R"(velmar_gate_delay_largest_seconds{gate="TradeGate"})", 0.02},
            {R"(velmar_gate_samples{gate="TradeGate"})", 4},
            {R"(velmar_gate_samples{gate="InfoGate"})", 0},
            {"velmar_heart_beats_on_their_way", 1},
            {"velmar_client_info_waiting", 3},
            {"velmar_client_info_sent_total", 250},
            {"velmar_client_info_batches_total", 7},
            {R"(velmar_cpu_usage_ratio{of="client"})", 0.025},
            {R"(velmar_cpu_usage_ratio{of="machine"})", 0.4},
            {R"(velmar_memory_bytes{of="client"})", 104857600},
            {R"(velmar_disk_bytes{of="free"})", 2147483648.0},
            {"velmar_threads", 25}};
        QCOMPARE(lines.samples.keys(), expected.keys());
        for (auto sample = expected.cbegin(); sample != expected.cend(); ++sample) {
            QVERIFY2(qFuzzyCompare(1 + lines.samples.value(sample.key()), 1 + *sample),
                     qPrintable(sample.key()));
        }
        for (auto family = lines.families.cbegin(); family != lines.families.cend(); ++family) {
            QCOMPARE(family->type, QString(family.key().endsWith("_total") ? "counter" : "gauge"));
        }
    }

    void prometheusText_ofNothing_hasNoGates() {
        PrometheusLines lines;
        QVERIFY2(lines.read(prometheusText(MonitorFigures())), qPrintable(lines.error()));
        QCOMPARE(lines.samples.size(), 4);
        QCOMPARE(lines.samples.value("velmar_client_info_sent_total", -1), 0.0);
    }

    void prometheusText_gateOfUnknownState_isNotReportedAsDown() {
        MonitorFigures figures;
        figures.gates.insert(NetGateType::TradeGate, GateFigures());
        PrometheusLines lines;
        QVERIFY2(lines.read(prometheusText(figures)), qPrintable(lines.error()));
        QVERIFY(!lines.families.contains("velmar_gate_up"));
        QVERIFY(lines.samples.contains(R"(velmar_gate_samples{gate="TradeGate"})"));
    }

    void prometheusText_oddGateName_isEscaped() {
        const QString odd = QString::fromUtf8("a\\b\"c\nd交易");
        MonitorFigures figures;
        GateFigures gate;
        gate.state = NET_STATE::CONNECTED;
        figures.gates.insert(odd, gate);
        const QByteArray text = prometheusText(figures);
        QVERIFY2(text.contains(R"(velmar_gate_up{gate="a\\b\"c\nd)"), text);
        PrometheusLines lines;
        QVERIFY2(lines.read(text), qPrintable(lines.error()));
        QVERIFY(lines.samples.contains(QString("velmar_gate_up{gate=\"%1\"}").arg(odd)));
    }

    void parser_refusesWhatTheFormatDoesNotAllow_data() {
        QTest::addColumn<QByteArray>("text");
        const QByteArray head = "# HELP a b\n# TYPE a gauge\n";
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("no line end") << QByteArray(head + "a 1");
        QTest::newRow("no TYPE") << QByteArray("# HELP a b\na 1\n");
        QTest::newRow("unknown type") << QByteArray("# HELP a b\n# TYPE a number\na 1\n");
        QTest::newRow("no value") << QByteArray(head + "a\n");
        QTest::newRow("value is no number") << QByteArray(head + "a x\n");
        QTest::newRow("twice") << QByteArray(head + "a 1\na 2\n");
        QTest::newRow("bare quote") << QByteArray(head + "a{b=\"c\"d\"} 1\n");
        QTest::newRow("unknown escape") << QByteArray(head + "a{b=\"\\x\"} 1\n");
        QTest::newRow("open label") << QByteArray(head + "a{b=\"c} 1\n");
        QTest::newRow("no samples") << head;
        QTest::newRow("apart") << QByteArray(head + "a{b=\"c\"} 1\n# HELP d e\n# TYPE d gauge\n" +
                                             "d 1\na{b=\"f\"} 1\n");
    }
    void parser_refusesWhatTheFormatDoesNotAllow() {
        QFETCH(QByteArray, text);
        PrometheusLines lines;
        QVERIFY(!lines.read(text));
        QVERIFY(!lines.error().isEmpty());
    }

    void csvLine_hasACellForEachTitle() {
        const QStringList titles = cellsOf(csvTitle());
        QCOMPARE(QSet<QString>(titles.cbegin(), titles.cend()).size(), titles.size());
        QCOMPARE(cellsOf(csvLine(someFigures(), QDateTime::currentDateTimeUtc())).size(),
                 titles.size());
        QCOMPARE(cellsOf(csvLine(MonitorFigures(), QDateTime::currentDateTimeUtc())).size(),
                 titles.size());
    }

    void csvLine_hasTheFigures_andEmptyCellsForTheOthers() {
        const QStringList titles = cellsOf(csvTitle());
        const QDateTime time(QDate(2026, 1, 5), QTime(9, 30, 0, 5), Qt::OffsetFromUTC, 8 * 3600);
        const QStringList cells = cellsOf(csvLine(someFigures(), time));
        const auto cell = [&](const char* title) {
            const int at = titles.indexOf(QLatin1String(title));
            return at < 0 ? QStringLiteral("no such column") : cells.at(at);
        };
        QCOMPARE(cell("time"), QString("2026-01-05T01:30:00.005Z"));
        QCOMPARE(cell("TradeGate_up"), QString("1"));
        QCOMPARE(cell("TradeGate_last_ms"), QString("12"));
        QCOMPARE(cell("TradeGate_mean_ms"), QString("10.5"));
        QCOMPARE(cell("TradeGate_largest_ms"), QString("20"));
        QCOMPARE(cell("TradeGate_samples"), QString("4"));
        QCOMPARE(cell("InfoGate_up"), QString("0"));
        QCOMPARE(cell("InfoGate_last_ms"), QString());
        QCOMPARE(cell("InfoGate_samples"), QString("0"));
        QCOMPARE(cell("MarketTcpGate_up"), QString());
        QCOMPARE(cell("beats_on_their_way"), QString("1"));
        QCOMPARE(cell("client_info_waiting"), QString("3"));
        QCOMPARE(cell("client_info_sent"), QString("250"));
        QCOMPARE(cell("client_info_batches"), QString("7"));
        QCOMPARE(cell("client_cpu_percent"), QString("2.5"));
        QCOMPARE(cell("client_memory_mb"), QString("100"));
        QCOMPARE(cell("free_disk_gb"), QString("2"));
        QCOMPARE(cell("used_memory_mb"), QString());
    }
};

QTEST_APPLESS_MAIN(MonitorExportsTest)
#include "monitor_exports_test.moc"
