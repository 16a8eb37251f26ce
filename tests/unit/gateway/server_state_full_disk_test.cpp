#include <QTemporaryDir>
#include <QtTest>

#include "server_state.h"
#include "small_disk.h"

class ServerStateFullDiskTest : public QObject {
    Q_OBJECT

private slots:
    void open_onAFullDisk_namesTheDisk_data() {
        QTest::addColumn<int>("left");
        QTest::newRow("no byte") << 0;
        QTest::newRow("some pages") << 8192;
        QTest::newRow("nearly enough") << 32768;
    }

    void open_onAFullDisk_namesTheDisk() {
        QFETCH(int, left);
        const QTemporaryDir dir;
        QString text;
        const SmallDisk::Result result = SmallDisk::run(
            dir.path(),
            [&dir, left]() -> QString {
                SmallDisk::fill(dir.path(), left);
                QString error;
                const auto state = ServerState::open(dir.filePath("state.sqlite"), &error);
                return state ? QStringLiteral("opened") : error;
            },
            &text);
        expectDisk(result, text);
    }

    void write_onAFullDisk_namesTheDisk_andLeavesTheStateUsable() {
        const QTemporaryDir dir;
        QString text;
        const SmallDisk::Result result = SmallDisk::run(
            dir.path(),
            [&dir]() -> QString {
                QString error;
                const auto state = ServerState::open(dir.filePath("state.sqlite"), &error);
                if (!state || !state->write("t", "before", {{"a", 1}}, &error)) {
                    return QStringLiteral("not opened: ") + error;
                }
                SmallDisk::fill(dir.path(), 0);
                if (state->write("t", "full", {{"a", QString(200000, 'x')}}, &error)) {
                    return QStringLiteral("written");
                }
                SmallDisk::removeFill(dir.path());
                QString second;
                const bool after = state->write("t", "after", {{"a", 2}}, &second);
                const bool kept = state->record("t", "before") && !state->record("t", "full");
                return after && kept ? error : QStringLiteral("unusable: ") + second;
            },
            &text);
        expectDisk(result, text);
    }

private:
    static void expectDisk(SmallDisk::Result result, const QString& text) {
        if (result == SmallDisk::Result::NotAllowed) {
            QSKIP("this system does not allow a test to mount a disk");
        }
        QVERIFY(result == SmallDisk::Result::Done);
        QVERIFY2(text.contains("the disk is full") && text.contains("free some space"),
                 qPrintable(text));
        QVERIFY2(!text.contains("damaged") && !text.contains("move it away"), qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(ServerStateFullDiskTest)
#include "server_state_full_disk_test.moc"
