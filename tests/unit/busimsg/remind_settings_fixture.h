#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariantMap>
#include <QtTest>
#include <memory>

#include "client_world.h"
#include "clock.h"
#include "ini_file_codec.h"
#include "remind_settings.h"
#include "static_db_builder.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"

inline const QString kPop = BusiMsgCenter::PopSwitch;
inline const QString kRemind = BusiMsgCenter::RemindSwitch;
inline const QVariantMap kCatchAll{{"sound", "none"}, {kPop, false}, {kRemind, true}};
inline const QVariantMap kOfKind{{"sound", "bell"}, {kPop, true}, {kRemind, true}};
inline const QVariantMap kChoice{{"sound", "gong"}, {kPop, true}, {kRemind, false}};

class SettableClock final : public Clock {
public:
    QDateTime now() const override { return m_now; }
    QDateTime m_now{QDate(2026, 3, 10), QTime(9, 0)};
};

/// Types "1" with two sub-types, "2" with none of its own, and "10", whose sub-type also begins
/// with "1"; a default for one kind, and the catch-all.
inline StaticDbBuilder dictionary(const QMap<QString, QString>& moreDefaults = {}) {
    QMap<QString, QString> defaults{
        {"default", R"({"sound":"none","PopSwitch":false,"RemindSwitch":true})"},
        {"1_1001_3", R"({"sound":"bell","PopSwitch":true,"RemindSwitch":true})"}};
    for (auto it = moreDefaults.cbegin(); it != moreDefaults.cend(); ++it) {
        defaults.insert(it.key(), it.value());
    }
    return StaticDbBuilder()
        .section(DictionaryKey::VelmarBusiMsgDefaultSetting, defaults)
        .section(System::BusiMsgType, {{"1", "系统"}, {"2", "公告"}, {"10", "其他"}})
        .section(System::BusiMsgSubType, {{"1001", "网络"}, {"1002", "升级"}, {"3001", "无主"}})
        .section(DictionaryKey::VelmarBusiMsgTypeDict, {{"Net", "1|1001|3"}});
}

/// A platform with the dictionary; the file is below a home folder of its own. "Starts" are new
/// settings objects over the same file.
struct RemindFixture {
    explicit RemindFixture(const StaticDbBuilder& data = dictionary(), bool login = true)
        : world({}, data) {
        qApp->setProperty("velmar.applicationFolder", folder());
        if (login) {
            world.login();
        }
    }

    QString folder() const { return world.homeDir() + "/application"; }
    QString file() const { return folder() + "/work/tester/busiMsgSetting.ini"; }
    QByteArray bytes() const {
        QFile in(file());
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }
    /// Writes the file as QSettings does.
    void write(const QVariantMap& values) const {
        QSettings out(file(), QSettings::IniFormat);
        out.setIniCodec(iniFileCodec());
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            out.setValue(it.key(), it.value());
        }
    }
    void writeBytes(const QByteArray& content) const {
        QVERIFY(QDir().mkpath(QFileInfo(file()).path()));
        QFile out(file());
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(content);
    }
    std::unique_ptr<RemindSettings> start() {
        auto settings = std::make_unique<RemindSettings>(clock);
        settings->initBusiMsgRemindSetting(&owner);
        return settings;
    }

    ClientWorld world;
    SettableClock clock;
    QObject owner;
};
