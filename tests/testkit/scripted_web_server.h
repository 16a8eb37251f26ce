#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// A web server on the loopback that answers with scripted bytes, one connection after the other.
class ScriptedWebServer {
public:
    struct Answer {
        QByteArray bytes;
        bool staysOpen = false;  ///< the connection is not closed behind the bytes
    };
    /// Called on the server's thread with the path of a request.
    using Script = std::function<Answer(const QByteArray& path)>;

    explicit ScriptedWebServer(Script script) : m_script(std::move(script)) {
        std::promise<quint16> port;
        std::future<quint16> opened = port.get_future();
        m_thread = std::thread([this, &port] { run(&port); });
        m_port = opened.get();
    }
    ~ScriptedWebServer() {
        m_isEnding = true;
        m_thread.join();
    }
    ScriptedWebServer(const ScriptedWebServer&) = delete;
    ScriptedWebServer& operator=(const ScriptedWebServer&) = delete;

    QString address(const QString& path = QStringLiteral("/patch.zip")) const {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path);
    }
    /// The requests so far, each with its header.
    QByteArrayList requests() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_requests;
    }

    /// An answer of the status with a body whose length is stated.
    static QByteArray page(const QByteArray& body, const QByteArray& status = "200 OK",
                           const QByteArray& furtherHeader = {}) {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
               "\r\nConnection: close\r\n" + furtherHeader + "\r\n" + body;
    }

private:
    static constexpr int kLookMs = 10;
    static constexpr int kLimitMs = 5000;

    void run(std::promise<quint16>* port) {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        port->set_value(server.serverPort());
        std::vector<std::unique_ptr<QTcpSocket>> open;
        while (!m_isEnding) {
            server.waitForNewConnection(kLookMs);
            while (server.hasPendingConnections()) {
                std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
                if (serve(*socket)) {
                    open.push_back(std::move(socket));
                }
            }
        }
        open.clear();
    }

    /// Whether the connection stays open.
    bool serve(QTcpSocket& socket) {
        QByteArray request;
        while (!request.contains("\r\n\r\n")) {
            if (!socket.waitForReadyRead(kLimitMs)) {
                return false;
            }
            request += socket.readAll();
        }
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_requests.append(request);
        }
        const Answer answer = m_script(request.split(' ').value(1));
        socket.write(answer.bytes);
        while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(kLimitMs)) {
        }
        if (!answer.staysOpen) {
            socket.disconnectFromHost();
        }
        return answer.staysOpen;
    }

    const Script m_script;
    quint16 m_port = 0;
    std::atomic<bool> m_isEnding{false};
    mutable std::mutex m_lock;  // guards m_requests
    QByteArrayList m_requests;
    std::thread m_thread;
};
