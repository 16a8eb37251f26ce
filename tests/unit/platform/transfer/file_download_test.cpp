#include "file_download.h"

#include <sys/stat.h>

#include <QDir>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>
#include <future>

#include "scripted_web_server.h"
#include "wait_for.h"

namespace {

using Answer = ScriptedWebServer::Answer;
using namespace std::chrono_literals;

bool neverCloses() {
    return false;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// Bytes of which no part repeats soon.
QByteArray someBytes(int count) {
    QByteArray bytes;
    bytes.reserve(count);
    quint32 state = 1;
    for (int i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes.append(static_cast<char>(state >> 24U));
    }
    return bytes;
}

}  // namespace

class FileDownloadTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_limits = FileDownload::Limits();
    }

    void http_statedLength_isTheFile() {
        const QByteArray body = someBytes(700000);
        ScriptedWebServer server(
            [&](const QByteArray&) { return Answer{ScriptedWebServer::page(body)}; });
        QCOMPARE(fetch(server.address()), QString());
        QCOMPARE(contentOf(target()), body);
        QCOMPARE(files(), QStringList("a.zip"));
        QVERIFY(server.requests().first().startsWith("GET /patch.zip HTTP/1.1\r\n"));
    }

    void http_noStatedLength_isReadToTheEndOfTheConnection() {
        const QByteArray body = someBytes(70000);
        ScriptedWebServer server([&](const QByteArray&) {
            return Answer{"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + body};
        });
        QCOMPARE(fetch(server.address()), QString());
        QCOMPARE(contentOf(target()), body);
    }

    void http_packedBody_isStoredAsItCame() {
        const QByteArray body = someBytes(100);
        ScriptedWebServer server([&](const QByteArray&) {
            return Answer{ScriptedWebServer::page(body, "200 OK", "Content-Encoding: gzip\r\n")};
        });
        QCOMPARE(fetch(server.address()), QString());
        QCOMPARE(contentOf(target()), body);
        QVERIFY(server.requests().first().toLower().contains("accept-encoding: identity\r\n"));
    }

    void http_redirect_isFollowed() {
        ScriptedWebServer server([](const QByteArray& path) {
            return Answer{path == "/new.zip" ? ScriptedWebServer::page("moved")
                                             : ScriptedWebServer::page("old", "302 Found",
                                                                       "Location: /new.zip\r\n")};
        });
        QCOMPARE(fetch(server.address()), QString());
        QCOMPARE(contentOf(target()), QByteArray("moved"));
    }

    void http_endlessRedirects_endAtTheLimit() {
        ScriptedWebServer server([](const QByteArray& path) {
            const QByteArray next = QByteArray::number(path.mid(1).toInt() + 1);
            return Answer{ScriptedWebServer::page({}, "302 Found", "Location: /" + next + "\r\n")};
        });
        m_limits.mostRedirects = 3;
        const QString failure = fetch(server.address("/0"));
        const QNetworkReply::NetworkError expected = QNetworkReply::TooManyRedirectsError;
        QVERIFY2(failure.contains(QString("(error %1)").arg(expected)), qPrintable(failure));
        QVERIFY(files().isEmpty());
        // A request may be sent twice when its connection is closed.
        const QByteArray all = server.requests().join();
        QVERIFY(all.contains("GET /3 "));
        QVERIFY(!all.contains("GET /4 "));
    }

    void http_redirectToALocalFile_isRefused() {
        const QString secret = m_dir->filePath("secret");
        QVERIFY(write(secret, "secret"));
        ScriptedWebServer server([&](const QByteArray&) {
            return Answer{ScriptedWebServer::page(
                {}, "302 Found", "Location: " + QUrl::fromLocalFile(secret).toEncoded() + "\r\n")};
        });
        QVERIFY(!fetch(server.address()).isEmpty());
        QVERIFY(!QFile::exists(target()));
    }

    void http_badAnswer_leavesNoFile_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        const QByteArray large(1001, 'x');
        QTest::newRow("too large by its stated length")
            << ScriptedWebServer::page(large) << "it has more than 1000 bytes";
        QTest::newRow("too large without one")
            << QByteArray("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + large)
            << "it has more than 1000 bytes";
        QTest::newRow("too large in chunks")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3e9\r\n" + large +
                          "\r\n0\r\n\r\n")
            << "it has more than 1000 bytes";
        QTest::newRow("broken off")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf") << "";
        QTest::newRow("not found")
            << ScriptedWebServer::page("no such page", "404 Not Found") << "Not Found";
        QTest::newRow("server error")
            << ScriptedWebServer::page({}, "500 Internal Server Error") << "";
        QTest::newRow("no answer") << QByteArray() << "";
        QTest::newRow("garbage") << QByteArray("garbage\r\n\r\ngarbage") << "";
    }
    void http_badAnswer_leavesNoFile() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        ScriptedWebServer server([&](const QByteArray&) { return Answer{bytes}; });
        m_limits.mostBytes = 1000;
        const QString failure = fetch(server.address());
        QVERIFY(!failure.isEmpty());
        QVERIFY2(failure.contains(text), qPrintable(failure));
        QVERIFY2(files().isEmpty(), qPrintable(files().join(' ')));
    }

    void http_fileOfTheLargestSize_isTaken() {
        ScriptedWebServer server([](const QByteArray&) {
            return Answer{ScriptedWebServer::page(QByteArray(1000, 'x'))};
        });
        m_limits.mostBytes = 1000;
        QCOMPARE(fetch(server.address()), QString());
        QCOMPARE(contentOf(target()).size(), 1000);
    }

    void http_sourceThatStops_endsWithTheTime_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("before the header") << QByteArray();
        QTest::newRow("within the header") << QByteArray("HTTP/1.1 200");
        QTest::newRow("within the body")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
    }
    void http_sourceThatStops_endsWithTheTime() {
        QFETCH(QByteArray, bytes);
        ScriptedWebServer server([&](const QByteArray&) { return Answer{bytes, true}; });
        m_limits.total = 150ms;
        QCOMPARE(fetch(server.address()), QString("it was not complete after 150 ms"));
        QVERIFY(files().isEmpty());
    }

    void http_noServer_isAFailure() {
        QString address;
        {
            ScriptedWebServer server([](const QByteArray&) { return Answer(); });
            address = server.address();
        }
        QVERIFY(!fetch(address).isEmpty());
        QVERIFY(files().isEmpty());
    }

    void closing_duringADownload_endsIt() {
        ScriptedWebServer server([](const QByteArray&) {
            return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", true};
        });
        std::atomic<bool> isClosing{false};
        const FileDownload download(m_limits, [&] { return isClosing.load(); });
        auto failure = std::async(std::launch::async,
                                  [&] { return download.fetch(server.address(), target()); });
        QVERIFY(waitFor([&] { return server.requests().size() == 1; }));
        isClosing = true;
        QCOMPARE(failure.get(), QString("the host is closing"));
        QVERIFY(files().isEmpty());
    }

    void closing_beforeADownload_sendsNothing() {
        ScriptedWebServer server(
            [](const QByteArray&) { return Answer{ScriptedWebServer::page("x")}; });
        const FileDownload download(m_limits, [] { return true; });
        QCOMPARE(download.fetch(server.address(), target()), QString("the host is closing"));
        QVERIFY(server.requests().isEmpty());
        QVERIFY(files().isEmpty());
    }

    void closing_duringALocalCopy_endsIt() {
        QVERIFY(write(m_dir->filePath("source"), someBytes(2000000)));
        int looks = 0;
        const FileDownload download(m_limits, [&looks] { return ++looks > 3; });
        QCOMPARE(download.fetch(localAddress("source"), target()), QString("the host is closing"));
        QVERIFY(files().isEmpty());
    }

    void fetch_severalAtOnce_eachGetsItsOwn() {
        ScriptedWebServer server(
            [](const QByteArray& path) { return Answer{ScriptedWebServer::page(path)}; });
        std::vector<std::future<QString>> all;
        for (int i = 0; i < 4; ++i) {
            all.push_back(std::async(std::launch::async, [&, i] {
                return FileDownload(m_limits, neverCloses)
                    .fetch(server.address(QString("/%1").arg(i)),
                           m_dir->filePath(QString("all/%1").arg(i)));
            }));
        }
        for (auto& one : all) {
            QCOMPARE(one.get(), QString());
        }
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(contentOf(m_dir->filePath(QString("all/%1").arg(i))),
                     QByteArray("/" + QByteArray::number(i)));
        }
    }

    void target_olderFile_isReplacedByAWholeOneOnly() {
        QVERIFY(QDir().mkpath(m_dir->filePath("new")));
        QVERIFY(write(target(), "older"));
        ScriptedWebServer server([](const QByteArray& path) {
            return Answer{
                ScriptedWebServer::page("newer", path == "/good" ? "200 OK" : "404 Not Found")};
        });
        QVERIFY(!fetch(server.address("/bad")).isEmpty());
        QCOMPARE(contentOf(target()), QByteArray("older"));
        QCOMPARE(fetch(server.address("/good")), QString());
        QCOMPARE(contentOf(target()), QByteArray("newer"));
        QCOMPARE(files(), QStringList("a.zip"));
    }

    void target_folderThatCannotBeMade_isAFailure() {
        QVERIFY(write(m_dir->filePath("new"), "a file"));
        QVERIFY(write(m_dir->filePath("source"), "bytes"));
        QVERIFY(fetch(localAddress("source")).contains("cannot be made"));
    }

    void target_folderOfItsName_isAFailure() {
        QVERIFY(QDir().mkpath(target()));
        QVERIFY(write(m_dir->filePath("source"), "bytes"));
        QVERIFY(fetch(localAddress("source")).contains("cannot be written"));
        QVERIFY(QFileInfo(target()).isDir());
    }

    void target_linkThatLeadsInACircle_isReplaced() {
        QVERIFY(QDir().mkpath(m_dir->filePath("new")));
        QVERIFY(QFile::link("a.zip", target()));
        QVERIFY(write(m_dir->filePath("source"), "bytes"));
        QCOMPARE(fetch(localAddress("source")), QString());
        QCOMPARE(contentOf(target()), QByteArray("bytes"));
        QCOMPARE(files(), QStringList("a.zip"));
    }

    void file_ofThisMachine_isCopied() {
        const QByteArray body = someBytes(600000);
        QVERIFY(write(m_dir->filePath("源 1.zip"), body));
        QCOMPARE(fetch(localAddress("源 1.zip")), QString());
        QCOMPARE(contentOf(target()), body);
        QCOMPARE(files(), QStringList("a.zip"));
    }

    void file_empty_isCopied() {
        QVERIFY(write(m_dir->filePath("source"), {}));
        QCOMPARE(fetch(localAddress("source")), QString());
        QCOMPARE(contentOf(target()), QByteArray());
    }

    void file_ofTheLargestSize_isCopied() {
        QVERIFY(write(m_dir->filePath("source"), QByteArray(1000, 'x')));
        m_limits.mostBytes = 1000;
        QCOMPARE(fetch(localAddress("source")), QString());
        QCOMPARE(contentOf(target()).size(), 1000);
    }

    void file_withoutASizeOfItsOwn_isCopiedToItsEnd() {
        // The files of the kernel state 0 bytes.
        const QByteArray body = contentOf("/proc/version");
        QVERIFY(!body.isEmpty());
        QCOMPARE(fetch("file:///proc/version"), QString());
        QCOMPARE(contentOf(target()), body);
        m_limits.mostBytes = body.size() - 1;
        QVERIFY(fetch("file:///proc/version").startsWith("it has more than"));
    }

    void file_tooLarge_leavesNoFile() {
        QVERIFY(write(m_dir->filePath("source"), QByteArray(1001, 'x')));
        m_limits.mostBytes = 1000;
        QCOMPARE(fetch(localAddress("source")), QString("it has more than 1000 bytes"));
        QVERIFY(files().isEmpty());
    }

    void file_thatIsNone_isAFailure() {
        QVERIFY(fetch(localAddress("missing")).contains("is not a file"));
        QVERIFY(QDir().mkpath(m_dir->filePath("folder")));
        QVERIFY(fetch(localAddress("folder")).contains("is not a file"));
        QVERIFY(QFile::link("circle", m_dir->filePath("circle")));
        QVERIFY(fetch(localAddress("circle")).contains("is not a file"));
        const QString pipe = m_dir->filePath("pipe");
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(fetch(localAddress("pipe")).contains("is not a file"));
        QVERIFY(files().isEmpty());
    }

    void address_ofAnotherKind_isRefused_data() {
        QTest::addColumn<QString>("address");
        for (const char* address : {"", "patch.zip", "/etc/hostname", "ftp://127.0.0.1/a.zip",
                                    "data:,abc", "qrc:/a.zip", "http://[broken", "://"}) {
            QTest::newRow(*address ? address : "empty") << QString(address);
        }
    }
    void address_ofAnotherKind_isRefused() {
        QFETCH(QString, address);
        QVERIFY(fetch(address).contains("address"));
        QVERIFY(files().isEmpty());
    }

private:
    QString target() const { return m_dir->filePath("new/a.zip"); }
    QString localAddress(const QString& name) const {
        return QUrl::fromLocalFile(m_dir->filePath(name)).toString(QUrl::FullyEncoded);
    }
    /// Whatever is in the folder of the target.
    QStringList files() const {
        return QDir(m_dir->filePath("new")).entryList(QDir::Files | QDir::Hidden);
    }
    QString fetch(const QString& address) const {
        return FileDownload(m_limits, neverCloses).fetch(address, target());
    }

    FileDownload::Limits m_limits;
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(FileDownloadTest)
#include "file_download_test.moc"
