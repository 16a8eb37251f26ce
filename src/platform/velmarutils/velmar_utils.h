#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"

class ZnPresenterClass;

/// What a query helper is asked for.
enum class QueryDataMode {
    VersionOnly = 0,  ///< the version of the data, not the data
    Normal = 1        ///< the data rows
};

/// How a field of a record is compared with that of a filter.
namespace CompareLike {
enum LikeType {
    Equal = 0,     ///< the same text
    Contains = 1,  ///< the record's text holds the filter's
    StartsWith = 2
};
}  // namespace CompareLike

/// Helpers over the message layer and the environment. Any thread.
class PLATFORM_API VelmarUtils {
public:
    /// One synchronous query; the data rows as records. `error` is empty on success and holds the
    /// failure's text otherwise, the result then being empty. Blocks for the request.
    static QList<QVariantMap> QueryDatasFromServer(ZnPresenterClass* p, const QString& msgType,
                                                   const QVariantMap& request, QueryDataMode mode,
                                                   QString& error);
    /// The same, with the rows in `rows`; returns the answer's System::requestExeStatus, or
    /// Velmar_Values::RequestExeStatus::timeout after a time-out. Both flags are passed false.
    static QString SendRequestToServer(ZnPresenterClass* p, const QString& msgType,
                                       const QVariantMap& request, QueryDataMode mode,
                                       QString& error, QList<QVariantMap>& rows, bool, bool);

    /// A paged query: asks with System::pageNo, from `firstPage` on, and System::pageSize until the
    /// answers' System::totalSize is reached, or where they tell none up to a short page, and
    /// returns all rows. `maxPages` ends it earlier, 0 being no limit. `timeOutMs` is the time-out
    /// of each page, rounded up to seconds, 0 being the presenter's standing one; another one is
    /// the presenter's own, for whoever sends through it, while a page is under way. Of several
    /// threads that do so at once each has its own for its pages, others have the latest. `error`
    /// as above: one page that fails fails the query. A list that gets nowhere (a page that is not
    /// full before the total, one page twice, 100,000 pages) is an error too, and so is a total
    /// that is none or that a full page goes beyond. Blocks for its requests, one after the other.
    static QList<QVariantMap> QueryDatasFromServerByPage(ZnPresenterClass* p,
                                                         const QString& msgType,
                                                         const QVariantMap& request, QString& error,
                                                         int pageSize, int firstPage, int maxPages,
                                                         int timeOutMs);
    /// The same by cursor: asks with System::positionStr, at first `startPos`, and
    /// System::requestNumber, and goes on from the answer's System::positionStr for as long as
    /// pages are full, so that a full last page costs one request more. A full page that leads to
    /// no new position is an error, and so is a list of more than 100,000 pages.
    static QList<QVariantMap> QueryDatasFromServerByPos(ZnPresenterClass* p, const QString& msgType,
                                                        const QVariantMap& request, QString& error,
                                                        int pageSize, QString startPos,
                                                        int timeOutMs);

    /// Publishes an event. Returns 0, or -1 with a log line for a null presenter or an event that
    /// has no id.
    static int SendEventMsg(ZnPresenterClass* p, int eventId, const QVariant& body);
    static int SendEventMsg(ZnPresenterClass* p, const QString& eventName, const QVariant& body);
    /// The id of a named event, the same for every caller; 0 with a log line for an unknown name.
    static int GetTorviEventMsgIdByStr(const QString& name);

    /// A record as compact JSON with sorted keys, nested lists and maps included. On failure the
    /// result is empty and `error` says why; otherwise `error` is empty.
    static QString TransMap2Str(QVariantMap map, QString& error);
    /// The way back: returns the failure's text, empty on success. An empty or bad text is a
    /// failure and leaves `out` empty.
    static QString TransStr2Map(QString text, QVariantMap& out);

    /// Whether the record has every field of the filter with a value that is, as text, the
    /// filter's; `like` names the fields that are compared otherwise. An empty filter fits every
    /// record. `matched` takes the record's fields that fitted, up to the first that did not.
    static bool IsMapQuatifiedByFilter(const QVariantMap& record, const QVariantMap& filter,
                                       QVariantMap& matched,
                                       const QMap<QString, CompareLike::LikeType>& like);
    /// Whether the symbol is one of Hong Kong: by its suffix, without a suffix by the exchanges
    /// that list it.
    static bool isHKTypeSymbol(const QString& symbol);

    /// The configuration directories of the user and of the installation, both ending in "/".
    static QString GetUserCfgFileDir();
    static QString GetDefaultUserCfgFileDir();

    /// Re-applies the skin.
    static void ResetSkin();
};
