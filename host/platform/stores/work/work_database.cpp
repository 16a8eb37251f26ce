#include "work_database.h"

#include <QDir>
#include <utility>

#include "data_log.h"
#include "thread_connections.h"
#include "work_database_file.h"
#include "work_statements.h"

namespace {

constexpr std::chrono::seconds kCloseLimit{10};

QString connectOptions(std::chrono::milliseconds busyLimit) {
    return QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyLimit.count());
}

/// In WAL a commit then survives the end of the process without waiting for the disk; a power cut
/// may lose the last ones and damages nothing.
QStringList connectionSetUp() {
    return {QStringLiteral("PRAGMA synchronous = NORMAL")};
}

QString sentenceOf(const QString& file, const DatabaseFault& fault) {
    return fault.sentence(QStringLiteral("the work database %1").arg(file),
                          QStringLiteral("move it away to begin with an empty one"));
}

}  // namespace

/// One operation under way; close() waits for its end.
class WorkDatabase::Use {
public:
    /// Logs why the operation is not possible.
    Use(WorkDatabase& database, const QString& operation) : m_database(database) {
        QString why;
        if (!database.enter(*this, &why)) {
            qCWarning(lcPlatformData).noquote() << why + ';' << operation << "is not executed";
        }
    }
    ~Use() {
        connection.reset();
        connections.reset();
        if (entered) {
            m_database.leave();
        }
    }
    Q_DISABLE_COPY(Use)

    bool entered = false;
    QString file;
    std::shared_ptr<ThreadConnections> connections;
    std::shared_ptr<const SqliteConnection> connection;  // null when the operation is not possible

private:
    WorkDatabase& m_database;
};

WorkDatabase::WorkDatabase() = default;

WorkDatabase::~WorkDatabase() {
    close();
}

void WorkDatabase::open(const Options& options) {
    close();
    const std::lock_guard<std::mutex> lock(m_lock);
    m_options = options;
    m_isOpen = true;
}

void WorkDatabase::close() {
    std::shared_ptr<ThreadConnections> connections;
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_isOpen = false;
        if (!m_idle.wait_for(lock, kCloseLimit, [this] { return m_users == 0; })) {
            qCCritical(lcPlatformData)
                << "the work database is closed while" << m_users << "operations use it";
        }
        connections.swap(m_connections);
        m_file.clear();
    }
    // Writes what is left in the journal to the file.
    connections.reset();
}

/// Decides on the file at the first use. The login is read without the lock.
void WorkDatabase::chooseFile(std::unique_lock<std::mutex>& lock) {
    const Options options = m_options;
    lock.unlock();
    const QString login = options.login ? options.login() : QString();
    const QString file = QDir(options.folder).absoluteFilePath(WorkDatabaseFile::nameOf(login));
    lock.lock();
    if (!m_file.isEmpty()) {
        return;
    }
    m_file = file;
    if (login.isEmpty()) {
        qCWarning(lcPlatformData).noquote()
            << "the work database is used before a log-in; its file is" << file;
    }
}

DatabaseFault WorkDatabase::openFileLocked() {
    if (m_connections) {
        return {};
    }
    const QString options = connectOptions(m_options.busyLimit);
    DatabaseFault fault = WorkDatabaseFile::prepare(m_file, options);
    if (!fault) {
        m_connections = std::make_shared<ThreadConnections>(m_file, options, connectionSetUp());
    }
    return fault;
}

bool WorkDatabase::enter(Use& use, QString* why) {
    DatabaseFault fault;
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (!m_isOpen) {
            *why = QStringLiteral("the work database is not open");
            return false;
        }
        ++m_users;
        use.entered = true;
        if (m_file.isEmpty()) {
            chooseFile(lock);
        }
        use.file = m_file;
        fault = openFileLocked();
        use.connections = m_connections;
    }
    if (!fault) {
        use.connection = use.connections->forThisThread(&fault);
    }
    if (fault) {
        *why = sentenceOf(use.file, fault);
    }
    return use.connection != nullptr;
}

void WorkDatabase::leave() {
    const std::lock_guard<std::mutex> lock(m_lock);
    --m_users;
    m_idle.notify_all();
}

int WorkDatabase::updateAll(const QStringList& statements) {
    if (statements.isEmpty()) {
        return 0;
    }
    const Use use(*this, statements.size() == 1
                             ? QStringLiteral("an update of 1 statement")
                             : QStringLiteral("an update of %1 statements").arg(statements.size()));
    return use.connection ? WorkStatements(*use.connection, use.file).updateAll(statements) : 0;
}

int WorkDatabase::update(const QString& statement) {
    const Use use(*this, QStringLiteral("an update"));
    return use.connection ? WorkStatements(*use.connection, use.file).update(statement) : -1;
}

QList<QVariant> WorkDatabase::rows(const QString& statement) {
    const Use use(*this, QStringLiteral("a query"));
    return use.connection ? WorkStatements(*use.connection, use.file).rows(statement)
                          : QList<QVariant>();
}

QString WorkDatabase::file() const {
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_file;
}

int WorkDatabase::connectionCount() const {
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_connections ? m_connections->count() : 0;
}
