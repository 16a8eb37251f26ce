#include "small_disk.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>

namespace {

constexpr int kNoMount = 77;
constexpr int kLongestText = 4096;

bool writeText(const char* path, const QByteArray& text) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

/// Mounts a disk for this process only; false when the system does not allow it.
bool mountDisk(const QString& dir) {
    const QByteArray self = "0 " + QByteArray::number(getuid()) + " 1";
    const QByteArray group = "0 " + QByteArray::number(getgid()) + " 1";
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeText("/proc/self/uid_map", self) &&
           writeText("/proc/self/setgroups", "deny") && writeText("/proc/self/gid_map", group) &&
           mount("none", qPrintable(dir), "tmpfs", 0, "size=256k") == 0;
}

QString fillFile(const QString& dir) {
    return dir + QStringLiteral("/filler");
}

[[noreturn]] void runInChild(const QString& dir, const std::function<QString()>& body, int end) {
    if (!mountDisk(dir)) {
        _exit(kNoMount);
    }
    const QByteArray bytes = body().toUtf8().left(kLongestText);
    const bool sent = write(end, bytes.constData(), size_t(bytes.size())) == bytes.size();
    _exit(sent ? 0 : 1);
}

}  // namespace

SmallDisk::Result SmallDisk::run(const QString& dir, const std::function<QString()>& body,
                                 QString* text) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return Result::Failed;
    }
    const pid_t child = fork();
    if (child == 0) {
        runInChild(dir, body, ends[1]);
    }
    close(ends[1]);
    QByteArray bytes(kLongestText, '\0');
    const ssize_t size = read(ends[0], bytes.data(), size_t(bytes.size()));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    *text = QString::fromUtf8(bytes.left(int(qMax<ssize_t>(size, 0))));
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoMount) {
        return Result::NotAllowed;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 && !text->isEmpty() ? Result::Done
                                                                             : Result::Failed;
}

void SmallDisk::fill(const QString& dir, int left) {
    const int file = open(qPrintable(fillFile(dir)), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
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

void SmallDisk::removeFill(const QString& dir) {
    QFile::remove(fillFile(dir));
}
