// The patches of a sample market and their zip files.
#include <QSet>
#include <QtTest>

#include "child_process.h"
#include "market_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "zip_archive.h"

namespace {

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// What another program reads from an archive: the name and the content of each file.
QString listed(const QString& archive) {
    const ChildResult result = runChild("python3", {"-c",
                                                    "import sys, zipfile\n"
                                                    "zip = zipfile.ZipFile(sys.argv[1])\n"
                                                    "assert zip.testzip() is None\n"
                                                    "for name in zip.namelist():\n"
                                                    "    print(name, zip.read(name).hex())\n",
                                                    archive});
    return result.succeeded() ? result.output.trimmed() : "failed: " + result.output;
}

}  // namespace

class MarketPatchesTest : public QObject {
    Q_OBJECT

private slots:
    void zip_withContent_isReadByAnotherProgram_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("补丁\n");
        QByteArray all;
        for (int i = 0; i < 1000; ++i) {
            all.append(static_cast<char>(i));
        }
        QTest::newRow("every byte") << all;
    }
    void zip_withContent_isReadByAnotherProgram() {
        QFETCH(QByteArray, content);
        const QTemporaryDir dir;
        const QString file = dir.filePath("a.zip");
        QVERIFY(write(file, zipOf("a.txt", content)));
        QCOMPARE(listed(file), ("a.txt " + QString::fromLatin1(content.toHex())).trimmed());
    }

    void zip_brokenByte_isNoticedByTheOtherProgram() {
        const QTemporaryDir dir;
        const QString file = dir.filePath("a.zip");
        QByteArray zip = zipOf("a.txt", "content");
        QVERIFY(zip.contains("content"));
        zip.replace("content", "contend");
        QVERIFY(write(file, zip));
        QVERIFY(listed(file).startsWith("failed"));
    }

    void patch_ofTheMarket_isForThisVersionAndHasItsFile() {
        MarketFixture market;
        QString error;
        QVERIFY2(market.make(&error), qPrintable(error));
        QCOMPARE(column(market.store(), "SELECT data_version FROM client_patch"),
                 QStringList(VelmarUtils::GetAppVersion()));
        const QString file = column(market.store(), "SELECT file FROM client_patch").value(0);
        QVERIFY(QDir::isRelativePath(file));
        const QString text = listed(QDir(market.path()).filePath(file));
        QVERIFY2(text.startsWith("README.txt "), qPrintable(text));
    }

    void patch_sameOptions_isTheSameFile() {
        MarketFixture first;
        MarketFixture second;
        QString error;
        QVERIFY2(first.make(&error), qPrintable(error));
        QVERIFY2(second.make(&error), qPrintable(error));
        const QString file = column(first.store(), "SELECT file FROM client_patch").value(0);
        const QByteArray hash = hashOf(QDir(first.path()).filePath(file));
        QVERIFY(!hash.isEmpty());
        QCOMPARE(hashOf(QDir(second.path()).filePath(file)), hash);
    }

    void patch_fileThatCannotBeWritten_failsTheMarket() {
        const QTemporaryDir dir;
        QVERIFY(write(dir.filePath("patches"), "a file"));
        QString error;
        QVERIFY(!makeSampleMarket(dir.path(), smallMarket(), {}, &error));
        QVERIFY2(error.contains("patches"), qPrintable(error));
        QVERIFY(!QFile::exists(marketStoreFile(dir.path())));
    }
};

QTEST_GUILESS_MAIN(MarketPatchesTest)
#include "market_patches_test.moc"
