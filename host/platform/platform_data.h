#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <memory>

#include "local_platform.h"
#include "platform_export.h"

/// The data side of the local platform, driven by LocalPlatform alone.
namespace PlatformData {

/// Opens settings and databases; drops what was held before, the board and the states of one-shot
/// steps included. False with a text on failure.
PLATFORM_API bool open(const LocalPlatform::Options& options, QString* error);
/// The home folder as an absolute path without "/" at its end. Before open(), and when the options
/// name none, the user's own configuration folder. Any thread.
PLATFORM_API QString homeDir();
PLATFORM_API void setClock(std::function<QDateTime()> clock);
/// The login's own record; its UserAccount::userID is the login account.
PLATFORM_API void setLogin(const QVariantMap& loginRecord);
/// The rows of the account tree, in the server's order; sets the ready mark of the account list.
PLATFORM_API void setAccountTree(QList<QVariantMap> rows);
/// A tick for the readers of CommonQuotaHandler, delivered on the application's thread; dropped
/// before its Init(), and while ten thousand ticks wait for that thread. The last price is known
/// when it returns. Any thread.
PLATFORM_API void publishTick(const QString& symbol, const QVariantMap& tick,
                              const QString& source);
/// What readers of CommonQuotaHandler have subscribed, in the order of their first asking. Any
/// thread.
PLATFORM_API QStringList subscribedSymbols();
/// Has `changed` called after each change of them, on the thread that made it and with no lock
/// held, for as long as the result lives. A call that is under way when the result goes still ends,
/// so `changed` owns what it uses. Any thread.
PLATFORM_API std::shared_ptr<void> onSubscriptionsChanged(std::function<void()> changed);

}  // namespace PlatformData
