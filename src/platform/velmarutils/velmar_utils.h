#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"
#include "velmarutils/sys_info.h"

class ZnPresenterClass;

/// What a query helper requests.
enum class QueryDataMode {
    VersionOnly = 0,  ///< the version of the data, not the data
    Normal = 1        ///< the data rows
};

/// How a field of a record is compared with that of a filter.
namespace CompareLike {
enum LikeType {
    Equal = 0,     ///< the same text
    Contains = 1,  ///< the record's text contains the filter's
    StartsWith = 2
};
}  // namespace CompareLike

/// Helpers over the message layer and the environment. Any thread.
class PLATFORM_API VelmarUtils {
public:
    /// One synchronous query. Returns the data rows and clears `error`; on failure the result is
    /// empty and `error` contains the reason. Blocks for the request.
    static QList<QVariantMap> QueryDatasFromServer(ZnPresenterClass* p, const QString& msgType,
                                                   const QVariantMap& request, QueryDataMode mode,
                                                   QString& error);
    /// The same, with the rows in `rows`. Returns the answer's System::requestExeStatus, after a
    /// time-out Velmar_Values::RequestExeStatus::timeout, and an empty text when the platform
    /// failed. Both flags are passed false.
    static QString SendRequestToServer(ZnPresenterClass* p, const QString& msgType,
                                       const QVariantMap& request, QueryDataMode mode,
                                       QString& error, QList<QVariantMap>& rows, bool, bool);

    /// A paged query: sends System::pageNo, from `firstPage` on, and System::pageSize until all
    /// rows of the answers' System::totalSize have come, and returns them. Answers without a total
    /// end with the first page that is not full. `maxPages` ends the query earlier; 0 sets no
    /// limit. `timeOutMs` is the time-out of each page, rounded up to seconds, 0 the presenter's
    /// standing one. Another one is set on the presenter while a page is under way, so other
    /// threads that send through it may get it; concurrent paged queries each keep their own. One
    /// page that fails fails the query, with the reason in `error`. A list that does not end is
    /// also an error: a page that is not full before the total, the same page twice, 100,000
    /// pages, or 10,000,000 rows. So is a total that is not a number or below the number of rows
    /// that came. Blocks for its requests, one after the other.
    static QList<QVariantMap> QueryDatasFromServerByPage(ZnPresenterClass* p,
                                                         const QString& msgType,
                                                         const QVariantMap& request, QString& error,
                                                         int pageSize, int firstPage, int maxPages,
                                                         int timeOutMs);
    /// The same by cursor: sends System::positionStr, at first `startPos`, and
    /// System::requestNumber, and continues from the answer's System::positionStr while pages are
    /// full; a last page that is full costs one more request. A full page without a new position is
    /// an error, and so are more than 100,000 pages or 10,000,000 rows.
    static QList<QVariantMap> QueryDatasFromServerByPos(ZnPresenterClass* p, const QString& msgType,
                                                        const QVariantMap& request, QString& error,
                                                        int pageSize, QString startPos,
                                                        int timeOutMs);

    /// Publishes an event. Returns 0, or -1 with a log line for a null presenter or an event
    /// without an id.
    static int SendEventMsg(ZnPresenterClass* p, int eventId, const QVariant& body);
    static int SendEventMsg(ZnPresenterClass* p, const QString& eventName, const QVariant& body);
    /// Puts a business message into the message centre: publishes EventMsgName::BUSI_MSG_ADD with
    /// the strings as fields of the body's header, without those that are empty. Any thread; does
    /// not block. `p` is the event's source; the host itself is when it is null.
    static void PutBusiMsg(ZnPresenterClass* p, const QString& level, const QString& text,
                           const QString& type, const QString& subType, const QString& itemName,
                           const QString& itemValue, const QString& tradingAccount);
    /// The id of a named event, the same for every caller; 0 with a log line for an unknown name.
    static int GetTorviEventMsgIdByStr(const QString& name);

    /// A record as compact JSON with sorted keys, nested lists and maps included. On failure the
    /// result is empty and `error` says why; otherwise `error` is empty.
    static QString TransMap2Str(QVariantMap map, QString& error);
    /// The reverse: returns the reason of a failure, empty on success. An empty or bad text is a
    /// failure and leaves `out` empty.
    static QString TransStr2Map(QString text, QVariantMap& out);

    /// Whether every field of the filter has the same value, as text, in the record; `like` names
    /// the fields that are compared in another way. An empty filter matches every record. `matched`
    /// receives the record's matching fields, up to the first one that does not match.
    static bool IsMapQuatifiedByFilter(const QVariantMap& record, const QVariantMap& filter,
                                       QVariantMap& matched,
                                       const QMap<QString, CompareLike::LikeType>& like);
    /// Whether the symbol belongs to Hong Kong: by its suffix, or without one by the exchanges that
    /// list it.
    static bool isHKTypeSymbol(const QString& symbol);

    /// Where orders of this client come from: host name, system and its version joined by ";", the
    /// same throughout a run. A prefix that is not empty stands in front of them.
    static QString GetVelmarOrderStation(const QString& prefix);

    /// The configuration directories of the user and of the installation, both ending in "/".
    static QString GetUserCfgFileDir();
    static QString GetDefaultUserCfgFileDir();

    /// Re-applies the skin.
    static void ResetSkin();

    /// A choice of the last login, a key of AutoLoginSetting; invalid when it was never made.
    static QVariant GetAutoLoginSetting(const QString& key);
    /// The version of the client, such as "1.2.0".
    static QString GetAppVersion();
    /// Downloads a file by a file, http or https address and gives it its name once it is whole,
    /// replacing a file that has the name; its folder is made when missing. The flag is passed
    /// true. Returns Quindar_Values::RequestExeStatus::success, or why it failed. At most 256 MiB
    /// and 60 s; ends when the host closes. Blocks.
    static QString DownloadFileByUrl(const QString& url, const QString& path, bool);

    // The machine and this process. Any thread; they read small files of the system and do not
    // wait. A value that the system does not give is -1 for a number and empty for a text; the
    // functions that return bool return false when the system gives nothing.

    /// The system's name with its release, such as "Debian GNU/Linux 12 (bookworm)", and the
    /// release alone.
    static bool GetOSVersion(QString& name, QString& version);
    /// The screens as they were last seen on the application's thread, the default one first; empty
    /// without a GUI.
    static QList<SysScreenInfo> GetAllScreenInfo();
    /// The user's setting "zoom", in percent; 100 when it is missing or another number than those
    /// of the enumeration.
    static ClientZoomType GetCurrentClientZoomType();
    static bool GetSystemCpuStaticInfo(SysCpuInfo& info);
    /// CPU in percent of the whole machine since the last sample, memory in MB; callers within a
    /// second of a sample get that one.
    static bool GetSysAndProcResourseInfo(SysAndProcRCInfo& info);
    /// The threads of this process.
    static int GetProcThreadCount();
    /// Free and whole size in GB (2^30 bytes) of the file system that contains the user's files.
    static double GetFreeSpaceOnTorviDisk();
    static double GetDiskSizeOnTorviDisk();
};
