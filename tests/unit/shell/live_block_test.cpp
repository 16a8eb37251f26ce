#include "live_block.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

/// A terminal that understands what the block uses: line end, carriage return, cursor up, and the
/// two erasing sequences.
class Screen {
public:
    explicit Screen(const QStringList& above) : m_lines(above) { m_lines.append(QString()); }

    void write(const QString& text) {
        for (int i = 0; i < text.size(); ++i) {
            if (text.at(i) == '\x1b') {
                const int end = text.indexOf(QRegularExpression("[A-Z]"), i);
                obey(text.mid(i + 2, end - i - 2).toInt(), text.at(end));
                i = end;
            } else if (text.at(i) == '\n') {
                row() += 1;
                m_column = 0;
                if (row() == m_lines.size()) {
                    m_lines.append(QString());
                }
            } else if (text.at(i) == '\r') {
                m_column = 0;
            } else {
                QString& line = m_lines[row()];
                line = line.leftJustified(m_column).replace(m_column, 1, text.at(i));
                ++m_column;
            }
        }
    }
    /// The lines down to the last one that is not empty.
    QStringList lines() const {
        QStringList shown = m_lines;
        while (!shown.isEmpty() && shown.last().isEmpty()) {
            shown.removeLast();
        }
        return shown;
    }

private:
    int& row() {
        if (m_row < 0) {
            m_row = m_lines.size() - 1;
        }
        return m_row;
    }
    void obey(int number, QChar command) {
        if (command == 'A') {
            row() -= number;
            QVERIFY(row() >= 0);
        } else if (command == 'K') {
            m_lines[row()].truncate(m_column);
        } else if (command == 'J') {
            m_lines[row()].truncate(m_column);
            for (int below = row() + 1; below < m_lines.size(); ++below) {
                m_lines[below].clear();
            }
        } else {
            QFAIL("an unknown sequence");
        }
    }

    QStringList m_lines;
    int m_row = -1;
    int m_column = 0;
};

}  // namespace

class LiveBlockTest : public QObject {
    Q_OBJECT

private slots:
    void redrawnLines_replaceTheOnesBefore_data() {
        QTest::addColumn<QStringList>("first");
        QTest::addColumn<QStringList>("second");
        QTest::newRow("equal height") << QStringList{"one", "two"} << QStringList{"three", "four"};
        QTest::newRow("shorter lines") << QStringList{"a long one", "b"} << QStringList{"c", "d"};
        QTest::newRow("higher") << QStringList{"one"} << QStringList{"a", "b", "c"};
        QTest::newRow("lower") << QStringList{"a", "b", "c"} << QStringList{"one"};
        QTest::newRow("one line") << QStringList{"one"} << QStringList{"two"};
        QTest::newRow("with an empty line")
            << QStringList{"a", "", "c"} << QStringList{"", "b", "c"};
    }
    void redrawnLines_replaceTheOnesBefore() {
        QFETCH(QStringList, first);
        QFETCH(QStringList, second);
        Screen screen({"above"});
        screen.write(redrawText(first, 0));
        QCOMPARE(screen.lines(), QStringList("above") + first);
        screen.write(redrawText(second, first.size()));
        QCOMPARE(screen.lines(), QStringList("above") + second);
        screen.write(redrawText(first, second.size()));
        QCOMPARE(screen.lines(), QStringList("above") + first);
    }

    void outputAfterTheBlock_standsBelowIt() {
        Screen screen({});
        screen.write(redrawText({"a", "b"}, 0) + "\nafter");
        QCOMPARE(screen.lines(), (QStringList{"a", "b", "after"}));
    }
};

QTEST_APPLESS_MAIN(LiveBlockTest)
#include "live_block_test.moc"
