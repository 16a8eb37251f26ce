#pragma once

#include <QPointer>
#include <QString>
#include <QVariantMap>
#include <thread>
#include <vector>

#include "client_world.h"
#include "vocabulary/fields.h"

/// A presenter over a platform with a scripted server and a user who is logged in as "tester".
struct ServerItemFixture {
    ServerItemFixture() {
        presenter->initPresenter();
        world.login();
        world.link().clearRequests();
    }
    ~ServerItemFixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    ServerItemFixture(const ServerItemFixture&) = delete;
    ServerItemFixture& operator=(const ServerItemFixture&) = delete;

    ScriptedLink& link() { return world.link(); }

    ClientWorld world;
    // A closing platform deletes the presenter.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
};

/// Runs a function on several threads at once and waits until all have returned.
template <class Function>
void runOnThreads(int count, Function function) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&function, i] { function(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// A successful answer whose row count is larger than the number of its rows.
inline ScriptedReply answerWithoutItsRows() {
    return ScriptedReply::rows({{{"a", 1}}}, {{System::subGroupNumber, 7}});
}
