#include "text_table.h"

#include <QtTest>

class TextTableTest : public QObject {
    Q_OBJECT

private slots:
    void width_ofText_countsTerminalColumns_data();
    void width_ofText_countsTerminalColumns();
    void cut_tooWideText_endsInEllipsisWithinTheColumns_data();
    void cut_tooWideText_endsInEllipsisWithinTheColumns();
    void pad_anyText_fillsExactlyTheColumns();
    void lines_ofMixedNames_startEachColumnAtOnePlace();
    void lines_narrowTerminal_fitAndKeepTheFirstColumn_data();
    void lines_narrowTerminal_fitAndKeepTheFirstColumn();
    void lines_missingCells_areEmpty();
    void lines_controlCharactersInCells_areReplaced();
};

void TextTableTest::width_ofText_countsTerminalColumns_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("latin") << QStringLiteral("Account 1") << 9;
    QTest::newRow("chinese") << QStringLiteral("虚远资产") << 8;
    QTest::newRow("mixed") << QStringLiteral("虚远1号") << 7;
    QTest::newRow("full-width bracket") << QStringLiteral("（A）") << 5;
    QTest::newRow("ideographic space") << QStringLiteral("　") << 2;
    QTest::newRow("half-width katakana") << QStringLiteral("ｱ") << 1;
    QTest::newRow("kana") << QStringLiteral("あア") << 4;
    QTest::newRow("hangul") << QStringLiteral("한글") << 4;
    QTest::newRow("accent") << QStringLiteral("é") << 1;
    QTest::newRow("combining accent") << QStringLiteral("e\u0301") << 1;
    QTest::newRow("half fill space") << QStringLiteral("\u303F") << 1;
    QTest::newRow("last before CJK") << QStringLiteral("\u2E7F") << 1;
    QTest::newRow("first of CJK") << QStringLiteral("\u4E00") << 2;
    QTest::newRow("surrogates") << QString::fromUcs4(U"\U00020000", 1) << 2;
    QTest::newRow("surrogates of one column") << QString::fromUcs4(U"\U0001D400", 1) << 1;
}

void TextTableTest::width_ofText_countsTerminalColumns() {
    QFETCH(QString, text);
    QFETCH(int, width);
    QCOMPARE(displayWidth(text), width);
}

void TextTableTest::cut_tooWideText_endsInEllipsisWithinTheColumns_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("cut");
    QTest::newRow("fits") << QStringLiteral("虚远") << 4 << QStringLiteral("虚远");
    QTest::newRow("between") << QStringLiteral("虚远") << 3 << QStringLiteral("虚…");
    QTest::newRow("no half character") << QStringLiteral("虚远资") << 4 << QStringLiteral("虚…");
    QTest::newRow("latin") << QStringLiteral("abcdef") << 4 << QStringLiteral("abc…");
    QTest::newRow("one column") << QStringLiteral("虚远") << 1 << QStringLiteral("…");
    QTest::newRow("none") << QStringLiteral("abc") << 0 << QString();
}

void TextTableTest::cut_tooWideText_endsInEllipsisWithinTheColumns() {
    QFETCH(QString, text);
    QFETCH(int, columns);
    QTEST(cutToWidth(text, columns), "cut");
}

void TextTableTest::pad_anyText_fillsExactlyTheColumns() {
    for (const QString& text : {QStringLiteral("虚远资产管理"), QStringLiteral("a"), QString()}) {
        for (int columns = 0; columns < 16; ++columns) {
            QCOMPARE(displayWidth(padToWidth(text, columns)), columns);
        }
    }
}

void TextTableTest::lines_ofMixedNames_startEachColumnAtOnePlace() {
    TextTable table({QStringLiteral("Account"), QStringLiteral("Name"), QStringLiteral("End")});
    table.addRow({QStringLiteral("1"), QStringLiteral("虚远一号"), QStringLiteral("x")});
    table.addRow({QStringLiteral("200001"), QStringLiteral("Plain"), QStringLiteral("x")});
    table.addRow({QStringLiteral("账户"), QStringLiteral("混 mixed"), QStringLiteral("x")});
    const QStringList lines = table.lines(80);
    QCOMPARE(lines.size(), 5);
    for (const QString& line : lines.mid(2)) {
        // "Account" and "虚远一号" are the widest cells; two spaces separate columns.
        QCOMPARE(displayWidth(line.left(line.lastIndexOf(QLatin1Char('x')))), 7 + 2 + 8 + 2);
    }
    QCOMPARE(displayWidth(lines.at(0).left(lines.at(0).indexOf(QStringLiteral("End")))), 19);
    QCOMPARE(lines.at(1), QStringLiteral("-------  --------  ---"));
}

void TextTableTest::lines_narrowTerminal_fitAndKeepTheFirstColumn_data() {
    QTest::addColumn<int>("columns");
    for (const int columns : {60, 50, 40, 32, 31, 20, 10, 5, 1}) {
        QTest::addRow("%d", columns) << columns;
    }
}

void TextTableTest::lines_narrowTerminal_fitAndKeepTheFirstColumn() {
    QFETCH(int, columns);
    TextTable table({QStringLiteral("Account"), QStringLiteral("Name"), QStringLiteral("Product"),
                     QStringLiteral("End")});
    table.addRow({QStringLiteral("2000012"), QStringLiteral("虚远资产管理一号集合计划"),
                  QStringLiteral("虚远稳健增长产品"), QStringLiteral("x")});
    const QStringList lines = table.lines(columns);
    for (const QString& line : lines) {
        QVERIFY2(displayWidth(line) <= columns, qPrintable(line));
    }
    const QString key = QStringLiteral("2000012");
    QCOMPARE(lines.at(2).startsWith(key), columns >= key.size());
    // Names are cut before whole columns are dropped.
    QCOMPARE(lines.at(0).contains(QStringLiteral("End")), columns >= 32);
}

void TextTableTest::lines_missingCells_areEmpty() {
    TextTable table({QStringLiteral("A"), QStringLiteral("B")});
    table.addRow({});
    table.addRow({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")});
    QCOMPARE(table.lines(80), QStringList({QStringLiteral("A  B"), QStringLiteral("-  -"),
                                           QString(), QStringLiteral("1  2")}));
}

void TextTableTest::lines_controlCharactersInCells_areReplaced() {
    TextTable table({QStringLiteral("A"), QStringLiteral("B")});
    table.addRow({QStringLiteral("red\x1b[31m\n"), QStringLiteral("x\u0085\u202E")});
    table.addRow({QStringLiteral("plain"), QStringLiteral("x")});
    const QStringList lines = table.lines(80);
    QCOMPARE(lines.at(2), QStringLiteral("red\uFFFD[31m\uFFFD  x\uFFFD\uFFFD"));
    QCOMPARE(lines.at(3), QStringLiteral("plain      x"));
}

QTEST_GUILESS_MAIN(TextTableTest)
#include "text_table_test.moc"
