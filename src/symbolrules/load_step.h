#pragma once

#include <QString>
#include <atomic>

class ZnPresenterClass;

/// A load through a presenter that is made once per login, under a key of the registry of
/// initialisation steps. When the presenter closes in the middle of it, the load is left unfinished
/// and the next presenter continues it. Any thread; never blocks.
class LoadStep {
public:
    explicit LoadStep(const QString& key) : m_key(key) {}

    /// Claims the load. False when somebody else makes it or has made it, and, without claiming it,
    /// when the presenter is closing. The presenter may be null.
    bool begin(const ZnPresenterClass* presenter);
    void finish(bool succeeded);
    /// Instead of finish(): the next presenter's begin() claims the load again.
    void leaveToNextPresenter();

    static bool isClosing(const ZnPresenterClass* presenter);

private:
    const QString m_key;
    std::atomic<bool> m_isLeft{false};
};
