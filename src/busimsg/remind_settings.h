#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <atomic>

#include "guarded.h"

class Clock;
class QObject;
class SharedSettings;

/// A setting by message type, sub-type and level.
using RemindTree = QMap<QString, QMap<QString, QMap<QString, QVariantMap>>>;

/// How business messages are presented: the product's defaults, and the user's own choices in
/// "busiMsgSetting.ini"; and the dictionary of message kinds. Lock: m_remindLock.
class RemindSettings {
public:
    explicit RemindSettings(const Clock& clock) : m_clock(clock) {}

    /// The load; `owner` deletes the settings object. Once, before any other operation.
    void initBusiMsgRemindSetting(QObject* owner);

    /// The user's choice for the kind, otherwise the user's choice for the whole type when there is
    /// none for the sub-type, otherwise the default of exactly this kind, otherwise the catch-all.
    /// Any thread; does not block.
    QVariantMap GetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                            const QString& level, bool bApplyNoMoreRemind) const;
    /// Stores the user's choice; an empty sub-type stands for all sub-types of the type in the
    /// message dictionary. An empty setting takes the choice back. False, and nothing changed, when
    /// type or level is empty. A type that the dictionary lacks stores nothing with an empty
    /// sub-type, which is logged as a warning, and so is a setting that the next start does not
    /// read back as it is. Any thread; blocks for the file. When the file cannot be written, a
    /// warning says so once and the choices hold until the end of the process.
    bool SetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                     const QString& level, const QVariantMap& setting);
    /// Ends reminders for today; the file keeps the date for the next start. Any thread; blocks for
    /// the file.
    void SetNoMoreRemindInDay();
    bool GetNoMoreRemindInDayFlag() const { return m_noMoreRemindInDay; }

    /// Type, sub-type, level and any further parts of a message kind; empty for an unknown key.
    QStringList typeDictEntry(const QString& key) const { return m_busiMsgTypeDict.value(key); }
    /// Type, sub-type and level to whether a message of that kind is to pop up: the defaults,
    /// overwritten by the user's choices. Any thread; does not block.
    QMap<QString, QMap<QString, QMap<QString, bool>>> popUpTree() const;

private:
    void loadDefaults();
    void openFile(QObject* owner);
    void loadUserValue(const QString& key, const QString& value, RemindTree* tree);
    void loadSubTypes();
    void loadTypeDict();

    struct Tables {
        RemindTree m_userRemindTree;
    };

    const Clock& m_clock;
    // Fixed after the load.
    QHash<QString, QStringList> m_busiMsgTypeDict;
    QVariantMap m_defaultRemindInfo;
    RemindTree m_defaultRemindTree;
    QMap<QString, QStringList> m_busiMsgSubTypeTable;
    SharedSettings* m_remindSettings = nullptr;

    Guarded<Tables> m_remindLock{"m_remindLock", LockRank::Remind};
    std::atomic<bool> m_noMoreRemindInDay{false};
};
