#include "monitor_questions.h"

#include <QFileInfo>

#include "live_view.h"
#include "local_platform.h"
#include "monitor_job.h"
#include "output.h"
#include "status_file.h"
#include "text_table.h"
#include "zncore/zn_core.h"

namespace {

/// The figures of a client in another process, of which nothing is started or written here.
ExitCode monitorHome(const ShellOptions& options) {
    const QString home = homeOf(options);
    if (!QFileInfo(home).isDir()) {
        printError(QStringLiteral("%1 is not a folder").arg(home));
        return WrongUsage;
    }
    MainLoopGate gate;
    const InterruptWatch watch;
    QObject::connect(&watch, &InterruptWatch::interrupted, &gate, &MainLoopGate::wake);
    MonitorJob job(
        gate,
        [&home](QVariantMap* figures, QString* error) {
            ClientStatusRecord record;
            const bool isRead = StatusFile::read(home, &record, error);
            *figures = record.figures;
            return isRead;
        },
        options);
    return job.run();
}

ExitCode monitorOwn(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    WatchedClient watched(clientOptions(options), showOnStderr(progress));
    if (!watched.start()) {
        return Failed;
    }
    MonitorJob job(
        watched.client.gate(),
        [&watched](QVariantMap* figures, QString*) {
            *figures = ownFigures(watched.client);
            return true;
        },
        options);
    const ExitCode code = job.run();
    watched.client.stop();
    return code;
}

}  // namespace

ExitCode runMonitor(const ShellOptions& options) {
    return options.homeDir.isEmpty() ? monitorOwn(options) : monitorHome(options);
}

ExitCode runSkin(const ShellOptions& options) {
    ClientQuestion question;
    question.answer = [&options](WatchedClient&) {
        const QString before = ZnCore::instance()->getCurrentSkinId();
        LocalPlatform::instance().setSkin(options.item);
        const QString now = ZnCore::instance()->getCurrentSkinId();
        CommandAnswer answer;
        answer.isFault = now != options.item;
        answer.lines.append(
            harmlessText(QStringLiteral("skin: %1 (before: %2)")
                             .arg(now, before.isEmpty() ? QStringLiteral("none") : before)));
        answer.json =
            QJsonObject{{QStringLiteral("skin"), now}, {QStringLiteral("before"), before}};
        return answer;
    };
    return runQuestion(options, question);
}
