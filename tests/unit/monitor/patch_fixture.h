#pragma once

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QUrl>

#include "client_patches.h"
#include "client_world.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "wait_for.h"

/// A presenter of a client that is logged in, the patches' settings file, and a folder of zip files
/// that a server offers.
struct PatchFixture {
    PatchFixture() {
        presenter->SubEvent(presenter->pluginPid(), updateEvent(), 1);
        presenter->SubEvent(presenter->pluginPid(), kMark, 1);
        presenter->initPresenter();
        world.login();
        world.link().clearRequests();
    }
    ~PatchFixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    PatchFixture(const PatchFixture&) = delete;
    PatchFixture& operator=(const PatchFixture&) = delete;

    static int updateEvent() {
        return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::ClientPatchUpdateEvent);
    }
    ScriptedLink& link() { return world.link(); }

    /// Makes a file that can be downloaded and returns its address.
    QString offer(const QString& name, const QByteArray& bytes = "zip") const {
        QFile file(m_offers.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("the offered file cannot be written");
        }
        return QUrl::fromLocalFile(file.fileName()).toString();
    }
    QString missingOffer() const {
        return QUrl::fromLocalFile(m_offers.filePath("missing")).toString();
    }
    /// A row of the server for this version of the client.
    static QVariantMap row(const QString& id, const QString& address, const QString& remark) {
        return {{ClientPatch::PatchId, id},
                {ClientPatch::PatchUrl, address},
                {ClientPatch::Remark, remark},
                {System::dataVersion, VelmarUtils::GetAppVersion()},
                {System::timeStamp, "20260105093000"}};
    }

    static QString patchFile(const QString& name) {
        return VelmarUtils::GetDefaultUserCfgFileDir() + "patch/" + name;
    }
    /// Puts a file into the folder of the patches.
    static void put(const QString& name) {
        QDir().mkpath(patchFile({}));
        QFile file(patchFile(name));
        if (!file.open(QIODevice::WriteOnly) || file.write("older") != 5) {
            qFatal("the patch file cannot be written");
        }
    }
    static QByteArray contentOf(const QString& name) {
        QFile file(patchFile(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }
    static QStringList files() {
        QStringList names = QDir(patchFile({})).entryList(QDir::Files | QDir::Hidden);
        names.sort();
        return names;
    }

    int write(const QList<QVariantMap>& rows) {
        return patches.writePatchInfoFile(presenter, rows);
    }
    void enter(const QString& id, const QString& status) {
        settings.lockedSetValues({{id + "/Remark", "R" + id}, {id + "/PatchStatus", status}});
    }
    /// The ids in the settings.
    QStringList ids() {
        QStringList found;
        const QVariantMap all = settings.lockedAll();
        for (auto one = all.cbegin(); one != all.cend(); ++one) {
            const QString id = one.key().section('/', 0, 0);
            if (!found.contains(id)) {
                found.append(id);
            }
        }
        return found;
    }
    /// The lists of names that were announced so far.
    QList<QStringList> announced() const {
        const auto count = [this] {
            int marks = 0;
            for (const RecordingPresenter::Event& event : presenter->events()) {
                marks += event.id == kMark ? 1 : 0;
            }
            return marks;
        };
        const int before = count();
        LocalPlatform::instance().publishEvent(kMark, {});
        QList<QStringList> lists;
        if (!waitFor([&] { return count() > before; })) {
            qFatal("events do not arrive");
        }
        for (const RecordingPresenter::Event& event : presenter->events()) {
            if (event.id == updateEvent()) {
                lists.append(event.body.toStringList());
            }
        }
        return lists;
    }

    static constexpr int kMark = 0x7FFF0001;

    ClientWorld world;
    // A closing platform deletes the presenter.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
    SharedSettings settings{VelmarUtils::GetDefaultUserCfgFileDir() + "patchClientSet.cfg",
                            nullptr};
    ClientPatches patches{settings};

private:
    QTemporaryDir m_offers;
};
