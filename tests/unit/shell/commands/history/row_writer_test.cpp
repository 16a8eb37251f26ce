#include "row_writer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>
#include <limits>

#include "text_table.h"

namespace {

const QVector<RowColumn> kColumns{
    {"tradeDate", "Date", true}, {"host/balance", "Balance"}, {"text", "Text"}};

struct Written {
    QByteArray bytes;
    RowWriter writer;

    explicit Written(RowFormat format, int width = std::numeric_limits<int>::max())
        : writer(format, kColumns, width, [this](const QByteArray& part) {
              bytes += part;
              return true;
          }) {}
};

QJsonObject row(const QJsonValue& date, const QJsonValue& balance, const QString& text) {
    return {{"tradeDate", date}, {"host/balance", balance}, {"text", text}, {"other", 1}};
}

}  // namespace

class RowWriterTest : public QObject {
    Q_OBJECT

private slots:
    void csvCell_specialCharacters_areQuoted_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("cell");
        QTest::newRow("plain") << "a b"
                               << "a b";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("comma") << "a,b"
                               << "\"a,b\"";
        QTest::newRow("quote") << "a\"b"
                               << "\"a\"\"b\"";
        QTest::newRow("line feed") << "a\nb"
                                   << "\"a\nb\"";
        QTest::newRow("carriage return") << "a\rb"
                                         << "\"a\rb\"";
        QTest::newRow("Chinese") << QString::fromUtf8("委托，已撤")
                                 << QString::fromUtf8("委托，已撤");
    }
    void csvCell_specialCharacters_areQuoted() {
        QFETCH(QString, text);
        QFETCH(QString, cell);
        QCOMPARE(csvCell(text), cell);
    }

    void cellText_eachKindOfValue_isWritten_data() {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<bool>("isDate");
        QTest::addColumn<QString>("text");
        QTest::newRow("price") << QJsonValue(10.76) << false << "10.76";
        QTest::newRow("large number") << QJsonValue(123456789012.5) << false << "123456789012.5";
        QTest::newRow("whole number") << QJsonValue(1e15) << false << "1000000000000000";
        QTest::newRow("flag") << QJsonValue(true) << false << "true";
        QTest::newRow("nothing") << QJsonValue() << false << "";
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << false << "";
        QTest::newRow("list") << QJsonValue(QJsonArray{1, "a"}) << false << "[1,\"a\"]";
        QTest::newRow("date text") << QJsonValue("20260105") << true << "2026-01-05";
        QTest::newRow("date number") << QJsonValue(20260105) << true << "2026-01-05";
        QTest::newRow("date with dashes") << QJsonValue("2026-01-05") << true << "2026-01-05";
        QTest::newRow("no date") << QJsonValue("20261399") << true << "20261399";
        QTest::newRow("digits that are no date") << QJsonValue("20260105") << false << "20260105";
    }
    void cellText_eachKindOfValue_isWritten() {
        QFETCH(QJsonValue, value);
        QFETCH(bool, isDate);
        QFETCH(QString, text);
        QCOMPARE(cellText(value, isDate), text);
    }

    void tableText_numbers_haveSixDecimals() {
        QCOMPARE(tableText(0.036210000000000006), QString("0.03621"));
        QCOMPARE(tableText(-97.12614214326301), QString("-97.126142"));
        QCOMPARE(tableText(1206379345.36), QString("1206379345.36"));
        QCOMPARE(tableText(20260105, true), QString("2026-01-05"));
        QCOMPARE(tableText("0.036210000000000006"), QString("0.036210000000000006"));
        QCOMPARE(cellText(0.036210000000000006), QString("0.036210000000000006"));
    }

    void csv_rows_haveTheColumnsInTheirOrder() {
        Written written(RowFormat::Csv);
        QVERIFY(written.writer.begin());
        QVERIFY(written.writer.add(row("20260105", 1.5, QString::fromUtf8("成交，\"全部\""))));
        QVERIFY(written.writer.add({{"text", "b"}}));
        QVERIFY(written.writer.end());
        QCOMPARE(QString::fromUtf8(written.bytes),
                 QString::fromUtf8("tradeDate,balance,text\r\n"
                                   "2026-01-05,1.5,\"成交，\"\"全部\"\"\"\r\n"
                                   ",,b\r\n"));
        QCOMPARE(written.writer.count(), qint64(2));
    }

    void json_anyNumberOfRows_isAClosedList_data() {
        QTest::addColumn<int>("rows");
        QTest::newRow("none") << 0;
        QTest::newRow("one") << 1;
        QTest::newRow("several") << 3;
    }
    void json_anyNumberOfRows_isAClosedList() {
        QFETCH(int, rows);
        Written written(RowFormat::Json);
        written.writer.begin();
        for (int i = 0; i < rows; ++i) {
            written.writer.add(row("20260105", i, "a\nb"));
        }
        QVERIFY(written.writer.end());
        const QJsonDocument document = QJsonDocument::fromJson(written.bytes);
        QVERIFY2(document.isArray(), written.bytes);
        QCOMPARE(document.array().size(), rows);
        if (rows > 0) {
            QCOMPARE(document.array().last().toObject(), row("20260105", rows - 1, "a\nb"));
        }
    }

    void json_marksThatATerminalObeys_areEscaped() {
        Written written(RowFormat::Json);
        written.writer.begin();
        written.writer.add({{"text", QString("a") + QChar(0x202E) + QChar(0x7F)}});
        written.writer.end();
        QVERIFY2(written.bytes.contains("a\\u202e\\u007f"), written.bytes);
    }

    void table_chineseTexts_lineUp() {
        Written written(RowFormat::Table);
        written.writer.begin();
        written.writer.add(row("20260105", QString::fromUtf8("资金"), "x"));
        written.writer.add(row("20260106", "1", "y"));
        QVERIFY(written.bytes.isEmpty());
        QVERIFY(written.writer.end());
        const QStringList lines = QString::fromUtf8(written.bytes).split('\n');
        QCOMPARE(lines.size(), 5);
        const auto columnOf = [](const QString& line, const QString& text) {
            return displayWidth(line.left(line.indexOf(text)));
        };
        QCOMPARE(columnOf(lines.at(2), "x"), columnOf(lines.at(0), "Text"));
        QCOMPARE(columnOf(lines.at(3), "y"), columnOf(lines.at(0), "Text"));
    }

    void write_thatFails_dropsTheRest() {
        int calls = 0;
        RowWriter writer(RowFormat::Csv, kColumns, 80,
                         [&calls](const QByteArray&) { return ++calls < 2; });
        QVERIFY(writer.begin());
        QVERIFY(!writer.add({}));
        QVERIFY(!writer.add({}));
        QVERIFY(!writer.end());
        QCOMPARE(calls, 2);
    }
};

QTEST_APPLESS_MAIN(RowWriterTest)
#include "row_writer_test.moc"
