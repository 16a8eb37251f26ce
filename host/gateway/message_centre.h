#pragma once

#include <QDateTime>
#include <QList>
#include <QPair>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <mutex>

class MarketStore;
class ServerState;

/// The business messages of the users, kept in the server's state.
///
/// At the user's first query of a day, a date of this machine as clients keep messages by it, the
/// daily messages of the market are stored for it, at their times of day in local time. When the
/// last of these is still ahead, or a message of the day came before the query, all of them are
/// spread over the time until now, in their order.
///
/// A message's position is its time in microseconds since 1970, as a text of 16 digits; it is
/// increased where that is needed to stay above the user's earlier positions. So positions sort as
/// texts in the order of time, and never change.
///
/// Any thread; each function reads or writes the state before it returns.
class MessageCentre {
public:
    /// Both must outlive this object.
    MessageCentre(const MarketStore& store, ServerState& state);
    Q_DISABLE_COPY(MessageCentre)

    /// Null sets the exchanges' own time. The function is called from any thread.
    void setClock(std::function<QDateTime()> clock);
    /// The present day by that clock, as a local date.
    QDate today() const;

    /// Stores a message of the present time. The fields are System::textDescription, BusiMsgType
    /// and BusiMsgLevel, which are required, and System::BusiMsgSubType, itemName, itemValue,
    /// createTime (milliseconds since 1970) and UserAccount::tradingAccount, productAccount; empty
    /// ones are left out. `message` gets them as texts, with BusiMsgCenter::ServerMsgId and
    /// System::positionStr. `isDelivered` says that a client gets the message now. False with a
    /// text when the user or a field is not valid, or the message cannot be stored.
    bool publish(const QString& userId, const QVariantMap& fields, bool isDelivered,
                 QVariantMap* message, QString* error);

    /// Where a list without a position begins.
    enum class Extent {
        Day,  ///< with the day, or with the first message that no client got before the day
        Kept  ///< with the oldest message that is kept; messages are kept for 30 days
    };
    struct Query {
        qint64 after = 0;  ///< only messages behind this position; 0: from the beginning on
        Extent extent = Extent::Day;
        int limit = -1;  ///< negative: all
        qint64 offset = 0;
        bool delivers = false;  ///< a client gets the messages
    };
    struct Page {
        QList<QVariantMap> rows;
        int total = 0;    ///< the number of messages from the beginning on
        qint64 last = 0;  ///< position of the last row; 0 without rows
    };
    /// The user's messages in the order of their positions, each as publish() has stored it. False
    /// with a text for an unknown user and when they cannot be read.
    bool read(const QString& userId, const Query& query, Page* page, QString* error);

private:
    /// What is known about a user's messages besides the messages themselves.
    struct Mark {
        qint64 last = 0;       ///< the largest position
        qint64 delivered = 0;  ///< clients have got the messages up to this position
        QVariantMap days;      ///< the position before the list, by day
    };
    using Records = QList<QPair<QString, QVariantMap>>;

    QDateTime now() const;
    bool readMark(const QString& userId, Mark* mark, QString* error) const;
    /// Writes messages and the mark, all or none.
    bool write(const QString& userId, const Mark& mark, Records records, QString* error);
    /// The mark of a user who must exist.
    bool readUser(const QString& userId, Mark* mark, QString* error) const;
    /// Stores the daily messages when the day has not got them yet.
    bool openDay(const QString& userId, const QDateTime& now, Mark* mark, QString* error);
    bool dailyMessages(const QString& userId, const QDateTime& now, Mark* mark,
                       Records* records) const;
    void removeOld(const QString& userId, const QDateTime& now, Mark* mark);

    const MarketStore& m_store;
    ServerState& m_state;
    /// Guards the clock and makes reading and writing a user's mark one step. Held while the store
    /// and the state are used.
    mutable std::mutex m_mutex;
    std::function<QDateTime()> m_clock;
};
