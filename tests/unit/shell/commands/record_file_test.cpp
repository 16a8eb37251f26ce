#include "record_file.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QStringList faultTexts(const RecordFile& file) {
    QStringList texts;
    for (const RecordFault& fault : file.faults) {
        texts.append(fault.toString());
    }
    return texts;
}

}  // namespace

class RecordFileTest : public QObject {
    Q_OBJECT

private slots:
    void jsonLines_areRecordsWithTheirTypes() {
        const RecordFile file = parseRecords(
            "{\"symbol\":\"600000.SH\",\"orderQty\":100,\"isOk\":true,\"price\":10.5,\"no\":null}\n"
            "\n"
            "  {\"chineseName\":\"浦发\"}");
        QCOMPARE(faultTexts(file), QStringList());
        QCOMPARE(file.records.size(), 2);
        QCOMPARE(file.records.first().line, 1);
        QCOMPARE(
            file.records.first().fields,
            (QVariantMap{
                {"symbol", "600000.SH"}, {"orderQty", 100LL}, {"isOk", true}, {"price", 10.5}}));
        QCOMPARE(file.records.last().line, 3);
        QCOMPARE(file.records.last().fields.value("chineseName").toString(), QString("浦发"));
    }

    void json_largeInteger_keepsItsDigits() {
        const RecordFile file = parseRecords("{\"orderQty\":9007199254740993}");
        QCOMPARE(file.records.first().fields.value("orderQty").toLongLong(), 9007199254740993LL);
    }

    void csv_quotesAndEmptyCells_areTextsAndMissingFields() {
        const RecordFile file = parseRecords(
            "symbol,\"orderQty\",remark,empty\n"
            "600000.SH,\"1,000\",\"say \"\"buy\"\"\",\"\"\n"
            " 000001.SZ , 100 ,,\n");
        QCOMPARE(faultTexts(file), QStringList());
        QCOMPARE(file.records.size(), 2);
        QCOMPARE(file.records.first().fields, (QVariantMap{{"symbol", "600000.SH"},
                                                           {"orderQty", "1,000"},
                                                           {"remark", "say \"buy\""},
                                                           {"empty", ""}}));
        QCOMPARE(file.records.last().fields,
                 (QVariantMap{{"symbol", "000001.SZ"}, {"orderQty", "100"}}));
        QCOMPARE(file.records.last().line, 3);
    }

