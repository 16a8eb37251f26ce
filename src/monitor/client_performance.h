#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

#include "client_info_sink.h"
#include "clock.h"
#include "performance_config.h"

class ZnPresenterClass;

/// Reports figures of the host's board as a configuration of the server says: which, how often, and
/// by which road. The figures of a type are sampled just before its report. On the presenter's
/// object thread only.
class ClientPerformance {
public:
    /// The timers of the types, which belong to the presenter.
    struct Timers {
        /// Forgets which timer belongs to which type.
        std::function<void()> forget;
        /// Starts a repeating timer of that many milliseconds for a type and returns its id.
        std::function<int(const QString& type, int periodMs)> start;
    };

    ClientPerformance(const Clock& clock, ClientInfoSink& sink);
    Q_DISABLE_COPY(ClientPerformance)

    /// Reads the configuration, starts the timers and makes the reports that come once. Blocks for
    /// a request. A configuration that cannot be read is logged, and nothing is reported. Ends
    /// early when the presenter is closing.
    void startClientPerformUpload(ZnPresenterClass* presenter, const Timers& timers);
    /// Samples what belongs to a type and reports those of its figures that are on the board. Reads
    /// files. Without a configured type or a road, nothing is sent.
    void slotUploadClientPerformance(const QString& type);

private:
    int startType(const QString& type, const PerformanceConfig::Type& config, const Timers& timers);
    void sample(const QString& type);
    QVariantMap collect(const QString& type) const;
    void sendItems(const QVariantMap& collected);
    void sampleDisk();
    void sampleMemory();
    void sampleNet();

    const Clock& m_clock;
    ClientInfoSink& m_sink;
    QMap<QString, QStringList> m_performItemMap;
    QSet<QString> m_performStringItems;
    int m_performUploadDst = 0;
    int m_lastTradeMsgCount = 0;
    int m_lastInfoMsgCount = 0;
    qint64 m_lastTradeMsgSize = 0;
    qint64 m_lastInfoMsgSize = 0;
    int m_lastMdcMsgCount = 0;
    qint64 m_lastMdcMsgSize = 0;
};
