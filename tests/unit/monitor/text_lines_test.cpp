#include "text_lines.h"

#include <sys/stat.h>

#include <QTemporaryDir>
#include <QTextCodec>
#include <QtTest>

#include "crash_files.h"
#include "log_capture.h"

namespace {

constexpr int kMiB = 1024 * 1024;
inline const QString kWarning = QStringLiteral("a line above 1 MiB is left out of");

}  // namespace

class TextLinesTest : public QObject {
    Q_OBJECT

private slots:
    void lines_endedInAnyWay_comeWithoutTheirEnds() {
        QCOMPARE(linesOf("a\r\nb\nc"), (QStringList{"a", "b", "c"}));
        QCOMPARE(linesOf("a\n\r\n\nb\n"), (QStringList{"a", "", "", "b"}));
        QCOMPARE(linesOf(""), QStringList());
        QCOMPARE(linesOf("\n"), QStringList{""});
    }

    void text_inAnyLocale_isUtf8() {
        QTextCodec* const before = QTextCodec::codecForLocale();
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        const QStringList lines = linesOf("崩溃|时间\n");
        QTextCodec::setCodecForLocale(before);
        QCOMPARE(lines, QStringList{QString::fromUtf8("崩溃|时间")});
    }

    void line_thatIsNoText_doesNotHideTheNextOne() {
        const QByteArray bytes("\xff\xfe\xc3\n\0\0x\nnext\n", 13);
        const QStringList lines = linesOf(bytes);
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines.first().contains(QChar::ReplacementCharacter));
        QCOMPARE(lines.at(1), QString::fromLatin1("\0\0x", 3));
        QCOMPARE(lines.last(), QString("next"));
    }

    void lineOfOneMebibyte_inAnyPlace_isRead() {
        LogCapture log;
        const QByteArray line(kMiB, 'x');
        QCOMPARE(sizesOf(line), QList<int>{kMiB});
        QCOMPARE(sizesOf(line + '\n'), QList<int>{kMiB});
        QCOMPARE(sizesOf("a\n" + line + "\nb"), (QList<int>{1, kMiB, 1}));
        QVERIFY(!log.contains(kWarning));
    }

    void longerLine_inAnyPlace_isLeftOutWithOneWarning() {
        const QByteArray line(kMiB + 1, 'x');
        for (const QByteArray& content :
             {line, line + '\n', "a\n" + line + "\nb\n", line + line + '\n' + line + "\nb",
              "a\n" + line + line + line}) {
            LogCapture log;
            for (const int size : sizesOf(content)) {
                QCOMPARE(size, 1);
            }
            QCOMPARE(log.texts(QtWarningMsg).filter(kWarning).size(), 1);
            QVERIFY(log.contains(QtWarningMsg, m_path));
        }
        QCOMPARE(linesOf("a\n" + line + "\nb\n" + line + "\nc"), (QStringList{"a", "b", "c"}));
    }

    void open_whateverIsNoFile_isRefusedWithoutWaiting() {
        const QString folder = m_dir.filePath("folder");
        const QString circle = m_dir.filePath("circle");
        const QString pipe = m_dir.filePath("pipe");
        QVERIFY(QDir().mkpath(folder));
        linkInACircle(circle);
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0644), 0);
        for (const QString& path : {folder, circle, pipe, m_dir.filePath("missing")}) {
            for (const auto mode : {QIODevice::ReadOnly, QIODevice::ReadWrite}) {
                QFile file(path);
                QVERIFY2(!openForLines(file, mode), qPrintable(path));
                QVERIFY(!file.isOpen());
            }
        }
        QVERIFY(!QFileInfo::exists(m_dir.filePath("missing")));
    }

    void open_aLinkToAFile_isAllowed() {
        writeFile(m_path, "a\n");
        const QString link = m_dir.filePath("link");
        QVERIFY(QFile::link(m_path, link));
        QFile file(link);
        QVERIFY(openForLines(file, QIODevice::ReadOnly));
    }

private:
    QStringList linesOf(const QByteArray& content) const {
        writeFile(m_path, content);
        QStringList lines;
        QFile file(m_path);
        if (openForLines(file, QIODevice::ReadOnly)) {
            forEachLine(file, [&lines](const QString& line) { lines.append(line); });
        }
        return lines;
    }
    QList<int> sizesOf(const QByteArray& content) const {
        QList<int> sizes;
        for (const QString& line : linesOf(content)) {
            sizes.append(line.size());
        }
        return sizes;
    }

    QTemporaryDir m_dir;
    const QString m_path = m_dir.filePath("lines.txt");
};

QTEST_GUILESS_MAIN(TextLinesTest)
#include "text_lines_test.moc"
