#pragma once

#include <atomic>

#include "znwidget/zn_presenter_class.h"

/// Receives the events of other plug-ins. Disposed of by deleteLater() alone.
class NeighbourPresenter : public ZnPresenterClass {
    Q_OBJECT

public:
    explicit NeighbourPresenter(QObject* plugin);

    /// On the presenter's message thread, one event at a time. It may call the exported class.
    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

    /// Any thread.
    int eventCount() const { return m_events; }

private:
    const int m_cageLoaded;
    std::atomic<int> m_events{0};
};
