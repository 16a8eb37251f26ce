#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QPointer>
#include <functional>
#include <memory>

#include "client_info_sink.h"
#include "client_performance.h"
#include "client_world.h"
#include "clock.h"
#include "local_platform.h"
#include "scripted_neighbour.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

/// It is always noon.
class NoonClock final : public Clock {
public:
    QDateTime now() const override { return {QDate(2026, 3, 10), QTime(12, 0)}; }
};

/// Keeps the items that were reported; `onItem` runs after each.
class RecordedItems final : public ClientInfoSink {
public:
    void collectClientInfo(const QVariantMap& item) override {
        items.append(item);
        if (onItem) {
            onItem();
        }
    }
    /// System::itemValue of each item.
    QStringList values() const {
        QStringList values;
        for (const QVariantMap& item : items) {
            values.append(item.value(System::itemValue).toString());
        }
        return values;
    }
    /// The latest item with this System::itemValue; empty without one.
    QVariantMap item(const QString& value) const {
        QVariantMap found;
        for (const QVariantMap& item : items) {
            found = item.value(System::itemValue) == value ? item : found;
        }
        return found;
    }

    QList<QVariantMap> items;
    std::function<void()> onItem;
};

inline QVariant onBoard(const QString& key) {
    return ZnCore::instance()->getCommonInfo(key);
}

inline void setOnBoard(const QString& key, const QVariant& value) {
    ZnCore::instance()->setCommonInfo(key, value);
}

/// A file of this size, most of which is a hole; its folder is made.
inline bool makeFile(const QString& path, qint64 size) {
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
           file.resize(size);
}

/// The performance reports over a platform with a scripted server and neighbour.
struct PerformanceFixture {
    PerformanceFixture() {
        presenter->initPresenter();
        world.login();
        LocalPlatform::instance().setNeighbourData(neighbour);
    }
    ~PerformanceFixture() {
        if (presenter) {
            presenter->deleteLater();
        }
        LocalPlatform::instance().setNeighbourData(nullptr);
    }
    PerformanceFixture(const PerformanceFixture&) = delete;
    PerformanceFixture& operator=(const PerformanceFixture&) = delete;

    /// Starts with a server that has this configuration, this text as one, or another answer.
    void start(const QVariantMap& config) {
        QString error;
        startText(VelmarUtils::TransMap2Str(config, error));
    }
    void startText(const QString& text) {
        startWith(ScriptedReply::rows({{{System::itemValue, text}}}));
    }
    void startWith(const ScriptedReply& reply) {
        world.link().on(Quindar_MsgType::sysConfigRequest, reply);
        performance.startClientPerformUpload(presenter, {[this] {
                                                             periods.clear();
                                                             ++forgotten;
                                                         },
                                                         [this](const QString& type, int periodMs) {
                                                             periods.insert(type, periodMs);
                                                             return periods.size();
                                                         }});
    }

    /// The lines of the web uploads.
    QList<QVariantMap> webUploads() const {
        QFile file(world.homeDir() + "/log/web-uploads.jsonl");
        QList<QVariantMap> uploads;
        if (file.open(QIODevice::ReadOnly)) {
            while (!file.atEnd()) {
                uploads.append(QJsonDocument::fromJson(file.readLine()).toVariant().toMap());
            }
        }
        return uploads;
    }

    ClientWorld world;
    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
    // A closing platform deletes the presenter.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
    const NoonClock clock;
    RecordedItems sink;
    ClientPerformance performance{clock, sink};
    QMap<QString, int> periods;  ///< milliseconds of the timers that were started
    int forgotten = 0;           ///< how often the timers were forgotten
};

/// A type of a configuration.
inline QVariantMap performType(const QStringList& items, const QVariant& period,
                               const QStringList& stringItems = {}) {
    return {{"items", items}, {"period", period}, {"stringItems", stringItems}};
}
