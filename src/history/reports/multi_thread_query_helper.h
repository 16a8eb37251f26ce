#pragma once

#include <QList>
#include <QRunnable>
#include <QString>
#include <QVariantMap>

class AssetDeliverySink;
class ZnPresenterClass;

/// Fetches all pages of one request: by position when it contains System::positionStr, otherwise by
/// number when it contains System::pageNo; with neither it repeats the request until one fails.
/// Hands the rows to the sink at its end, or the status of a failure without rows; nothing when the
/// presenter is closing. The pool deletes it after run().
class MultiThreadQueryHelper : public QRunnable {
public:
    /// `name` is a label for the log. Presenter and sink must live until run() has ended; without a
    /// presenter the query fails.
    MultiThreadQueryHelper(ZnPresenterClass* presenter, const QString& type,
                           const QVariantMap& fields, const QString& name,
                           AssetDeliverySink& target)
        : prtClass(presenter), msgType(type), request(fields), queryName(name), m_target(target) {}

    void run() override;
    ~MultiThreadQueryHelper() override = default;

private:
    /// Fetches the pages and moves `request` on. Returns the status for the sink.
    QString fetch(QList<QVariantMap>* rows);

    ZnPresenterClass* const prtClass;
    const QString msgType;
    QVariantMap request;
    const QString queryName;
    AssetDeliverySink& m_target;
};
