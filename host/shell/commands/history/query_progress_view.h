#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>

#include "progress_bar.h"

/// How far a query of the past is, as the plug-in's progress event says.
struct QueryStep {
    QString title;  ///< function and account
    int done = 0;   ///< pages
    int total = 0;  ///< 0 while unknown

    static QueryStep ofRecord(const QVariantMap& record);
};

/// Shows how far the queries of the past are, as a bar on stderr, while it lives. Made and deleted
/// on the main thread of a client that is up; the bar moves while the main loop runs.
class QueryProgressView {
public:
    QueryProgressView();
    /// Clears the bar.
    ~QueryProgressView();
    Q_DISABLE_COPY(QueryProgressView)

private:
    struct Target;

    void show(const QueryStep& step);

    std::unique_ptr<ProgressBar> m_bar;
    QString m_title;
    QObject m_context;  // of the calls that wait for the main loop
    const std::shared_ptr<Target> m_target;
};
