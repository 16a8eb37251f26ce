#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "server_state.h"

namespace {

constexpr int kNoMount = 77;

bool writeText(const char* path, const QByteArray& text) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

/// Mounts a disk for this process only; false when the system does not allow it.
bool mountSmallDisk(const QString& dir) {
    const QByteArray self = "0 " + QByteArray::number(getuid()) + " 1";
    const QByteArray group = "0 " + QByteArray::number(getgid()) + " 1";
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeText("/proc/self/uid_map", self) &&
           writeText("/proc/self/setgroups", "deny") && writeText("/proc/self/gid_map", group) &&
           mount("none", qPrintable(dir), "tmpfs", 0, "size=256k") == 0;
}

/// Fills the disk except for `left` bytes.
void fill(const QString& dir, int left) {
    const int file = open(qPrintable(dir + "/filler"), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    const QByteArray block(4096, 'x');
    off_t size = 0;
    for (ssize_t written = 1; written > 0; size += written) {
        written = write(file, block.constData(), size_t(block.size()));
        if (written <= 0) {
            break;
        }
    }
    if (ftruncate(file, size - left) != 0) {
        _exit(1);
    }
    close(file);
}

/// Runs `body` in a child process, which has a disk of its own. Returns the exit code; `text` gets
/// what it returned.
int inChild(const std::function<QString()>& body, QString* text) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        const QByteArray bytes = body().toUtf8();
        const bool sent = write(ends[1], bytes.constData(), size_t(bytes.size())) == bytes.size();
        _exit(bytes.isEmpty() ? kNoMount : sent ? 0 : 1);
    }
    close(ends[1]);
    QByteArray bytes(4096, '\0');
    const ssize_t size = read(ends[0], bytes.data(), size_t(bytes.size()));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    *text = QString::fromUtf8(bytes.left(int(qMax<ssize_t>(size, 0))));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

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
        const int code = inChild(
            [&dir, left]() -> QString {
                if (!mountSmallDisk(dir.path())) {
                    return {};
                }
                fill(dir.path(), left);
                QString error;
                const auto state = ServerState::open(dir.filePath("state.sqlite"), &error);
                return state ? QStringLiteral("opened") : error;
            },
            &text);
        expectDisk(code, text);
    }

    void write_onAFullDisk_namesTheDisk_andLeavesTheStateUsable() {
        const QTemporaryDir dir;
        QString text;
        const int code = inChild(
            [&dir]() -> QString {
                if (!mountSmallDisk(dir.path())) {
                    return {};
                }
                QString error;
                const auto state = ServerState::open(dir.filePath("state.sqlite"), &error);
                if (!state || !state->write("t", "before", {{"a", 1}}, &error)) {
                    return QStringLiteral("not opened: ") + error;
                }
                fill(dir.path(), 0);
                if (state->write("t", "full", {{"a", QString(200000, 'x')}}, &error)) {
                    return QStringLiteral("written");
                }
                QFile::remove(dir.filePath("filler"));
                QString second;
                const bool after = state->write("t", "after", {{"a", 2}}, &second);
                const bool kept = state->record("t", "before") && !state->record("t", "full");
                return after && kept ? error : QStringLiteral("unusable: ") + second;
            },
            &text);
        expectDisk(code, text);
    }

private:
    static void expectDisk(int code, const QString& text) {
        if (code == kNoMount) {
            QSKIP("this system does not allow a test to mount a disk");
        }
        QCOMPARE(code, 0);
        QVERIFY2(text.contains("the disk is full") && text.contains("free some space"),
                 qPrintable(text));
        QVERIFY2(!text.contains("damaged") && !text.contains("move it away"), qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(ServerStateFullDiskTest)
#include "server_state_full_disk_test.moc"