    void byteOrderMarkAndCrLf_arePartOfNoField_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("CSV") << QByteArray("\xEF\xBB\xBFsymbol,side\r\nA,1\r\n\r\nB,2\r\n");
        QTest::newRow("JSON") << QByteArray(
            "\xEF\xBB\xBF{\"symbol\":\"A\",\"side\":\"1\"}\r\n\r\n\r\n{\"symbol\":\"B\",\"side\":"
            "\"2\"}\r\n");
    }
    void byteOrderMarkAndCrLf_arePartOfNoField() {
        QFETCH(QByteArray, bytes);
        const RecordFile file = parseRecords(bytes);
        QCOMPARE(faultTexts(file), QStringList());
        QCOMPARE(file.records.size(), 2);
        QCOMPARE(file.records.first().fields, (QVariantMap{{"symbol", "A"}, {"side", "1"}}));
        QCOMPARE(file.records.last().fields, (QVariantMap{{"symbol", "B"}, {"side", "2"}}));
        QCOMPARE(file.records.last().line, 4);
    }

    void badLine_isNamedWithLineAndColumn_andTheRestGoesOn_data() {
        QTest::addColumn<QByteArray>("bad");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        QTest::newRow("not JSON") << QByteArray("oops") << 1 << "not a JSON object";
        QTest::newRow("list") << QByteArray("  [1]") << 3 << "not a JSON object";
        QTest::newRow("cut off") << QByteArray("{\"a\":1") << 7 << "not JSON";
        QTest::newRow("behind the object") << QByteArray("{\"a\":1} x") << 9 << "not JSON";
        QTest::newRow("column behind Chinese letters")
            << QByteArray("{\"a\":\"浦发\",b}") << 12 << "not JSON";
        QTest::newRow("nested") << QByteArray("{\"a\":1,\"qty\":[1]}") << 8 << "field 'qty'";
        QTest::newRow("not UTF-8") << QByteArray("{\"a\":\"\xFF\"}") << 7 << "not UTF-8";
        QTest::newRow("half a letter") << QByteArray("{\"a\":\"\xE6\xB5\"}") << 7 << "not UTF-8";
    }
    void badLine_isNamedWithLineAndColumn_andTheRestGoesOn() {
        QFETCH(QByteArray, bad);
        QFETCH(int, column);
        QFETCH(QString, text);
        const RecordFile file = parseRecords("{\"a\":1}\n" + bad + "\n{\"a\":2}\n");
        QCOMPARE(file.records.size(), 2);
        QCOMPARE(file.records.last().line, 3);
        QCOMPARE(file.faults.size(), 1);
        const RecordFault& fault = file.faults.first();
        QCOMPARE(fault.line, 2);
        QCOMPARE(fault.column, column);
        QVERIFY2(fault.text.startsWith(text), qPrintable(fault.toString()));
    }

    void badCsvLine_isNamedWithLineAndColumn_andTheRestGoesOn_data() {
        QTest::addColumn<QByteArray>("bad");
        QTest::addColumn<QString>("fault");
        QTest::newRow("open quote")
            << QByteArray("1,\"x") << "line 2, column 3: a quote without its closing one";
        QTest::newRow("letter behind a quote")
            << QByteArray("\"1\"x,2") << "line 2, column 4: a letter behind a closing quote";
        QTest::newRow("quote inside")
            << QByteArray("浦\"1,2")
            << "line 2, column 2: a quote inside a cell that does not begin with one";
        QTest::newRow("few cells")
            << QByteArray("1") << "line 2, column 1: 1 cells for 2 field names";
        QTest::newRow("many cells")
            << QByteArray("1,2,3,4") << "line 2, column 5: 4 cells for 2 field names";
        QTest::newRow("not UTF-8") << QByteArray("1,\xC3") << "line 2, column 3: not UTF-8";
    }
    void badCsvLine_isNamedWithLineAndColumn_andTheRestGoesOn() {
        QFETCH(QByteArray, bad);
        QFETCH(QString, fault);
        const RecordFile file = parseRecords("a,b\n" + bad + "\n3,4\n");
        QCOMPARE(faultTexts(file), QStringList(fault));
        QCOMPARE(file.records.size(), 1);
        QCOMPARE(file.records.first().fields, (QVariantMap{{"a", "3"}, {"b", "4"}}));
    }

    void csv_linesThatEndInCrAlone_areAFault() {
        const RecordFile file = parseRecords("symbol,side\rA,1\rB,2\r", RecordFormat::Csv);
        QCOMPARE(faultTexts(file),
                 QStringList("line 1, column 12: a CR without LF; lines end in LF or CRLF"));
        QVERIFY(file.records.isEmpty());
    }

    void csv_badFieldNames_leaveNoRecords_data() {
        QTest::addColumn<QByteArray>("names");
        QTest::addColumn<QString>("fault");
        QTest::newRow("twice") << QByteArray("a,b,a")
                               << "line 1, column 5: field 'a' is named twice";
        QTest::newRow("missing") << QByteArray("a,,b")
                                 << "line 1, column 3: a field name is missing";
        QTest::newRow("open quote")
            << QByteArray("a,\"b") << "line 1, column 3: a quote without its closing one";
    }
    void csv_badFieldNames_leaveNoRecords() {
        QFETCH(QByteArray, names);
        QFETCH(QString, fault);
        const RecordFile file = parseRecords(names + "\n1,2,3\n", RecordFormat::Csv);
        QCOMPARE(faultTexts(file), QStringList(fault));
        QVERIFY(file.records.isEmpty());
    }

    void emptyFile_hasNeitherRecordsNorFaults() {
        for (const char* bytes : {"", "\n\n", "\xEF\xBB\xBF", "  \r\n"}) {
            const RecordFile file = parseRecords(bytes);
            QVERIFY(file.records.isEmpty() && file.faults.isEmpty());
        }
    }

    void file_nameDecidesOnTheFormat() {
        QTemporaryDir dir;
        const auto read = [&dir](const QString& name) {
            QFile file(dir.filePath(name));
            if (!file.open(QFile::WriteOnly) || file.write("oops\n{\"a\":1}\n") < 0) {
                qFatal("not written");
            }
            file.close();
            RecordFile records;
            QString error;
            return readRecordFile(file.fileName(), &records, &error) ? records : RecordFile();
        };
        // As CSV, "oops" is a field name.
        QCOMPARE(read("orders.txt").faults.size(), 1);
        QCOMPARE(read("orders.csv").faults.first().line, 2);
        QCOMPARE(read("orders.JSONL").faults.first().line, 1);
        QCOMPARE(read("orders.JSONL").records.size(), 1);
    }

    void file_thatCannotBeRead_isNamed() {
        QTemporaryDir dir;
        RecordFile records;
        QString error;
        QVERIFY(!readRecordFile(dir.filePath("none"), &records, &error));
        QVERIFY2(error.contains(dir.filePath("none")), qPrintable(error));
        QVERIFY(!readRecordFile(dir.path(), &records, &error));
        QVERIFY2(error.contains("it is a folder"), qPrintable(error));
    }

    void manyLines_areReadInTime() {
        QByteArray bytes = "symbol,orderQty,remark\n";
        for (int i = 0; i < 100000; ++i) {
            bytes += "600000.SH," + QByteArray::number(i) + ",\"a, b\"\n";
        }
        const RecordFile file = parseRecords(bytes);
        QCOMPARE(file.records.size(), 100000);
        QCOMPARE(file.records.last().line, 100001);
        QCOMPARE(file.records.last().fields.value("orderQty").toInt(), 99999);
    }
};

QTEST_GUILESS_MAIN(RecordFileTest)
#include "record_file_test.moc"
