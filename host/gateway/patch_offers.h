#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class MarketStore;
class ServerState;

/// The patches that the server offers to clients: those of the market, whose files lie beside its
/// store, and those published since. The server's state keeps the published ones and which patches
/// each user has applied. A patch is a record with ClientPatch::PatchId, PatchUrl and Remark,
/// System::dataVersion (the version of the client that it is for) and System::timeStamp. Any
/// thread; each function reads or writes the files before it returns.
class PatchOffers {
public:
    /// Both must outlive this object.
    PatchOffers(const MarketStore& store, ServerState& state) : m_store(store), m_state(state) {}

    /// All patches by id, without those that the user has applied when `withoutApplied` is set.
    /// False, with a log line, when the store cannot be read.
    bool read(const QString& userId, bool withoutApplied, QList<QVariantMap>* patches) const;
    /// Adds a patch, in place of one with its id. PatchId and Remark are required; without PatchUrl
    /// it has the file of the market's first patch, without dataVersion it is for the version of
    /// this program, and without timeStamp it gets the present time. `patch` gets the record. False
    /// with a text when a field is not valid or the patch cannot be stored.
    bool publish(const QVariantMap& fields, QVariantMap* patch, QString* error);
    /// Records that the user has applied these patches. False with a text for an id that is empty
    /// or longer than 200 characters, and when it cannot be stored; nothing is recorded then.
    bool markApplied(const QString& userId, const QStringList& patchIds, QString* error);

private:
    bool readMarket(QList<QVariantMap>* patches) const;

    const MarketStore& m_store;
    ServerState& m_state;
};
