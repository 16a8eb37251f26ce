#pragma once

#include <QList>
#include <QVariantMap>

/// Where the writer thread puts the messages that it took from its lists. Called on that thread,
/// with no lock held.
class MessageWriterSink {
public:
    virtual ~MessageWriterSink() = default;

    virtual void insertToDataBase(const QList<QVariantMap>& rows) = 0;
    virtual void updateToDataBase(const QList<QVariantMap>& rows) = 0;
};
