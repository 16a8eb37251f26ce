#pragma once

#include <QList>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

class ZnPresenterClass;

// The two roads of client information to the server. Any thread; do not wait for an answer. A
// message that the platform does not take, as without a presenter, is dropped with a warning.

/// Sends items in one message, also none. Returns whether the platform took it.
bool uploadClientInfo(ZnPresenterClass* presenter, const QList<QVariantMap>& clientInfoList);
/// Sends the measurements of the application performance monitor, at most 5,000 in a message, in
/// order; those of the information gate in the envelope that this gate takes.
void uploadClientInfoApm(ZnPresenterClass* presenter, const QString& netType,
                         const QVariantList& dataList);
