#include "home_mark.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>

namespace {

inline const QString kFileName = QStringLiteral(".velmar-home");
inline const QByteArray kOfScenario = QByteArrayLiteral("made-by=scenario");
inline const QByteArray kOfClient = QByteArrayLiteral("made-by=client");
constexpr qint64 kMostBytes = 4096;

/// A home of a version that wrote no mark. Its client.ini is missing when no setting was ever
/// saved; the market's file then identifies it.
bool isOlderHome(const QDir& dir) {
    const auto isFile = [&dir](const char* name) {
        return QFileInfo(dir.filePath(QLatin1String(name))).isFile();
    };
    const auto isFolder = [&dir](const char* name) {
        return QFileInfo(dir.filePath(QLatin1String(name))).isDir();
    };
    return (isFile("settings/client.ini") && isFolder("market")) ||
           (isFolder("settings") && isFile("market/market.sqlite"));
}

bool isOfScenario(const QDir& dir) {
    QFile mark(dir.filePath(kFileName));
    return mark.open(QIODevice::ReadOnly) &&
           mark.read(kMostBytes).split('\n').contains(kOfScenario);
}

/// Creates the mark unless another process has done so meanwhile. A temporary file that is renamed
/// would make the folder look foreign to that process.
bool writeMark(const QDir& dir, HomeMark::Owner owner, QString* error) {
    const QByteArray text = "A home folder of velmar-client: settings, sample market and log.\n" +
                            (owner == HomeMark::Owner::Scenario ? kOfScenario : kOfClient) + '\n';
    const QString file = dir.filePath(kFileName);
    const int descriptor =
        ::open(QFile::encodeName(file).constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
    bool written = descriptor >= 0 || errno == EEXIST;
    if (descriptor >= 0) {
        written = ::write(descriptor, text.constData(), static_cast<size_t>(text.size())) ==
                  static_cast<ssize_t>(text.size());
        written = ::close(descriptor) == 0 && written;
    }
    if (!written) {
        *error = QStringLiteral("cannot write %1: %2")
                     .arg(file, QString::fromLocal8Bit(std::strerror(errno)));
    }
    return written;
}

struct Contents {
    bool isEmpty = false;
    bool isMarked = false;
    bool isOlder = false;  ///< a home of a version without marks

    bool isForeign() const { return !isEmpty && !isMarked && !isOlder; }
};

/// Lists the folder once: the mark is the first file of a home, so a process that is making this
/// home at the same time never shows other files without it.
Contents contentsOf(const QDir& dir) {
    const QStringList entries =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    Contents contents;
    contents.isEmpty = entries.isEmpty();
    contents.isMarked = entries.contains(kFileName);
    contents.isOlder = !contents.isMarked && isOlderHome(dir);
    return contents;
}

HomeMark::Outcome refuse(const QString& text, QString* error) {
    *error = text;
    return HomeMark::Outcome::Refused;
}

}  // namespace

QString HomeMark::fileName() {
    return kFileName;
}

bool HomeMark::isForeign(const QString& folder) {
    return QFileInfo(folder).isDir() && contentsOf(QDir(folder)).isForeign();
}

HomeMark::Outcome HomeMark::take(const QString& folder, Owner owner, QString* error) {
    const QFileInfo info(folder);
    if (info.exists() && !info.isDir()) {
        return refuse(QStringLiteral("%1 is not a folder").arg(folder), error);
    }
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("cannot create the folder %1").arg(folder);
        return Outcome::Unwritable;
    }
    if (!info.isReadable()) {
        *error = QStringLiteral("cannot read the folder %1").arg(folder);
        return Outcome::Unwritable;
    }
    const QDir dir(folder);
    const Contents contents = contentsOf(dir);
    if (contents.isForeign()) {
        return refuse(QStringLiteral("%1 is not empty and is not a home of velmar-client; --home "
                                     "takes a new or empty folder, or a home made before")
                          .arg(folder),
                      error);
    }
    if (owner == Owner::Scenario &&
        (contents.isOlder || (contents.isMarked && !isOfScenario(dir)))) {
        return refuse(QStringLiteral("%1 is a home that the client made; a scenario takes a new or "
                                     "empty folder, or a home that a scenario made")
                          .arg(folder),
                      error);
    }
    if (!contents.isMarked && !writeMark(dir, contents.isOlder ? Owner::Client : owner, error)) {
        return Outcome::Unwritable;
    }
    return Outcome::Taken;
}
