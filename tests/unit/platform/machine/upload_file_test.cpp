#include "upload_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTime>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "small_disk.h"

namespace {

constexpr qint64 kLarge = 1 << 20;

/// The records in a file; fails the test for any other line.
QList<QVariantMap> linesOf(const QString& name) {
    QFile file(name);
    QList<QVariantMap> lines;
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd()) {
            const QJsonDocument line = QJsonDocument::fromJson(file.readLine());
            if (!line.isObject()) {
                QTest::qFail("a line is no record", __FILE__, __LINE__);
            }
            lines.append(line.toVariant().toMap());
        }
    }
    return lines;
}

}  // namespace

class UploadFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void append_makesTheFolderAndKeepsTheLines() {
        UploadFile uploads(kLarge);
        QString error;
        QVERIFY(uploads.append(path("log/a.jsonl"), {{"n", 1}}, &error));
        QVERIFY(uploads.append(path("log/a.jsonl"), {{"n", 2}}, &error));
        QCOMPARE(error, QString());
        const QList<QVariantMap> lines = linesOf(path("log/a.jsonl"));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0).value("n").toInt(), 1);
        QCOMPARE(lines.at(1).value("n").toInt(), 2);
    }

    void valuesOfOtherKinds_haveATextForm() {
        UploadFile uploads(kLarge);
        QString error;
        QVERIFY(uploads.append(path("a"),
                               {{"text", "第一行\n第二行\"x\""},
                                {"time", QTime(9, 30)},
                                {"nothing", QVariant()},
                                {"record", QVariantMap{{"list", QVariantList{1, "b"}}}}},
                               &error));
        const QList<QVariantMap> lines = linesOf(path("a"));
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines.first().value("text").toString(), QString("第一行\n第二行\"x\""));
        QVERIFY(lines.first().value("time").toString().startsWith("09:30:00"));
        QVERIFY(lines.first().contains("nothing"));
        QCOMPARE(lines.first().value("record").toMap().value("list").toList().size(), 2);
    }

    void fileThatIsFull_isRenamedBeforeTheNextLine() {
        UploadFile uploads(20);
        QString error;
        QVERIFY(uploads.append(path("a"), {{"n", 1}}, &error));
        QVERIFY(uploads.append(path("a"), {{"n", 2}}, &error));
        QVERIFY(uploads.append(path("a"), {{"n", 3}}, &error));
        // Two lines have 16 bytes, three have more than 20.
        QCOMPARE(linesOf(path("a")).size(), 3);
        QVERIFY(!QFile::exists(path("a.1")));
        QVERIFY(uploads.append(path("a"), {{"n", 4}}, &error));
        QCOMPARE(linesOf(path("a")).size(), 1);
        QCOMPARE(linesOf(path("a")).first().value("n").toInt(), 4);
        QCOMPARE(linesOf(path("a.1")).size(), 3);
    }

    void fileThatIsFullAgain_replacesTheOneBefore() {
        UploadFile uploads(1);
        QString error;
        for (int n = 1; n <= 3; ++n) {
            QVERIFY(uploads.append(path("a"), {{"n", n}}, &error));
        }
        QCOMPARE(linesOf(path("a")).first().value("n").toInt(), 3);
        QCOMPARE(linesOf(path("a.1")).size(), 1);
        QCOMPARE(linesOf(path("a.1")).first().value("n").toInt(), 2);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), 2);
    }

    void folderInPlaceOfTheFile_isAnError() {
        QVERIFY(QDir().mkpath(path("a")));
        UploadFile uploads(kLarge);
        QString error;
        QVERIFY(!uploads.append(path("a"), {{"n", 1}}, &error));
        QVERIFY2(error.startsWith(path("a") + " cannot be written"), qPrintable(error));
    }

    void fileInPlaceOfTheFolder_isAnError() {
        QFile file(path("log"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        UploadFile uploads(kLarge);
        QString error;
        QVERIFY(!uploads.append(path("log/a"), {{"n", 1}}, &error));
        QVERIFY(error.contains("cannot be written"));
    }

    void fullFileThatCannotBeRenamed_getsNoMoreLines() {
        QVERIFY(QDir().mkpath(path("a.1")));
        UploadFile uploads(1);
        QString error;
        QVERIFY(uploads.append(path("a"), {{"n", 1}}, &error));
        QVERIFY(!uploads.append(path("a"), {{"n", 2}}, &error));
        QCOMPARE(error, path("a") + " is full and cannot be renamed");
        QCOMPARE(linesOf(path("a")).size(), 1);
        // As soon as it can be renamed, it goes on.
        QVERIFY(QDir().rmdir(path("a.1")));
        QVERIFY(uploads.append(path("a"), {{"n", 3}}, &error));
        QCOMPARE(linesOf(path("a.1")).size(), 1);
    }

    void fullDisk_leavesNoPartOfALine() {
        QString text;
        const auto result = SmallDisk::run(
            m_dir->path(),
            [this] {
                UploadFile uploads(kLarge);
                QString error;
                if (!uploads.append(path("a"), {{"n", 1}}, &error)) {
                    return "first line: " + error;
                }
                SmallDisk::fill(m_dir->path(), 0);
                if (uploads.append(path("a"), {{"text", QString(100000, 'x')}}, &error)) {
                    return QString("the line fits on a full disk");
                }
                SmallDisk::removeFill(m_dir->path());
                if (!uploads.append(path("a"), {{"n", 2}}, &error)) {
                    return "later line: " + error;
                }
                QFile file(path("a"));
                return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                                      : file.errorString();
            },
            &text);
        if (result == SmallDisk::Result::NotAllowed) {
            QSKIP("the system does not allow a test to mount a disk");
        }
        QVERIFY(result == SmallDisk::Result::Done);
        QCOMPARE(text, QString("{\"n\":1}\n{\"n\":2}\n"));
    }

    void manyThreads_writeWholeLines() {
        UploadFile uploads(kLarge);
        std::atomic<int> written{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i) {
                    QString error;
                    written += uploads.append(path("a"), {{"n", i}}, &error) ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(written.load(), 200);
        QCOMPARE(linesOf(path("a")).size(), 200);
    }

private:
    QString path(const QString& name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(UploadFileTest)
#include "upload_file_test.moc"
