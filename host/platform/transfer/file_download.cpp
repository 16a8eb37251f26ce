#include "file_download.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <thread>
#include <utility>

#include "signal_stack.h"

namespace {

constexpr qint64 kPieceBytes = 256 * 1024;
constexpr int kLookMs = 20;

/// Why the address cannot be downloaded from; empty when it can.
QString refusalOf(const QUrl& address) {
    if (!address.isValid() || address.isRelative()) {
        return QStringLiteral("it is not an address");
    }
    const QString shown = address.toDisplayString();
    if (address.isLocalFile()) {
        // A pipe or a device would never end.
        return QFileInfo(address.toLocalFile()).isFile()
                   ? QString()
                   : QStringLiteral("%1 is not a file").arg(shown);
    }
    const QString scheme = address.scheme();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https")
               ? QString()
               : QStringLiteral("%1 is not a file, http or https address").arg(shown);
}

/// One download, on one thread.
class Transfer {
public:
    Transfer(const FileDownload::Limits& limits, const std::function<bool()>& isClosing,
             const QString& path)
        : m_limits(limits), m_isClosing(isClosing), m_file(path) {
        m_timer.start();
    }
    Q_DISABLE_COPY(Transfer)

    /// Returns why it failed, empty on success.
    QString run(const QUrl& address) {
        const QString folder = QFileInfo(m_file.fileName()).absolutePath();
        if (!QDir().mkpath(folder)) {
            return QStringLiteral("the folder %1 cannot be made").arg(folder);
        }
        if (!m_file.open(QIODevice::WriteOnly)) {
            return notWritten();
        }
        if (mayGoOn()) {
            address.isLocalFile() ? copy(address.toLocalFile()) : receive(address);
        }
        if (m_failure.isEmpty() && !m_file.commit()) {
            fail(notWritten());
        }
        return m_failure;
    }

private:
    /// Returns when all bytes are in the temporary file or m_failure is set; so does receive().
    void copy(const QString& source) {
        QFile file(source);
        if (!file.open(QIODevice::ReadOnly)) {
            fail(QStringLiteral("%1 cannot be read: %2").arg(source, file.errorString()));
            return;
        }
        if (file.size() > m_limits.mostBytes) {
            fail(tooLarge());
        }
        takeBytes(file);
        if (file.error() != QFileDevice::NoError) {
            fail(QStringLiteral("%1 cannot be read: %2").arg(source, file.errorString()));
        }
    }

    void receive(const QUrl& address) {
        QEventLoop loop;
        QNetworkAccessManager manager;
        // Deleting the reply aborts it, and the manager must exist until then.
        const std::unique_ptr<QNetworkReply> reply(manager.get(requestFor(address)));
        // What is not read yet is not kept in memory beyond this.
        reply->setReadBufferSize(kPieceBytes);
        const auto during = [&loop, this](const auto& step) {
            return [&loop, this, step] {
                step();
                if (!mayGoOn()) {
                    loop.quit();
                }
            };
        };
        QObject::connect(reply.get(), &QNetworkReply::metaDataChanged, &loop,
                         during([&] { checkStatedLength(*reply); }));
        QObject::connect(reply.get(), &QNetworkReply::readyRead, &loop,
                         during([&] { takeBytes(*reply); }));
        QObject::connect(reply.get(), &QNetworkReply::finished, &loop, [&] {
            end(*reply);
            loop.quit();
        });
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, &loop, during([] {}));
        watch.start(kLookMs);
        loop.exec();
        QObject::disconnect(reply.get(), nullptr, &loop, nullptr);
    }

    QNetworkRequest requestFor(const QUrl& address) const {
        QNetworkRequest request(address);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::NoLessSafeRedirectPolicy);
        request.setMaximumRedirectsAllowed(m_limits.mostRedirects);
        // Otherwise a packed answer would be unpacked on the way, and its length not be the stated
        // one.
        request.setRawHeader("Accept-Encoding", "identity");
        return request;
    }

    /// The length that the source states; negative without one.
    static qint64 statedLength(const QNetworkReply& reply) {
        const QVariant stated = reply.header(QNetworkRequest::ContentLengthHeader);
        return stated.isValid() ? stated.toLongLong() : -1;
    }

    void checkStatedLength(const QNetworkReply& reply) {
        if (statedLength(reply) > m_limits.mostBytes) {
            fail(tooLarge());
        }
    }

    /// Takes what the source has at present.
    void takeBytes(QIODevice& source) {
        while (mayGoOn()) {
            const QByteArray piece = source.read(kPieceBytes);
            if (piece.isEmpty()) {
                return;
            }
            m_received += piece.size();
            if (m_received > m_limits.mostBytes) {
                fail(tooLarge());
            } else if (m_file.write(piece) != piece.size()) {
                fail(notWritten());
            }
        }
    }

    /// Without the password that the address may contain.
    static QString errorTextOf(const QNetworkReply& reply) {
        return reply.errorString().replace(reply.url().toString(), reply.url().toDisplayString());
    }

    void end(QNetworkReply& reply) {
        takeBytes(reply);
        if (reply.error() != QNetworkReply::NoError) {
            fail(QStringLiteral("%1 (error %2)").arg(errorTextOf(reply)).arg(reply.error()));
        } else if (statedLength(reply) >= 0 && statedLength(reply) != m_received) {
            fail(QStringLiteral("%1 of %2 bytes came").arg(m_received).arg(statedLength(reply)));
        }
    }

    /// False once the download has failed; it fails when the time is over or the host is closing.
    bool mayGoOn() {
        if (m_failure.isEmpty() && m_isClosing && m_isClosing()) {
            fail(QStringLiteral("the host is closing"));
        }
        if (m_failure.isEmpty() && m_timer.hasExpired(m_limits.total.count())) {
            fail(QStringLiteral("it was not complete after %1 ms").arg(m_limits.total.count()));
        }
        return m_failure.isEmpty();
    }

    /// The first failure is the one that counts.
    void fail(const QString& why) {
        if (m_failure.isEmpty()) {
            m_failure = why;
        }
    }

    QString tooLarge() const {
        return QStringLiteral("it has more than %1 bytes").arg(m_limits.mostBytes);
    }
    QString notWritten() const {
        return QStringLiteral("%1 cannot be written: %2")
            .arg(m_file.fileName(), m_file.errorString());
    }

    const FileDownload::Limits m_limits;
    const std::function<bool()>& m_isClosing;
    QElapsedTimer m_timer;
    QSaveFile m_file;
    qint64 m_received = 0;
    QString m_failure;
};

}  // namespace

FileDownload::FileDownload(const Limits& limits, std::function<bool()> isClosing)
    : m_limits(limits), m_isClosing(std::move(isClosing)) {}

QString FileDownload::fetch(const QString& address, const QString& path) const {
    const QUrl url(address);
    QString refusal = refusalOf(url);
    if (!refusal.isEmpty()) {
        return refusal;
    }
    if (url.isLocalFile()) {
        return Transfer(m_limits, m_isClosing, path).run(url);
    }
    // The caller's thread may have no event loop, or one that must not run meanwhile.
    QString failure;
    std::thread worker([&] {
        SignalStack::provide();
        failure = Transfer(m_limits, m_isClosing, path).run(url);
    });
    worker.join();
    return failure;
}
