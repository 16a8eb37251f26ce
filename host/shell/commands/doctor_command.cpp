#include "doctor_command.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QSettings>
#include <QSqlDatabase>

#include "client.h"
#include "facade_library.h"
#include "home_mark.h"
#include "plugin_manager.h"
#include "server_state.h"
#include "text_table.h"

namespace {

inline const QString kBusinessDataFile = QStringLiteral("libVelmarBusinessDataManager.so");

class Examination {
public:
    explicit Examination(const DoctorPlaces& places) : m_places(places) {}

    DoctorReport run() {
        examineVersions();
        examineHome();
        examineSettings();
        examineMarket();
        examineServerState();
        examinePlugins();
        return m_report;
    }

private:
    void add(const QString& subject, const QString& text) {
        m_report.lines.append(harmlessText(subject.leftJustified(10) + text));
    }
    void addProblem(const QString& text) { m_report.problems.append(text); }

    void examineVersions() {
        add(QStringLiteral("client"),
            QStringLiteral("%1, Qt %2")
                .arg(QStringLiteral(VELMAR_VERSION), QString::fromLatin1(qVersion())));
        if (QString::fromLatin1(qVersion()).section(QLatin1Char('.'), 0, 1) !=
            QStringLiteral(QT_VERSION_STR).section(QLatin1Char('.'), 0, 1)) {
            addProblem(QStringLiteral("the client was built with Qt %1 and runs with Qt %2")
                           .arg(QStringLiteral(QT_VERSION_STR), QString::fromLatin1(qVersion())));
        }
        const bool hasSqlite = QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE"));
        add(QStringLiteral("databases"),
            hasSqlite ? QStringLiteral("SQLite driver found") : QStringLiteral("no SQLite driver"));
        if (!hasSqlite) {
            addProblem(
                QStringLiteral("Qt's SQLite driver is missing; Debian has it in "
                               "libqt5sql5-sqlite"));
        }
    }

    void examineHome() {
        const QFileInfo home(m_places.homeDir);
        QString state = QStringLiteral("ready");
        if (!home.exists()) {
            state = QStringLiteral("missing, the first start makes it");
            examineParentOf(home);
        } else if (!home.isDir()) {
            state = QStringLiteral("not a folder");
            addProblem(QStringLiteral("%1 is not a folder").arg(m_places.homeDir));
        } else if (!home.isWritable()) {
            state = QStringLiteral("not writable");
            addProblem(QStringLiteral("%1 is not writable").arg(m_places.homeDir));
        } else if (HomeMark::isForeign(m_places.homeDir)) {
            state = QStringLiteral("not a home folder");
            addProblem(QStringLiteral("%1 is not empty and is not a home of velmar-client")
                           .arg(m_places.homeDir));
        }
        add(QStringLiteral("home"), QStringLiteral("%1, %2").arg(m_places.homeDir, state));
    }

    /// The nearest folder that exists has to let the home be made.
    void examineParentOf(const QFileInfo& home) {
        QFileInfo parent(home.absolutePath());
        while (!parent.exists() && !parent.isRoot()) {
            parent = QFileInfo(parent.absolutePath());
        }
        if (!parent.isDir() || !parent.isWritable()) {
            addProblem(QStringLiteral("%1 cannot be made: %2 is not a writable folder")
                           .arg(m_places.homeDir, parent.absoluteFilePath()));
        }
    }

    void examineSettings() {
        const QString file = QDir(m_places.homeDir).filePath(QStringLiteral("settings/client.ini"));
        if (!QFileInfo::exists(file)) {
            add(QStringLiteral("settings"), QStringLiteral("none yet"));
            return;
        }
        QSettings settings(file, QSettings::IniFormat);
        settings.setIniCodec("UTF-8");
        const int keys = settings.allKeys().size();
        const bool isReadable =
            QFileInfo(file).isReadable() && settings.status() == QSettings::NoError;
        add(QStringLiteral("settings"),
            isReadable ? QStringLiteral("%1 keys").arg(keys) : QStringLiteral("not readable"));
        if (!isReadable) {
            addProblem(QStringLiteral("%1 is not a readable settings file").arg(file));
        }
    }

    void examineMarket() {
        QString reason;
        const QString folder = sampleMarketDir(m_places.homeDir, m_places.market);
        const QString subject = QStringLiteral("market");
        const QString size = QStringLiteral("%1 accounts, %2 symbols")
                                 .arg(m_places.market.allAccounts())
                                 .arg(m_places.market.allSymbols());
        switch (sampleMarketState(folder, m_places.market, &reason)) {
            case MarketState::Ready:
                add(subject, QStringLiteral("%1, in %2").arg(size, folder));
                return;
            case MarketState::Missing:
                add(subject, QStringLiteral("missing, the first start makes it in %1").arg(folder));
                return;
            case MarketState::Outdated:
                add(subject,
                    QStringLiteral("outdated, the next start makes it again: %1").arg(reason));
                return;
            case MarketState::Other:
            case MarketState::Unusable:
                add(subject, QStringLiteral("unusable"));
                addProblem(reason);
                return;
        }
    }

    void examineServerState() {
        const QString file = Client::serverStateFile(m_places.homeDir);
        const QString subject = QStringLiteral("server");
        if (!QFileInfo::exists(file)) {
            add(subject, QStringLiteral("nothing written yet"));
            return;
        }
        const QString problem = ServerState::problemOf(file);
        add(subject, problem.isEmpty() ? QStringLiteral("readable, %1").arg(file)
                                       : QStringLiteral("unusable"));
        if (!problem.isEmpty()) {
            addProblem(problem);
        }
    }

    void examinePlugins() {
        const QDir folder(m_places.pluginsDir);
        add(QStringLiteral("plug-ins"), folder.absolutePath());
        const QStringList files = folder.entryList({QStringLiteral("*.so")}, QDir::Files);
        if (!files.contains(kBusinessDataFile)) {
            addProblem(QStringLiteral("%1 is missing").arg(folder.filePath(kBusinessDataFile)));
        }
        for (const QString& file : files) {
            examinePlugin(file, folder.filePath(file));
        }
    }

    void examinePlugin(const QString& name, const QString& file) {
        const QString why = PluginManager::unfitness(file);
        if (!why.isEmpty()) {
            add(QString(), QStringLiteral("%1: %2").arg(name, why));
            addProblem(QStringLiteral("%1: %2").arg(file, why));
            return;
        }
        const QJsonObject own =
            QPluginLoader(file).metaData().value(QLatin1String("MetaData")).toObject();
        QString text = QStringLiteral("%1: version %2, built for interface %3")
                           .arg(name, own.value(QLatin1String("Version")).toString(),
                                own.value(QLatin1String("CompatVersion")).toString());
        QLibrary library(file);
        library.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
        QString error;
        FacadeLibrary facade;
        if (!library.load()) {
            addProblem(QStringLiteral("%1 cannot be loaded: %2").arg(file, library.errorString()));
        } else if (name == kBusinessDataFile && !facade.load(file, &error)) {
            addProblem(error);
        } else if (name == kBusinessDataFile) {
            text += QStringLiteral(", %1 exported functions").arg(facade.count());
        }
        add(QString(), text);
    }

    const DoctorPlaces& m_places;
    DoctorReport m_report;
};

}  // namespace

DoctorReport examine(const DoctorPlaces& places) {
    return Examination(places).run();
}
